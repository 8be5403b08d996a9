#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>

#include "FakePlatform.h"
#include "app/MainForm.h"

namespace {

struct Accepted {
  const char* text;
  double value;         // stored value, worked out by hand
  const char* caption;  // the item's new caption
  const char* shownNext;  // default text of the next prompt
};

struct PromptCase {
  const char* item;
  const char* startCaption;
  const char* prompt;  // "caption|label|default" at start
  double (*get)(const Settings&);
  Accepted low, high;
  const char* outLow;   // nullptr: the command has no range
  const char* outHigh;
  const char* message;
};

const PromptCase kCases[] = {
    {"DeltaTime", "Time Interval=30ms", "Set interval between measurements (ms)|dT(ms)=|30",
     [](const Settings& s) { return s.dT; }, {"1", 0.001, "Time Interval=1ms", "1"},
     // 1000 s shows as 1000001 ms: the default is trunc(dT x 1000.001)
     {"1000000", 1000, "Time Interval=1000000ms", "1000001"}, "0", "1000001",
     "interval out of order"},
    {"IntStep", "Intensity Bin=5", "Set Bin size for Intensity distribution|Bin Size=|5",
     [](const Settings& s) { return s.IntStep; }, {"0.1", 0.1, "IntStep=0.1", "0.1"},
     {"100", 100, "IntStep=100", "100"}, "0.05", "100.5", "Intensity bin size Out of Order"},
    {"SetDlatBin", "Dlat Bin=0.02 um2/s", "Set Bin size for Dlat distribution|Bin Size=|0.02",
     [](const Settings& s) { return s.DlatBin; },
     {"0.0001", 0.0001, "DlatBin=0.0001µm2/s", "0.0001"},
     {"10000", 10000, "DlatBin=10000µm2/s", "10000"}, "0.00009", "10000.5",
     "Dlat bin size Out of Order"},
    {"VelocityBinSet", "Velocity Bin=0.1 um/s",
     "Set Bin Size for Velocity distributions|Bin Size=|0.1",
     [](const Settings& s) { return s.VelocityBin; },
     {"0.0001", 0.0001, "VelocityBin=0.0001um/s", "0.0001"},
     {"10000", 10000, "VelocityBin=10000um/s", "10000"}, "0", "20000",
     "Velocity bin size Out of Order"},
    {"DistBinSet", "Distance Bin=7.2nm", "Set Bin Size for Distance distr.|Bin Size=|7.2",
     [](const Settings& s) { return s.DistanceBin; }, {"0.01", 0.01, "DistanceBin=0.01nm", "0.01"},
     {"100000", 100000, "DistanceBin=100000nm", "100000"}, "0.009", "100001",
     "Distance Bin Size is Out of Order"},
    {"SetDistanceLimit", "Critical Distance=0.2um",
     "Set Max distance for double tracking|Max Permited distance (µm)=|0.2",
     [](const Settings& s) { return s.CriticalDistance; },
     {"0.001", 0.001, "Critical Distance=0.001µm", "0.001"},
     {"10000", 10000, "Critical Distance=10000µm", "10000"}, "0.0009", "10001",
     "Max distance value is Out of Order"},
    {"SetDlatThresh", "Set Dlat Thresh", "Set Dlat Thresh|Dlat Thresh=|0.05",
     [](const Settings& s) { return s.DlatThresh; }, {"0", 0, "Dlat Thresh=0µm2/s", "0"},
     {"1000", 1000, "Dlat Thresh=1000µm2/s", "1000"}, "-0.001", "1000.5",
     "Threshold is Out of Order"},
    {"SetVelThresh", "Set Vel Thresh", "Set Velocity Thresh|Vel Thresh=|0.5",
     [](const Settings& s) { return s.VelThresh; }, {"0", 0, "Vel Thresh=0µm/s", "0"},
     {"10000", 10000, "Vel Thresh=10000µm/s", "10000"}, "-1", "10000.5",
     "Vel. Threshold is Out of Order"},
    // No range: a negative value loses a thousandth, as the small addition is truncated away.
    {"SetStestThresh", "S-test Threshold=1.5", "Set S-test Threshold|Threshold=|1.5",
     [](const Settings& s) { return s.StestThresh; },
     {"-3.5", -3.499, "S-test Thresh=-3.499", "-3.499"},
     {"12.3456", 12.345, "S-test Thresh=12.345", "12.345"}, nullptr, nullptr, nullptr},
    {"VelocityLimit", "Low Velocity Thresh=1um/s",
     "Set Velocity threshold for immobile spots|Threshold=|1",
     [](const Settings& s) { return s.LowVelThresh; },
     {"0.25", 0.25, "Low Vel Thresh=0.25µm/s", "0.25"}, {"7", 7, "Low Vel Thresh=7µm/s", "7"},
     nullptr, nullptr, nullptr},
    {"HighVelocityThresh", "High Velocity Thresh=2um/s",
     "Set Velocity threshold for fast movement|Threshold=|2",
     [](const Settings& s) { return s.HighVelThresh; },
     {"0.5", 0.5, "High Vel Thresh=0.5um/s", "0.5"}, {"30", 30, "High Vel Thresh=30um/s", "30"},
     nullptr, nullptr, nullptr},
    {"SetVelocityStep", "Velocity Step=3",
     "Set time Interval between velocity measurements|interval (in frames)|3",
     [](const Settings& s) { return double(s.VelocityStep); },
     {"1", 1, "Velocity Step=1", "1"}, {"100", 100, "Velocity Step=100", "100"}, "0", "101",
     "Velocity Step is out of order"},
    {"MinNumDataPointsSet", "Min N of Data Points=10", "Set minimal number of Data points|N=|10",
     [](const Settings& s) { return double(s.MinNumDataPoints); },
     {"1", 1, "Min N of Data Points=1", "1"}, {"1000", 1000, "Min N of Data Points=1000", "1000"},
     "0", "1001", "Number of Data Points is out of order"},
    {"SetMSDfittingLimit", "Fit MSD up to 50 intervals",
     "Set limit for MSD fitting (intervals)|Limit=|50",
     [](const Settings& s) { return double(s.MSDfitLimit); },
     {"5", 5, "Fit MSD up to 5 Intervals", "5"},
     {"100000", 100000, "Fit MSD up to 100000 Intervals", "100000"}, "4", "100001",
     "Limit is out of order"},
    {"StartFrame", "Start Frame=0", "Set StartFrame|N=|0",
     [](const Settings& s) { return double(s.StartFrame); }, {"0", 0, "StartFrame=0", "0"},
     {"2147483647", 2147483647.0, "StartFrame=2147483647", "2147483647"}, "-1", nullptr,
     "StatrtFrame should be >=0"},
};

const PromptCase& CaseOf(const std::string& item) {
  for (const PromptCase& c : kCases)
    if (item == c.item) return c;
  throw std::runtime_error("no case " + item);
}

// The caption and label part of a case's prompt, for prompts after the first.
std::string PromptHead(const PromptCase& c) {
  const std::string p = c.prompt;
  return p.substr(0, p.rfind('|') + 1);
}

// A track of 10 frames along X, Y = 0.
void AddTrack(TMainForm& form, float (*x)(int)) {
  SpotRec& t = form.Spots[form.Spots.NSpots];
  ASSERT_TRUE(t.AllocateFrames(10));
  t.NPoints = 10;
  t.Valid = 1;
  for (int k = 0; k < 10; ++k) {
    t.X[k] = x(k);
    t.Int[k] = 100;
  }
  ++form.Spots.NSpots;
}

void ExpectClose(double actual, double expected) {
  EXPECT_NEAR(actual, expected, 1e-6 * std::fabs(expected));
}

}  // namespace

TEST(SettingsCommands, CancelRangeEndsAndOutside) {
  for (const PromptCase& c : kCases) {
    SCOPED_TRACE(c.item);
    FakePlatform platform;
    TMainForm form(platform);
    const double start = c.get(form.S);
    EXPECT_EQ(form.Menu.Caption(c.item), c.startCaption);

    // Cancel: nothing changes and nothing is recomputed.
    ASSERT_TRUE(form.RunCommand(c.item));
    EXPECT_EQ(platform.prompts.back(), c.prompt);
    EXPECT_EQ(c.get(form.S), start);
    EXPECT_EQ(platform.repaints, 0);

    for (const char* out : {c.outLow, c.outHigh}) {
      if (!out) continue;
      platform.promptAnswers.push_back(out);
      form.RunCommand(c.item);
      ASSERT_EQ(platform.messages.size(), 1u) << out;
      EXPECT_EQ(platform.messages.back(), c.message);
      platform.messages.clear();
      EXPECT_EQ(c.get(form.S), start) << out;
      EXPECT_EQ(form.Menu.Caption(c.item), c.startCaption);
      EXPECT_EQ(platform.repaints, 0);
    }

    int repaints = 0;
    for (const Accepted& a : {c.low, c.high}) {
      platform.promptAnswers.push_back(a.text);
      form.RunCommand(c.item);
      EXPECT_TRUE(platform.messages.empty()) << a.text;
      EXPECT_DOUBLE_EQ(c.get(form.S), a.value) << a.text;
      EXPECT_EQ(form.Menu.Caption(c.item), a.caption);
      EXPECT_EQ(platform.repaints, ++repaints);
      form.RunCommand(c.item);  // cancelled: shows the stored value
      EXPECT_EQ(platform.prompts.back(), PromptHead(c) + a.shownNext);
    }
  }
}

TEST(SettingsCommands, IntensityAndDlatBinTruncation) {
  FakePlatform platform;
  TMainForm form(platform);
  const struct {
    const char* item;
    const char* text;
    double value;
    const char* caption;
  } cases[] = {
      {"IntStep", "5", 5, "IntStep=5"},
      // No small addition here: 0.15 x 1000 is 149.99999999999997 in binary.
      {"IntStep", "0.15", 0.149, "IntStep=0.149"},
      {"VelocityBinSet", "0.15", 0.15, "VelocityBin=0.15um/s"},
      {"SetDlatBin", "0.00015", 0.0001, "DlatBin=0.0001µm2/s"},
      {"SetDistanceLimit", "  0.123456", 0.1234, "Critical Distance=0.1234µm"},
  };
  for (const auto& c : cases) {
    platform.promptAnswers.push_back(c.text);
    form.RunCommand(c.item);
    EXPECT_DOUBLE_EQ(CaseOf(c.item).get(form.S), c.value) << c.item << " " << c.text;
    EXPECT_EQ(form.Menu.Caption(c.item), c.caption);
  }
  EXPECT_TRUE(platform.messages.empty());
}

// Text that is not a number, infinities and overflows.
TEST(SettingsCommands, NotANumberAndInfinity) {
  const struct {
    const char* item;
    const char* text;
    const char* message;  // nullptr: none
    bool changes;
    double value;
    const char* caption;
  } cases[] = {
      {"DeltaTime", "abc", nullptr, true, 0.001, "Time Interval=1ms"},
      {"DeltaTime", "99999999999", nullptr, true, 0.001, "Time Interval=1ms"},
      {"SetVelocityStep", "x", "Velocity Step is out of order", false, 0, nullptr},
      {"MinNumDataPointsSet", "12.5", "Number of Data Points is out of order", false, 0, nullptr},
      {"SetMSDfittingLimit", "", "Limit is out of order", false, 0, nullptr},
      {"StartFrame", "first", "StatrtFrame should be >=0", false, 0, nullptr},
      {"StartFrame", "99999999999", "StatrtFrame should be >=0", false, 0, nullptr},
      {"SetStestThresh", "abc", nullptr, true, 0, "S-test Thresh=0"},
      {"SetStestThresh", "nan", nullptr, true, 0, "S-test Thresh=0"},
      {"SetDlatThresh", "abc", nullptr, true, 0, "Dlat Thresh=0µm2/s"},
      // Truncates to -0, shown as 0.
      {"SetDlatThresh", "-0.00001", nullptr, true, 0, "Dlat Thresh=0µm2/s"},
      {"IntStep", "abc", "Intensity bin size Out of Order", false, 0, nullptr},
      {"IntStep", "inf", "Intensity bin size Out of Order", false, 0, nullptr},
      {"SetDlatThresh", "1e400", "Threshold is Out of Order", false, 0, nullptr},
      {"SetVelThresh", "-inf", "Vel. Threshold is Out of Order", false, 0, nullptr},
      {"SetStestThresh", "inf", nullptr, false, 0, nullptr},
      {"VelocityLimit", "-1e400", nullptr, false, 0, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.item) + " " + c.text);
    FakePlatform platform;
    TMainForm form(platform);
    const PromptCase& pc = CaseOf(c.item);
    const double start = pc.get(form.S);
    platform.promptAnswers.push_back(c.text);
    form.RunCommand(c.item);
    if (c.message) {
      ASSERT_EQ(platform.messages.size(), 1u);
      EXPECT_EQ(platform.messages[0], c.message);
    } else {
      EXPECT_TRUE(platform.messages.empty());
    }
    const double now = pc.get(form.S);
    EXPECT_TRUE(std::isfinite(now));
    EXPECT_EQ(now, c.changes ? c.value : start);
    EXPECT_EQ(form.Menu.Caption(c.item), c.changes ? c.caption : pc.startCaption);
    EXPECT_EQ(platform.repaints, c.changes ? 1 : 0);
  }
}

TEST(SettingsCommands, StartupPromptAsksOnce) {
  FakePlatform platform;
  TMainForm form(platform);
  platform.promptAnswers.push_back("40");
  platform.promptAnswers.push_back("50");
  form.StartupTimerFired();
  form.StartupTimerFired();
  ASSERT_EQ(platform.prompts.size(), 1u);
  EXPECT_EQ(platform.prompts[0], "Set interval between measurements (ms)|dT(ms)=|30");
  EXPECT_DOUBLE_EQ(form.S.dT, 0.04);
  EXPECT_EQ(form.Menu.Caption("DeltaTime"), "Time Interval=40ms");
  EXPECT_EQ(form.Menu.Caption("Settings"), "Settings(dT=40ms)");
}

// Track 0 moves 0.5 µm per frame: MSD(k) = (0.5 k)^2, so Dlat = mean over k = 2..4 of
// MSD(k) / (4 k lag) = 0.1875 / lag, and AverVel = 1.5 / (3 lag) with the step of 3.
// Track 1 zigzags between X = 0 and 1: every even step covers no distance.
TEST(SettingsCommands, TimeUnitAndVelocityStepRecompute) {
  FakePlatform platform;
  TMainForm form(platform);
  AddTrack(form, [](int k) { return 0.5f * k; });
  AddTrack(form, [](int k) { return float(k % 2); });
  form.RecomputeAllMobility();
  const SpotRec& line = form.Spots[0];
  const SpotRec& zigzag = form.Spots[1];
  ExpectClose(line.Dlat, 0.1875 / 0.03);
  ExpectClose(line.AverVel, 0.5 / 0.03);

  // A new dT alone leaves the stored values.
  const float dlatBefore = line.Dlat;
  platform.promptAnswers.push_back("60");
  form.RunCommand("DeltaTime");
  EXPECT_DOUBLE_EQ(form.S.dT, 0.06);
  EXPECT_EQ(form.Menu.Caption("Settings"), "Settings(dT=60ms)");
  EXPECT_EQ(line.Dlat, dlatBefore);
  EXPECT_EQ(platform.repaints, 1);

  form.RunCommand("TimeMinutes");
  EXPECT_TRUE(form.Menu.Checked("TimeMinutes"));
  EXPECT_EQ(form.S.TimeScale, 0.01666666666);
  EXPECT_EQ(form.TimeUnit, "min");
  EXPECT_EQ(form.DlatUnit, "µm2/min");
  const double lagMinutes = 0.06 * 0.01666666666;
  ExpectClose(line.Dlat, 0.1875 / lagMinutes);  // 187.5 µm²/min
  ExpectClose(line.AverVel, 0.5 / lagMinutes);  // 500 µm/min
  EXPECT_EQ(platform.repaints, 2);

  form.RunCommand("TimeMinutes");
  EXPECT_FALSE(form.Menu.Checked("TimeMinutes"));
  EXPECT_EQ(form.S.TimeScale, 1.0);
  EXPECT_EQ(form.TimeUnit, "s");
  EXPECT_EQ(form.DlatUnit, "µm2/s");
  ExpectClose(line.Dlat, 0.1875 / 0.06);
  EXPECT_EQ(form.Menu.Caption("TimeMinutes"), "Time in Minutes");

  // Velocity step: 1 frame covers 1 µm, 2 frames none, 3 frames 1 µm.
  ExpectClose(zigzag.AverVel, 1 / 0.18);
  const float zigzagDlat = zigzag.Dlat;
  platform.promptAnswers.push_back("2");
  form.RunCommand("SetVelocityStep");
  EXPECT_EQ(zigzag.AverVel, 0.0f);
  ExpectClose(line.AverVel, 1.0 / 0.12);
  platform.promptAnswers.push_back("1");
  form.RunCommand("SetVelocityStep");
  ExpectClose(zigzag.AverVel, 1 / 0.06);
  EXPECT_EQ(zigzag.Dlat, zigzagDlat);
  platform.promptAnswers.push_back("0");  // refused: velocities stay
  form.RunCommand("SetVelocityStep");
  ExpectClose(zigzag.AverVel, 1 / 0.06);
  EXPECT_EQ(form.S.VelocityStep, 1);
}
