#include "TrackBuilders.h"

#define FIELD(name) [](const Settings& s) { return double(s.name); }
using Getter = double (*)(const Settings&);
using SettingsCommands = FormTest;

struct Accepted {
  const char* text;
  double value;                     // stored value, worked out by hand
  const char *caption, *shownNext;  // the item's new caption, the next prompt's default
};

// One prompt of each kind: whole milliseconds, a real with its own step and unit, a real
// with no range, integers with text around them, and a lower bound only.
TEST_F(SettingsCommands, PromptTextsRangeEndsAndCancel) {
  const struct {
    const char *item, *startCaption, *prompt;  // prompt: "caption|label|default" at start
    Getter get;
    Accepted low, high;
    const char *outLow, *outHigh, *message;  // nullptr: no such bound
    bool recomputes = true;  // a value taken runs the recomputation
  } cases[] = {
      // 1000 s shows as 1000001 ms: the default is trunc(dT x 1000.001).
      {"DeltaTime", "Time Interval=30ms", "Set interval between measurements (ms)|dT(ms)=|30",
       FIELD(dT), {"1", 0.001, "Time Interval=1ms", "1"},
       {"1000000", 1000, "Time Interval=1000000ms", "1000001"}, "0", "1000001",
       "interval out of order"},
      {"SetDlatBin", "Dlat Bin=0.02 um2/s", "Set Bin size for Dlat distribution|Bin Size=|0.02",
       FIELD(DlatBin), {"0.0001", 0.0001, "DlatBin=0.0001µm2/s", "0.0001"},
       {"10000", 10000, "DlatBin=10000µm2/s", "10000"}, "0.00009", "10000.5",
       "Dlat bin size Out of Order"},
      // A negative value loses a thousandth, as the small addition is truncated away.
      {"SetStestThresh", "S-test Threshold=1.5", "Set S-test Threshold|Threshold=|1.5",
       FIELD(StestThresh), {"-3.5", -3.499, "S-test Thresh=-3.499", "-3.499"},
       {"12.3456", 12.345, "S-test Thresh=12.345", "12.345"}, nullptr, nullptr, nullptr},
      {"SetMSDfittingLimit", "Fit MSD up to 50 intervals",
       "Set limit for MSD fitting (intervals)|Limit=|50", FIELD(MSDfitLimit),
       {"5", 5, "Fit MSD up to 5 Intervals", "5"},
       {"100000", 100000, "Fit MSD up to 100000 Intervals", "100000"}, "4", "100001",
       "Limit is out of order"},
      {"StartFrame", "Start Frame=0", "Set StartFrame|N=|0", FIELD(StartFrame),
       {"0", 0, "StartFrame=0", "0"},
       {"2147483647", 2147483647.0, "StartFrame=2147483647", "2147483647"}, "-1", nullptr,
       "StatrtFrame should be >=0"},
      // The caption loses the blank of its first form.
      {"PrintZoom", "Print Zoom=2", "Set Print Zoom/Scale|Zoom=|2", FIELD(PrintZoom),
       {"1", 1, "PrintZoom=1", "1"}, {"20", 20, "PrintZoom=20", "20"}, "0", "21",
       "Print Zoom Out of Order", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.item);
    FakePlatform platform;
    TMainForm form(platform);
    const double start = c.get(form.S);
    EXPECT_EQ(form.Menu.Caption(c.item), c.startCaption);

    // Cancel: nothing changes and nothing is recomputed.
    ASSERT_TRUE(form.RunCommand(c.item));
    EXPECT_TRUE(platform.prompts.back() == c.prompt && c.get(form.S) == start);
    for (const char* out : {c.outLow, c.outHigh}) {
      if (!out) continue;
      platform.promptAnswers.push_back(out);
      form.RunCommand(c.item);
      EXPECT_EQ(platform.messages, std::vector<std::string>{c.message}) << out;
      platform.messages.clear();
      EXPECT_TRUE(c.get(form.S) == start && form.Menu.Caption(c.item) == c.startCaption) << out;
    }
    EXPECT_EQ(platform.repaints, 0);

    const std::string head = std::string(c.prompt).substr(0, std::string(c.prompt).rfind('|') + 1);
    int repaints = 0;
    for (const Accepted& a : {c.low, c.high}) {
      platform.promptAnswers.push_back(a.text);
      form.RunCommand(c.item);
      EXPECT_TRUE(platform.messages.empty()) << a.text;
      EXPECT_DOUBLE_EQ(c.get(form.S), a.value) << a.text;
      EXPECT_EQ(form.Menu.Caption(c.item), a.caption);
      if (c.recomputes) { EXPECT_EQ(platform.repaints, ++repaints); }
      form.RunCommand(c.item);  // cancelled: shows the stored value
      EXPECT_EQ(platform.prompts.back(), head + a.shownNext);
    }
  }
}

// Truncation to the command's precision, text that is not a number, infinities, overflows.
TEST_F(SettingsCommands, TruncationNotANumberAndInfinity) {
  const struct {
    const char* item;
    Getter get;
    const char *text, *message;  // message nullptr: none
    double value;
    const char* caption;  // nullptr: the setting and its caption stay as they were
  } cases[] = {
      // No small addition here: 0.15 x 1000 is 149.99999999999997 in binary.
      {"IntStep", FIELD(IntStep), "0.15", nullptr, 0.149, "IntStep=0.149"},
      {"VelocityBinSet", FIELD(VelocityBin), "0.15", nullptr, 0.15, "VelocityBin=0.15um/s"},
      {"SetDlatBin", FIELD(DlatBin), "0.00015", nullptr, 0.0001, "DlatBin=0.0001µm2/s"},
      {"SetDistanceLimit", FIELD(CriticalDistance), "  0.123456", nullptr, 0.1234,
       "Critical Distance=0.1234µm"},
      {"DeltaTime", FIELD(dT), "abc", nullptr, 0.001, "Time Interval=1ms"},
      {"DeltaTime", FIELD(dT), "99999999999", nullptr, 0.001, "Time Interval=1ms"},
      {"SetVelocityStep", FIELD(VelocityStep), "x", "Velocity Step is out of order", 0, nullptr},
      {"MinNumDataPointsSet", FIELD(MinNumDataPoints), "12.5",
       "Number of Data Points is out of order", 0, nullptr},
      {"SetMSDfittingLimit", FIELD(MSDfitLimit), "", "Limit is out of order", 0, nullptr},
      {"StartFrame", FIELD(StartFrame), "99999999999", "StatrtFrame should be >=0", 0, nullptr},
      {"SetStestThresh", FIELD(StestThresh), "abc", nullptr, 0, "S-test Thresh=0"},
      {"SetStestThresh", FIELD(StestThresh), "nan", nullptr, 0, "S-test Thresh=0"},
      {"SetDlatThresh", FIELD(DlatThresh), "-0.00001", nullptr, 0, "Dlat Thresh=0µm2/s"},  // not -0
      {"IntStep", FIELD(IntStep), "abc", "Intensity bin size Out of Order", 0, nullptr},
      {"IntStep", FIELD(IntStep), "inf", "Intensity bin size Out of Order", 0, nullptr},
      {"SetDlatThresh", FIELD(DlatThresh), "1e400", "Threshold is Out of Order", 0, nullptr},
      {"SetVelThresh", FIELD(VelThresh), "-inf", "Vel. Threshold is Out of Order", 0, nullptr},
      {"SetStestThresh", FIELD(StestThresh), "inf", nullptr, 0, nullptr},
      {"VelocityLimit", FIELD(LowVelThresh), "-1e400", nullptr, 0, nullptr},
      {"PrintZoom", FIELD(PrintZoom), "abc", nullptr, 1, "PrintZoom=1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.item) + " " + c.text);
    FakePlatform platform;
    TMainForm form(platform);
    const double start = c.get(form.S);
    const std::string startCaption = form.Menu.Caption(c.item);
    platform.promptAnswers.push_back(c.text);
    form.RunCommand(c.item);
    EXPECT_EQ(platform.messages,
              c.message ? std::vector<std::string>{c.message} : std::vector<std::string>{});
    EXPECT_TRUE(std::isfinite(c.get(form.S)));
    EXPECT_DOUBLE_EQ(c.get(form.S), c.caption ? c.value : start);
    EXPECT_EQ(form.Menu.Caption(c.item), c.caption ? c.caption : startCaption);
    EXPECT_TRUE(c.caption || platform.repaints == 0);
  }
}

TEST_F(SettingsCommands, StartupPromptAsksOnce) {
  platform.promptAnswers = {"40", "50"};
  form.StartupTimerFired();
  form.StartupTimerFired();
  EXPECT_EQ(platform.prompts,
            std::vector<std::string>{"Set interval between measurements (ms)|dT(ms)=|30"});
  EXPECT_DOUBLE_EQ(form.S.dT, 0.04);
  EXPECT_EQ(form.Menu.Caption("DeltaTime") + "|" + form.Menu.Caption("Settings"),
            "Time Interval=40ms|Settings(dT=40ms)");
}

// The line moves 0.5 µm per frame: MSD(k) = (0.5 k)^2, so Dlat = mean over k = 2..4 of
// MSD(k) / (4 k lag) = 0.1875 / lag, and AverVel = 1.5 / (3 lag) with the step of 3.
// The zigzag moves between X = 0 and 1: every even step covers no distance.
TEST_F(SettingsCommands, TimeUnitAndVelocityStepRecompute) {
  const SpotRec& line = AddTrack(form, Ramp(10, 0.5));
  const SpotRec& zigzag = AddTrack(form, {0, 1, 0, 1, 0, 1, 0, 1, 0, 1});
  auto expectClose = [](double actual, double expected) {
    EXPECT_NEAR(actual, expected, 1e-6 * std::fabs(expected));
  };
  expectClose(line.Dlat, 0.1875 / 0.03);
  expectClose(line.AverVel, 0.5 / 0.03);

  // A new dT alone leaves the stored values.
  const float dlatBefore = line.Dlat;
  platform.promptAnswers.push_back("60");
  form.RunCommand("DeltaTime");
  EXPECT_TRUE(form.S.dT == 0.06 && form.Menu.Caption("Settings") == "Settings(dT=60ms)");
  EXPECT_TRUE(line.Dlat == dlatBefore && platform.repaints == 1);

  form.RunCommand("TimeMinutes");
  EXPECT_TRUE(form.Menu.Checked("TimeMinutes") && form.S.TimeScale == 0.01666666666 &&
              form.TimeUnit + " " + form.DlatUnit == "min µm2/min");
  expectClose(line.Dlat, 0.1875 / (0.06 * 0.01666666666));  // 187.5 µm²/min
  expectClose(line.AverVel, 0.5 / (0.06 * 0.01666666666));
  EXPECT_EQ(platform.repaints, 2);

  form.RunCommand("TimeMinutes");
  EXPECT_TRUE(!form.Menu.Checked("TimeMinutes") && form.S.TimeScale == 1.0 &&
              form.TimeUnit + " " + form.DlatUnit == "s µm2/s");
  expectClose(line.Dlat, 0.1875 / 0.06);
  EXPECT_EQ(form.Menu.Caption("TimeMinutes"), "Time in Minutes");

  // Velocity step: 1 frame covers 1 µm, 2 frames none, 3 frames 1 µm.
  expectClose(zigzag.AverVel, 1 / 0.18);
  const float zigzagDlat = zigzag.Dlat;
  platform.promptAnswers = {"2"};
  form.RunCommand("SetVelocityStep");
  EXPECT_EQ(zigzag.AverVel, 0.0f);
  expectClose(line.AverVel, 1.0 / 0.12);
  platform.promptAnswers = {"1"};
  form.RunCommand("SetVelocityStep");
  expectClose(zigzag.AverVel, 1 / 0.06);
  EXPECT_EQ(zigzag.Dlat, zigzagDlat);
  platform.promptAnswers = {"0"};  // refused: velocities stay
  form.RunCommand("SetVelocityStep");
  expectClose(zigzag.AverVel, 1 / 0.06);
}

// A fractional frame interval is kept as it is typed; whole numbers keep their old path.
TEST_F(SettingsCommands, FractionalTimeIntervalKeptExactly) {
  platform.promptAnswers = {"7.48", "7.0", "99999999999", " 12.5e0 "};
  form.RunCommand("DeltaTime");
  EXPECT_EQ(form.S.dT, 0.00748);  // the double nearest 0.00748, not 0.007 or 0.00748000...01
  EXPECT_EQ(form.Menu.Caption("DeltaTime") + "|" + form.Menu.Caption("Settings"),
            "Time Interval=7.48ms|Settings(dT=7.48ms)");
  form.RunCommand("DeltaTime");  // its default shows 7.48, so OK would keep it
  EXPECT_EQ(platform.prompts.back(), "Set interval between measurements (ms)|dT(ms)=|7.48");
  EXPECT_EQ(form.S.dT, static_cast<double>(7 * 0.001L));  // "7.0" is 7 ms, as "7" is
  form.RunCommand("DeltaTime");  // a whole number too large for an integer still counts as 1
  EXPECT_EQ(form.S.dT, 0.001);
  form.RunCommand("DeltaTime");
  EXPECT_TRUE(form.S.dT == 0.0125 && form.Menu.Caption("DeltaTime") == "Time Interval=12.5ms");
}
