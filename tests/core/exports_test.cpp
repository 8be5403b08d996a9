// The text exports byte for byte against text written out by hand (the micro sign as the
// single byte 0xB5), the 2000 limits, the dialog and file handling, and the CSV.
#include <stdlib.h>  // gcvt

#include <filesystem>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "edit/TextExport.h"
#include "store/Numbers.h"

using Texts = std::vector<std::string>;
const std::string kX = "X(\xB5m)";
const std::string kY = "Y(\xB5m)";

static Texts Lines(const std::string& text) {
  Texts lines;
  size_t start = 0;
  for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
    lines.push_back(text.substr(start, end - start));
  return lines;
}

// A main window whose save dialog answers with a file of this test's own.
struct ExportForm {
  FakePlatform platform;
  TMainForm form{platform};
  std::string path;

  ExportForm() : path(TempPath("export.txt")) { form.S.dT = 0.25; }
  ~ExportForm() { std::filesystem::remove(path); }

  // Runs a command that saves to the file; the file's bytes, or "<no file>".
  std::string Save(const std::string& command) {
    std::filesystem::remove(path);
    platform.saveAnswers.push_back(path);
    EXPECT_TRUE(form.RunCommand(command)) << command;
    return std::filesystem::exists(path) ? ReadFile(path) : "<no file>";
  }

  // A selected track with these frames.
  SpotRec& Add(const Floats& x, const Floats& y = {}, const Floats& in = {}) {
    SpotRec& t = AddTrack(form, x, y, in);
    t.Selected = 1;
    return t;
  }
  SpotRec& AddLine(int n) { return Add(Ramp(n, 1)); }

  // Two valid tracks of 3 and 5 points and an invalid one between them.
  void AddThreeAndFive() {
    Add({1.5f, -0.0015f, 2}, {-0.0004f, 10.25f, 3}, {123.45f, 99.99f, 7});
    Add({5}, {5}, {5}).Valid = 0;
    Add({0, 1, 2, 3, 4}, {0, 0.5f, 1, 1.5f, 2}, {10, 20, 30, 40, 50});
  }
  void SetToggles(bool columns, bool time) {
    if (form.Menu.Checked("SaveXYIntColumns") != columns) form.RunCommand("SaveXYIntColumns");
    if (form.Menu.Checked("PutTimeInTXTfile") != time) form.RunCommand("PutTimeInTXTfile");
  }
};

// The fixture is one such window; a test that needs a second makes its own.
struct Exports : ::testing::Test, ExportForm {};

TEST_F(Exports, GeneralFormIsGcvtAndTruncationGoesTowardZero) {
  // Against the C library's own gcvt over values of every size.
  std::mt19937_64 random(7);
  char expected[64];
  for (int i = 0; i < 20000; ++i) {
    const double v = std::ldexp(static_cast<double>(random() % 2000001) - 1000000.0,
                                static_cast<int>(random() % 80) - 60);
    for (int digits : {4, 5}) {
      ASSERT_EQ(FormatG(v, digits), gcvt(v, digits, expected)) << v << " " << digits;
      const float f = static_cast<float>(v);
      ASSERT_EQ(FormatG(f, digits), gcvt(f, digits, expected)) << f << " " << digits;
    }
  }
  // An integer part of 0 has no sign; 0.009f is 0.00899999961..., 15 x 0.03 is 0.4499...96.
  EXPECT_EQ(
      ThousandthsText(-0.0004f) + " " + ThousandthsText(0.009f) + " " + ThousandthsText(15 * 0.03),
      "0 0.008 0.449");
}

TEST_F(Exports, BothPanelsByRowWithTheMsdRowSkippedAndNeverReset) {
  TQVgraph& left = form.LeftGraph;
  TQVgraph& right = form.RightGraph;
  for (int s = 1; s <= kMaxSeries; ++s) left.Series[s].Show = right.Series[s].Show = false;
  left.SeriesCount = 1;  // the left panel offers five series whatever its count
  left.Series[1].Show = left.Series[3].Show = left.Series[6].Show = true, left.DataEnd = 3;
  const float lx[] = {0, 0.02f, 123456}, l1[] = {10, 2.5f, 0.00012346f},
              l3[] = {3.14159f, -1, 1e-5f};
  right.SeriesCount = 2;
  right.Series[1].Show = right.Series[3].Show = true;  // 3: beyond the right panel's count
  right.DataEnd = 3;
  const float rx[] = {0, 0.1f, 99999.5f}, r1[] = {7, 8, 9};
  for (int i = 0; i < 3; ++i) {
    left.Row(0)[i] = lx[i], left.Row(1)[i] = l1[i], left.Row(3)[i] = l3[i];
    right.Row(0)[i] = rx[i], right.Row(1)[i] = r1[i];
  }

  const std::string leftHead = "Left Panel Graphs\nX-axis\tY-data->\n";
  const std::string leftRows[] = {"0\t10\t3.142\n", "0.02\t2.5\t-1\n",
                                  "1.2346e+05\t0.0001235\t1e-05\n"};
  const std::string rightHead = "\n\nRight Panel Graphs\nX-axis\tY-data->\n";
  // X + 1e-8: 0 becomes 1e-08, 99999.5 rounds up to 1e+05.
  const std::string rightRows[] = {"1e-08\t7\n", "0.1\t8\n", "1e+05\t9\n"};

  form.Menu.SetChecked("L_ShowDlat", true);
  form.Menu.SetChecked("R_ShowDlat", true);
  EXPECT_EQ(Save("SaveDistAsTXT"), leftHead + leftRows[0] + leftRows[1] + leftRows[2] + rightHead +
                                        rightRows[0] + rightRows[1] + rightRows[2]);
  form.Menu.SetChecked("R_ShowMSD", true);
  EXPECT_EQ(Save("SaveDistAsTXT"), leftHead + leftRows[0] + leftRows[1] + leftRows[2] + rightHead +
                                        rightRows[1] + rightRows[2]);
  // The left MSD panel: both sections start at row 1, the right one on a histogram too.
  form.Menu.SetChecked("L_ShowMSD", true);
  form.Menu.SetChecked("R_ShowDlat", true);
  EXPECT_EQ(Save("SaveDistAsTXT"),
            leftHead + leftRows[1] + leftRows[2] + rightHead + rightRows[1] + rightRows[2]);
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(platform.dialogs.back().filter + "|" + platform.dialogs.back().defaultExt,
            "Data as TXT (for Excel) |*.txt|txt");
}

TEST_F(Exports, TrackRowsAndColumnsWithTimeLine) {
  AddThreeAndFive();
  SetToggles(false, true);
  const std::string x1 = kX + "\t1.5\t-0.001\t2\n", y1 = kY + "\t0\t10.25\t3\n",
                    i1 = "Int(AU)\t123.4\t99.9\t7\n";
  const std::string x2 = kX + "\t0\t1\t2\t3\t4\n", y2 = kY + "\t0\t0.5\t1\t1.5\t2\n",
                    i2 = "Int(AU)\t10\t20\t30\t40\t50\n";
  EXPECT_EQ(Save("SaveXYIntData"),
            "Time(s)\t0\t0.25\t0.5\t0.75\t1\t\n" + x1 + y1 + i1 + x2 + y2 + i2);
  SetToggles(false, false);
  EXPECT_EQ(Save("SaveXYdata"), x1 + y1 + x2 + y2);
  EXPECT_EQ(Save("SaveIntensityData"), i1 + i2);

  // Columns: an ended track collapses, but blank intensities keep their cells.
  SetToggles(true, true);
  EXPECT_EQ(Save("SaveXYIntData"), "Time(s)\t" + kX + "\t" + kY + "\tInt(AU)\t" + kX + "\t" + kY +
                                        "\tInt(AU)\t\n" +
                                        "0\t1.5\t0\t123.4\t0\t0\t10\t\n"
                                        "0.25\t-0.001\t10.25\t99.9\t1\t0.5\t20\t\n"
                                        "0.5\t2\t3\t7\t2\t1\t30\t\n"
                                        "0.75\t \t3\t1.5\t40\t\n"
                                        "1\t \t4\t2\t50\t\n"
                                        "1.25\t \t \t\n");
  SetToggles(true, false);
  EXPECT_EQ(Save("SaveXYdata"), kX + "\t" + kY + "\t" + kX + "\t" + kY + "\t\n" +
                                     "1.5\t0\t0\t0\t\n-0.001\t10.25\t1\t0.5\t\n2\t3\t2\t1\t\n"
                                     "3\t1.5\t\n4\t2\t\n\n");
  // One header column per track, but two blank cells before every intensity.
  EXPECT_EQ(Save("SaveIntensityData"),
            "Int(AU)\tInt(AU)\t\n"
            " \t \t123.4\t \t \t10\t\n \t \t99.9\t \t \t20\t\n \t \t7\t \t \t30\t\n"
            " \t \t \t \t \t40\t\n \t \t \t \t \t50\t\n \t \t \t \t \t \t\n");
  EXPECT_TRUE(platform.messages.empty());
}

TEST_F(Exports, TrackTwoThousandValuesAndColumns) {
  AddLine(2500);
  AddLine(3);
  SetToggles(false, true);
  Texts lines = Lines(Save("SaveXYdata"));
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(platform.messages, Texts{"Tracks are too long -> Data will be truncated"});
  // A TAB after the header and after each of 2000 times.
  EXPECT_EQ((std::vector<long>{std::count(lines[0].begin(), lines[0].end(), '\t'),
                               std::count(lines[1].begin(), lines[1].end(), '\t')}),
            (std::vector<long>{2001, 2000}));
  EXPECT_EQ(lines[0].substr(lines[0].size() - 8) + lines[1].substr(lines[1].size() - 5),
            "\t499.75\t\t1999");
  EXPECT_EQ(lines[3], kX + "\t0\t1\t2");

  // 1001 one-point tracks: X/Y reach 2002 columns with the last track, which is still
  // written; with all three quantities the header stops at 667 tracks (2001 columns).
  ExportForm g;
  for (int t = 0; t < 1001; ++t) g.Add({1}, {2}, {3});
  g.SetToggles(true, false);
  lines = Lines(g.Save("SaveXYdata"));
  EXPECT_EQ(lines, (Texts{Repeat(kX + "\t" + kY + "\t", 1001), Repeat("1\t2\t", 1001), ""}));
  EXPECT_EQ(g.platform.messages, Texts{"Too many objects (>2000) -> Data will be truncated"});

  lines = Lines(g.Save("SaveXYIntData"));
  EXPECT_EQ(lines, (Texts{Repeat(kX + "\t" + kY + "\tInt(AU)\t", 667), Repeat("1\t2\t3\t", 667),
                          Repeat(" \t", 1001)}));  // one blank cell per track: 1001 columns
  EXPECT_EQ(g.platform.messages.size(), 2u);

  g.form.Spots[1000].Valid = 0;  // exactly 2000 X/Y columns: no message
  EXPECT_TRUE(Lines(g.Save("SaveXYdata"))[0] == Repeat(kX + "\t" + kY + "\t", 1000) &&
              g.platform.messages.size() == 2u);
}

TEST_F(Exports, MsdLagLineAndOneCurvePerValidTrack) {
  form.S.dT = 0.5;
  form.S.TimeScale = 0.01666666666;  // not applied to the lags
  AddLine(3);
  AddLine(8).Valid = 0;
  AddLine(8);
  AddLine(600);
  SpotRec& cut = AddLine(2500);
  for (int k = 2000; k < 2500; ++k) cut.X[k] += 1000;  // only seen if not cut at 2000
  std::string header;
  for (int k = 1; k <= 254; ++k) header += std::to_string(k / 2) + (k % 2 ? ".5\t" : "\t");
  const Texts lines = Lines(Save("SaveMSDdT"));
  // 3 points: no lag below 3 / 2; a straight track: MSD(k) = k^2 for k < 4.
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(Texts(lines.begin(), lines.begin() + 3), (Texts{header, "", "1\t4\t9\t"}));
  for (int i : {3, 4}) {
    EXPECT_TRUE(std::count(lines[i].begin(), lines[i].end(), '\t') == 254 &&
                lines[i].substr(0, 12) == "1\t4\t9\t16\t25\t");
  }
}

TEST_F(Exports, DlatTablesMeanSdAndCountPerBinWithoutTheLastBin) {
  form.S.DlatBin = 0.02;
  form.Menu.SetChecked("R_ShowDlat", true);
  // By Dlat: bin 0 (0.01 and -0.01, truncated toward zero), bin 1 (five), bin 2 (four,
  // too few), bin 3 (five: the last bin, never written), and tracks that do not count.
  auto add = [this](float dlat, float averInt, int points) -> SpotRec& {
    SpotRec& t = AddLine(points);
    t.Dlat = dlat, t.AverInt = averInt;
    return t;
  };
  for (float dlat : {0.01f, 0.01f, -0.01f, 0.01f, 0.01f}) add(dlat, 50, 11);
  for (float in : {100.f, 110.f, 120.f, 130.f, 140.f}) add(0.035f, in, 21);
  for (int i = 0; i < 4; ++i) add(0.05f, 1, 16);
  for (int i = 0; i < 5; ++i) add(0.075f, 1, 30);
  add(0.035f, 1e6f, 11).Selected = 0;
  add(std::nanf(""), 1, 11);
  add(-0.03f, 1, 11);
  EXPECT_EQ(Save("SaveDlatVersInt"), "0\t50\t0\t5\n0.02\t120\t14.14\t5\n");

  // By length: lengths 10 and 20 with six tracks each; 20 is the last bin and left out.
  ExportForm g;
  g.form.Menu.SetChecked("R_ShowDlat", true);
  for (int i = 1; i <= 6; ++i) g.AddLine(11).Dlat = 0.1f * i;
  for (int i = 0; i < 6; ++i) g.AddLine(21).Dlat = 1;
  for (int i = 0; i < 4; ++i) g.AddLine(16).Dlat = 1;
  SpotRec& unselected = g.AddLine(11);
  unselected.Selected = 0, unselected.Dlat = 100;
  // Mean 0.35; SD sqrt((0.25^2 + 0.15^2 + 0.05^2) x 2 / 6) = 0.1708.
  EXPECT_EQ(g.Save("SaveDlatVerLen"), "10\t0.35\t0.17\t6\n");

  // Only beside the Dlat distribution; otherwise not even the dialog.
  g.form.Menu.SetChecked("R_ShowMSD", true);
  const size_t dialogs = g.platform.dialogs.size();
  EXPECT_EQ(g.Save("SaveDlatVerLen"), "<no file>");
  EXPECT_TRUE(g.platform.dialogs.size() == dialogs && g.platform.messages.empty());
}

TEST_F(Exports, StopTimesGateThenOneLinePerStretchedTrack) {
  SpotRec& a = AddLine(40);
  a.SegLen[0] = 12, a.SegLen[2] = 15, a.AverInt = 123.9f, a.PosX = 12, a.PosY = 34;
  AddLine(40).SegLen[1] = 5;  // no stretch in slot 0
  SpotRec& c = AddLine(40);
  c.Valid = 0, c.SegLen[0] = 7, c.AverInt = -5.5f;

  EXPECT_EQ(Save("SaveStopTimes"), "<no file>");
  EXPECT_EQ(platform.messages,
            Texts{"Select 'Stopping Spots' in 'Settings' first or do dual tracks"});
  EXPECT_TRUE(platform.dialogs.empty());

  const std::string expected =
      "\n3.75\t123\t0.0\t123\t15\t0.0\t0.0\t10.0\t10.0\t12\t34\n"
      "1.75\t-5\t0.0\t-5\t7\t0.0\t0.0\t10.0\t10.0\t0\t0\n";
  form.Menu.SetChecked("StoppingSpots", true);
  EXPECT_EQ(Save("SaveStopTimes"), expected);
  form.Menu.SetChecked("StoppingSpots", false);
  form.DualsFound = true;
  EXPECT_TRUE(Save("SaveStopTimes") == expected && platform.messages.size() == 1u);
}

TEST_F(Exports, DlatInstVelRightPanelRunWritesEveryStepThenDisarms) {
  // 2 steps of 3 frames, 3 um in 0.09 s (T as a float): 33.333 um/s; both cut to 0.001.
  form.S.dT = 0.03;
  for (int t = 0; t < 3; ++t) AddLine(6).Dlat = 0.1234f;
  EXPECT_EQ(Save("SaveDlatInstVelData"), Repeat("0.123\t33.333\n", 6));
  EXPECT_TRUE(form.Menu.Checked("R_ShowInstantVel"));

  // Too few tracks selected: the panel pass does not run and nothing is written.
  form.Spots[2].Valid = 0;
  EXPECT_EQ(Save("SaveDlatInstVelData"), "");
  EXPECT_TRUE(platform.messages.empty());
}

TEST_F(Exports, CancelOrUnopenableFileChangesNothing) {
  AddThreeAndFive();
  form.Menu.SetChecked("R_ShowDlat", true);
  form.Menu.SetChecked("StoppingSpots", true);
  auto fingerprint = [this] {
    std::string s = form.Menu.CheckedInGroup(MenuGroup::RightPanel);
    for (const char* toggle : {"SaveXYIntColumns", "PutTimeInTXTfile", "StoppingSpots"})
      s += form.Menu.Checked(toggle) ? '1' : '0';
    for (int32_t t = 0; t < form.Spots.NSpots; ++t) {
      const SpotRec& r = form.Spots[t];
      s += " " + std::to_string(r.Valid) + std::to_string(r.Selected) + std::to_string(r.NPoints) +
           FormatReal(r.X[0]) + FormatReal(r.Int[0]);
    }
    return s;
  };
  const std::string before = fingerprint();
  const char *open = "Can not open file to write data", *write = "File Writing Error";
  const std::pair<const char*, const char*> commands[] = {
      {"SaveDistAsTXT", open},        {"SaveDistAsCSV", open},     {"SaveXYIntData", write},
      {"SaveXYdata", write},          {"SaveIntensityData", write}, {"SaveMSDdT", write},
      {"SaveDlatVersInt", ""},        {"SaveDlatVerLen", ""},       {"SaveStopTimes", ""},
      {"SaveDlatInstVelData", write}};
  for (const auto& [command, message] : commands) {
    SCOPED_TRACE(command);
    platform.messages.clear();
    ASSERT_TRUE(form.RunCommand(command));  // no answer queued: cancelled
    EXPECT_TRUE(platform.messages.empty());
    platform.saveAnswers.push_back("/nonexistent-kinetra-dir/out.txt");
    form.RunCommand(command);
    EXPECT_EQ(platform.messages, *message ? Texts{message} : Texts{});
    EXPECT_TRUE(fingerprint() == before);
  }
}

TEST_F(Exports, PanelCsvSideBySideColumnsNamedByAxisTitles) {
  TQVgraph& left = form.LeftGraph;
  TQVgraph& right = form.RightGraph;
  for (int s = 1; s <= kMaxSeries; ++s) left.Series[s].Show = right.Series[s].Show = false;
  left.XTitle = "Dlat (µm2/s)", left.Y0Title = "Number of objects", left.SeriesCount = 1;
  left.Series[1].Show = left.Series[2].Show = true;  // 2: beyond the count
  left.DataFirst = 0, left.DataEnd = 3;
  const float lx[] = {0, 0.02f, 0.04f}, l1[] = {5, -2e6f, 7};
  right.XTitle = "Lag, \"dT\" (s)", right.Y0Title = "MSD (µm2)", right.Y1Title = "Tracks";
  right.SeriesCount = 5, right.Series[2].Show = true;
  right.Series[4].Show = right.Series[4].RightAxis = true, right.DataFirst = 1, right.DataEnd = 5;
  const float rx[] = {0, 0.03f, 0.06f, 0.09f, 0.12f}, r2[] = {0, 1.5f, 2.5f, 3.5f, 4.5f},
              r4[] = {0, 10, 9, 8, 7};
  for (int i = 0; i < 5; ++i) {
    if (i < 3) left.Row(0)[i] = lx[i], left.Row(1)[i] = l1[i];
    right.Row(0)[i] = rx[i], right.Row(2)[i] = r2[i], right.Row(4)[i] = r4[i];
  }
  // UTF-8 titles, quotes doubled inside a quoted field, missing values and ended columns empty.
  EXPECT_EQ(Save("SaveDistAsCSV"),
            "Left: Dlat (\xC2\xB5m2/s),Left: Number of objects [1],\"Right: Lag, \"\"dT\"\" (s)\","
            "Right: MSD (\xC2\xB5m2) [2],Right: Tracks [4]\n"
            "0,5,0.03,1.5,10\n0.02,,0.06,2.5,9\n0.04,7,0.09,3.5,8\n,,0.12,4.5,7\n");
  EXPECT_EQ(platform.dialogs.back().defaultExt, "csv");
}
