// The single-track viewer without a window: trims, keys, text export, status line, the
// rows of every view, mouse zoom, replay, and its two batch commands.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "EditTracks.h"
#include "FakePlatform.h"
#include "RecordingCanvas.h"
#include "app/GraphForm.h"
#include "app/MainForm.h"
#include "store/Numbers.h"

namespace {

class ViewerTest : public ::testing::Test {
 protected:
  RecordingFactoryScope factory;  // before the form, so every graph gets a bitmap
  FakePlatform platform;
  TMainForm form{platform};
  TGraphForm& viewer = *form.GraphForm;

  // Adds a track and selects every valid one.
  SpotRec& Add(int32_t firstFrame, const std::vector<float>& x, const std::vector<float>& y = {},
               const std::vector<float>& in = {}) {
    SpotRec& t = AddEditTrack(form, firstFrame, x, y, in);
    t.Partner = -1;
    form.SelectSpots();
    return t;
  }
  std::vector<float> Row(int r, int n) const {
    const float* row = viewer.Data.get() + static_cast<size_t>(r) * kViewerStride;
    return std::vector<float>(row, row + n);
  }
  std::string TempPath(const std::string& name) const {
    return (std::filesystem::temp_directory_path() / ("kinetra_viewer_" + name)).string();
  }
  static std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  bool Shown(int k) const { return viewer.Graph.Series[k].Show; }
};

std::vector<float> Ramp(int n, float step, float start = 0) {
  std::vector<float> v(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) v[static_cast<size_t>(i)] = start + step * static_cast<float>(i);
  return v;
}

}  // namespace

TEST_F(ViewerTest, TrimsKeepThreePointsAndRecompute) {
  SpotRec& t = Add(5, {1, 2, 3, 4}, {10, 20, 30, 40}, {100, 101, 102, 103});
  viewer.ShowSpot(0);
  const int repaints = platform.repaints;
  viewer.RunCommand("RemoveFirstVal");
  EXPECT_EQ(t.NPoints, 3);
  EXPECT_EQ(Frames(t.X, 3), (std::vector<float>{2, 3, 4}));
  EXPECT_EQ(Frames(t.Y, 3), (std::vector<float>{20, 30, 40}));
  EXPECT_EQ(Frames(t.Int, 3), (std::vector<float>{101, 102, 103}));
  EXPECT_EQ(t.FirstFrame, 5);
  EXPECT_GT(platform.repaints, repaints);  // UpdateAnalysis ran
  EXPECT_EQ(platform.beeps, 0);
  for (const char* trim : {"RemoveFirstVal", "RemoveEndVal", "RemoveEndsM"}) viewer.RunCommand(trim);
  EXPECT_EQ(platform.beeps, 3);
  EXPECT_EQ(t.NPoints, 3);
  EXPECT_EQ(Frames(t.X, 3), (std::vector<float>{2, 3, 4}));

  // The first value removed is the one at the first viewer index.
  SpotRec& u = Add(0, Ramp(6, 1));
  viewer.ShowSpot(1);
  viewer.KeyDown(ViewerKey::Right);
  viewer.KeyDown(ViewerKey::Right);
  viewer.RunCommand("RemoveFirstVal");
  EXPECT_EQ(Frames(u.X, 5), (std::vector<float>{0, 1, 3, 4, 5}));
  viewer.RunCommand("RemoveEndVal");
  EXPECT_EQ(u.NPoints, 4);
  // "Remove Ends" drops both ends and moves the start one frame on.
  viewer.RunCommand("RemoveEndsM");
  EXPECT_EQ(platform.beeps, 4);  // 4 points would leave 2
  SpotRec& w = Add(7, Ramp(6, 1));
  viewer.ShowSpot(2);
  viewer.RunCommand("RemoveEndsM");
  EXPECT_EQ(w.NPoints, 4);
  EXPECT_EQ(w.FirstFrame, 8);
  EXPECT_EQ(Frames(w.X, 4), (std::vector<float>{1, 2, 3, 4}));
}

TEST_F(ViewerTest, KeysMoveIndexesStepObjectsAndResizeSymbols) {
  Add(0, Ramp(6, 1));
  SpotRec& dropped = Add(0, Ramp(6, 1));
  Add(0, Ramp(6, 1));
  dropped.Valid = 0;
  form.SelectSpots();
  viewer.ShowSpot(0);
  for (int i = 0; i < 10; ++i) viewer.KeyDown(ViewerKey::Right);
  EXPECT_EQ(viewer.FirstIndex, 4);
  for (int i = 0; i < 10; ++i) viewer.KeyDown(ViewerKey::Left);
  EXPECT_EQ(viewer.FirstIndex, 0);
  for (int i = 0; i < 10; ++i) viewer.KeyDown(ViewerKey::Down);
  EXPECT_EQ(viewer.LastIndex, 1);
  EXPECT_TRUE(viewer.Menu.Item("RemoveEnds").enabled);
  for (int i = 0; i < 10; ++i) viewer.KeyDown(ViewerKey::Up);
  EXPECT_EQ(viewer.LastIndex, 5);
  EXPECT_FALSE(viewer.Menu.Item("RemoveEnds").enabled);
  EXPECT_EQ(viewer.Graph.DataEnd, 6);

  viewer.KeyDown(ViewerKey::Add);
  EXPECT_EQ(viewer.Graph.Series[1].SymbolSize, 11);
  viewer.KeyDown(ViewerKey::Subtract);
  viewer.KeyDown(ViewerKey::Subtract);
  EXPECT_EQ(viewer.Graph.Series[1].SymbolSize, 1);
  viewer.KeyDown(ViewerKey::Subtract);
  EXPECT_EQ(viewer.Graph.Series[1].SymbolSize, 1);
  EXPECT_EQ(platform.beeps, 1);

  // Page Up skips the unselected track; Page Down comes back.
  viewer.KeyDown(ViewerKey::Down);
  viewer.KeyDown(ViewerKey::PageUp);
  EXPECT_EQ(form.CurSpot, 2);
  EXPECT_EQ(viewer.SpotIndex, 2);
  EXPECT_EQ(viewer.LastIndex, 5);  // the zoom is reset with the object
  viewer.KeyDown(ViewerKey::PageDown);
  EXPECT_EQ(form.CurSpot, 1);  // the backward skip stops at index 1, unselected
  EXPECT_EQ(viewer.SpotIndex, 2);
  EXPECT_EQ(platform.viewerShown, 1);
}

TEST_F(ViewerTest, SaveDataAsTxtWritesTheShownSeries) {
  Add(0, {0, 1, 2, 3}, {0, 0, 0, 0}, {100, 101.5f, 99.25f, 98});
  viewer.ShowSpot(0);
  const std::string path = TempPath("series1.txt");
  for (int k = 2; k <= 6; ++k) viewer.Graph.Series[k].Show = false;
  platform.saveAnswers.push_back(path);
  viewer.RunCommand("SaveDataAsTXT");
  EXPECT_EQ(ReadFile(path), "Time Xpos Ypos Velocity\n0\t100\n0.03\t101.5\n0.06\t99.25\n0.09\t98\n");
  ASSERT_EQ(platform.dialogs.size(), 1u);
  EXPECT_EQ(platform.dialogs[0].title, "Save Distributions as TXT");
  EXPECT_EQ(platform.dialogs[0].filter, "Data as TXT (for Excel) |*.txt");
  EXPECT_EQ(platform.dialogs[0].defaultExt, "txt");

  // The time view as drawn: intensity, relative X and Y (no drop in 4 points).
  viewer.DrawTrack();
  platform.saveAnswers.push_back(path);
  viewer.RunCommand("SaveAsTXT");
  EXPECT_EQ(ReadFile(path),
            "Time Xpos Ypos Velocity\n0\t100\t0\t0\n0.03\t101.5\t1\t0\n0.06\t99.25\t2\t0\n"
            "0.09\t98\t3\t0\n");
  std::remove(path.c_str());

  platform.saveAnswers.push_back("/nonexistent-dir/x.txt");
  viewer.RunCommand("SaveDataAsTXT");
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"Can not open file to write data"}));
}

TEST_F(ViewerTest, StatusLineAndVerdict) {
  // X alternates by 0.2 µm: MSD is 0.04 at odd lags and 0 at even ones, so
  // Dlat = (0 + 0.04/(4*3*0.03) + 0 + 0.04/(4*5*0.03)) / 4 = 0.0444; every step of 3
  // frames is 0.2 µm in 0.09 s: 2.222 µm/s.
  std::vector<float> x;
  for (int i = 0; i < 12; ++i) x.push_back(i % 2 ? 0.2f : 0.0f);
  Add(0, x);
  Add(0, Ramp(5, 0.1f));
  form.Spots[1].Partner = 0;
  viewer.ShowSpot(0);
  EXPECT_EQ(viewer.StatusText,
            "Vel=2.222 µm/s, SpotNum=0, Dlat=0.044µm2/s, Stest=0, maxDist=0.2 ,GOOD dualInd=-1");
  EXPECT_FALSE(viewer.Graph.CrossOut);
  // Five points give no Dlat and are below "Min N of Data Points".
  viewer.ShowSpot(1);
  EXPECT_EQ(viewer.StatusText.substr(viewer.StatusText.find("Dlat=")),
            "Dlat=nanµm2/s, Stest=0, maxDist=0.4 ,BAD dualInd=0");
  // A track the selection drops is crossed out.
  form.Spots[1].Valid = 0;
  form.SelectSpots();
  viewer.DrawTrack();
  EXPECT_TRUE(viewer.Graph.CrossOut);
  EXPECT_FALSE(TGraphForm::GoodTrack(form.Spots[1], form.S));
}

TEST_F(ViewerTest, TimeViewRowsDropAndVelocity) {
  std::vector<float> in(40, 100.0f);
  for (int i = 20; i < 40; ++i) in[static_cast<size_t>(i)] = 50.0f;
  SpotRec& t = Add(10, Ramp(40, 0.01f, 1), Ramp(40, -0.02f, 2), in);
  t.PosX = 30;
  form.ViewerCaption = "sample.qvi";
  viewer.ShowSpot(0);
  EXPECT_EQ(viewer.Graph.Caption, "sample.qvi");
  EXPECT_EQ(viewer.Graph.XTitle, "Time (s)");
  EXPECT_EQ(viewer.Graph.Y0Title, "Intesity (counts/pix)");
  EXPECT_EQ(viewer.Graph.DataEnd, 40);
  EXPECT_FLOAT_EQ(Row(0, 40)[5], 15 * 0.03f);
  EXPECT_FLOAT_EQ(Row(2, 40)[5], t.X[5] - t.X[0]);
  EXPECT_FLOAT_EQ(Row(3, 40)[5], t.Y[5] - t.Y[0]);
  EXPECT_EQ(Row(4, 40)[19], 100);
  EXPECT_EQ(Row(4, 40)[20], 50);
  const std::vector<float> marks = Row(5, 40);
  EXPECT_EQ(std::count(marks.begin(), marks.end(), 1.0f), 1);
  EXPECT_EQ(marks[20], 1.0f);
  for (int k = 1; k <= 5; ++k) EXPECT_TRUE(Shown(k)) << k;
  EXPECT_TRUE(viewer.Graph.Series[2].RightAxis);
  EXPECT_EQ(viewer.Graph.Notes[0], "Intensity drop at t=0.9s: 100 -> 50 counts, Stest=" +
                                       FormatReal(TruncateTo(t.STest, 100, 0.01)));

  viewer.RunCommand("UseRelativeXY");
  EXPECT_FLOAT_EQ(Row(2, 40)[5], static_cast<float>(3.0 + t.X[5]));
  viewer.RunCommand("ShowVelocity");
  EXPECT_EQ(viewer.Menu.Caption("ShowVelocity"), "ShowIntensity");
  EXPECT_TRUE(Shown(6));
  EXPECT_FALSE(Shown(1));
  // 3 frames: 0.03 along X and -0.06 along Y in 0.09 s.
  EXPECT_NEAR(Row(6, 40)[0], std::sqrt(0.03 * 0.03 + 0.06 * 0.06) / 0.09, 1e-4);
  EXPECT_LT(Row(6, 40)[37], kMissingValue);
  EXPECT_GT(Row(6, 40)[36], 0);
}

TEST_F(ViewerTest, DerivedViewsRows) {
  std::vector<float> alternating;
  for (int i = 0; i < 12; ++i) alternating.push_back(i % 2 ? 0.2f : 0.0f);
  Add(0, alternating);
  viewer.ShowSpot(0);
  viewer.RunCommand("Show_MSD_dT");
  EXPECT_EQ(viewer.ShowName, "Show_(MSD-dT)");
  EXPECT_EQ(viewer.Graph.DataEnd, 5);
  EXPECT_EQ(Row(0, 5), (std::vector<float>{0.03f, 2 * 0.03f, 3 * 0.03f, 4 * 0.03f, 5 * 0.03f}));
  EXPECT_NEAR(Row(1, 5)[0], 0.04, 1e-7);
  EXPECT_EQ(Row(1, 5)[1], 0);
  EXPECT_EQ(viewer.Graph.XTitle, "dt (s)    minX=0, maxX=0.2,minY=0, maxY=0");
  EXPECT_EQ(viewer.Graph.Notes[0], "Obj=0, Dlat=0.044µm2/s (12 points)");

  // Pairs of 10 nm steps: 10 nm three times, 20 nm twice, 30 nm once, in bins of 7.2 nm.
  // The staircase stops before the last filled bin, as in every distribution.
  Add(0, {0, 0.01f, 0.02f, 0.03f});
  viewer.ShowSpot(1);
  viewer.RunCommand("ShowDistAutoCorr");
  EXPECT_EQ(viewer.Graph.DataEnd, 8);
  EXPECT_EQ(Row(4, 8), (std::vector<float>{0, 0, 3, 3, 2, 2, 0, 0}));
  EXPECT_FLOAT_EQ(Row(0, 8)[7], static_cast<float>(4 * 7.2));
  EXPECT_EQ(viewer.Graph.XTitle, "Distance (nm)");
  EXPECT_EQ(viewer.Graph.Notes[0].rfind("Obj=1, 4 dataPoints, 6 pairs", 0), 0u);

  // Points on y = 2x + 1 (absolute coordinates: header position 0).
  Add(0, {0, 0.5f, 1, 1.5f, 2}, {1, 2, 3, 4, 5}, {100, 104, 108, 112, 116});
  viewer.ShowSpot(2);
  viewer.RunCommand("UseRelativeXY");
  viewer.RunCommand("ShowXverYgraph");
  EXPECT_EQ(viewer.Graph.Notes[0], "Obj=2 (5points), Slope=2 offSet=1");
  EXPECT_EQ(Row(4, 5), (std::vector<float>{1, 2, 3, 4, 5}));
  viewer.Render();
  viewer.DrawTrack();  // now from a layout of this view
  viewer.Render();
  EXPECT_NEAR(viewer.Graph.XScale / viewer.Graph.Y0Scale, 1, 0.03);
  viewer.RunCommand("ShowYverIntens");
  EXPECT_EQ(Row(0, 5), (std::vector<float>{100, 104, 108, 112, 116}));
  EXPECT_EQ(viewer.Graph.Notes[0], "Obj=2 (5points), Slope=0.25 offSet=-24");
  EXPECT_EQ(viewer.Graph.XTitle, "Intensity (AU)");

  // Two points are too few for any of these views (as 4 were for the MSD above).
  platform.messages.clear();
  Add(0, {0, 1});
  viewer.ShowSpot(3);
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"Too short XY track"}));
  EXPECT_EQ(viewer.Graph.DataEnd, 0);
}

TEST_F(ViewerTest, DriftViewShowsWhatCorrectionSubtracts) {
  // Two tracks move 0.1 µm a frame together: the path gains 0.1 per frame, with the
  // one-step lead of the correction, and stops once no step is left (frame 9).
  Add(0, Ramp(10, 0.1f), Ramp(10, 0.0f));
  Add(0, Ramp(10, 0.1f), Ramp(10, 0.0f, 3));
  viewer.ShowSpot(0);
  viewer.RunCommand("ShowDrift");
  EXPECT_EQ(viewer.Graph.Y0Title, "Drift (µm)");
  const std::vector<float> path = Row(2, 10);
  double expected = 0;
  for (int f = 0; f < 10; ++f) {
    if (f < 9) expected += static_cast<double>(form.Spots[0].X[f + 1] - form.Spots[0].X[f]);
    EXPECT_NEAR(path[static_cast<size_t>(f)], expected, 1e-6) << f;
  }
  EXPECT_NEAR(Row(1, 10)[4], path[0] + 0.4, 1e-6);  // the track laid on the path
  // The correction itself leaves the track standing still where the path said.
  form.RunCommand("CorrectForDrift1");
  for (int f = 0; f < 10; ++f)
    EXPECT_NEAR(form.Spots[0].X[f], Ramp(10, 0.1f)[static_cast<size_t>(f)] - path[static_cast<size_t>(f)], 1e-6);
}

TEST_F(ViewerTest, FusedViewShowsBothTracksAndTheJointStretch) {
  SpotRec& s = Add(0, std::vector<float>(10, 1.0f), {}, std::vector<float>(10, 80.0f));
  SpotRec& p = Add(5, std::vector<float>(10, 1.05f), {}, std::vector<float>(10, 40.0f));
  EXPECT_FALSE(viewer.ShowFusedTracks());
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"No dual tracks selected"}));
  s.Partner = 1;
  p.Partner = 0;
  p.SegStart[0] = 1;  // the partner searched: the view centres on it
  p.SegLen[0] = 3;
  ASSERT_TRUE(viewer.ShowFusedTracks());
  EXPECT_EQ(viewer.SpotIndex, 1);
  EXPECT_EQ(viewer.FusedPartner, 0);
  EXPECT_EQ(viewer.Graph.DataEnd, 15);
  const std::vector<float> own = Row(1, 15), other = Row(2, 15), distance = Row(3, 15),
                           marks = Row(5, 15);
  for (int j = 0; j < 15; ++j) {
    EXPECT_EQ(own[static_cast<size_t>(j)] == 40.0f, j >= 5) << j;
    EXPECT_EQ(other[static_cast<size_t>(j)] == 80.0f, j < 10) << j;
    if (j >= 5 && j < 10)
      EXPECT_NEAR(distance[static_cast<size_t>(j)], 0.05, 1e-6);
    else
      EXPECT_LT(distance[static_cast<size_t>(j)], kMissingValue);
    EXPECT_EQ(marks[static_cast<size_t>(j)], j >= 6 && j < 9 ? 1.0f : 0.0f) << j;
  }
  EXPECT_EQ(viewer.Graph.Notes[0], "Obj=1 with Obj=0, joint 3 frames from t=0.18s");
  // The next object leaves the fused view.
  viewer.KeyDown(ViewerKey::PageDown);
  EXPECT_FALSE(viewer.FusedView);
}

TEST_F(ViewerTest, MouseZoomRemoveUnselectedEndsAndReplay) {
  SpotRec& t = Add(0, Ramp(20, 0.1f), Ramp(20, 0.05f));
  viewer.FormResize(800, 520, 20);
  viewer.ShowSpot(0);
  viewer.Render();
  const TQVgraph& g = viewer.Graph;
  auto pixel = [&](int k) {
    return static_cast<int>(static_cast<float>(k * 0.03) * g.XScale - g.XOffset());
  };
  viewer.MouseDown(pixel(5) - 2, 100);
  viewer.MouseUp(pixel(9) + 2, 100);
  EXPECT_EQ(viewer.FirstIndex, 5);
  EXPECT_EQ(viewer.LastIndex, 9);
  EXPECT_TRUE(viewer.Menu.Item("RemoveEnds").enabled);
  viewer.Render();
  viewer.MouseDown(300, 100);  // a click shows the whole track again
  viewer.MouseUp(301, 100);
  EXPECT_EQ(viewer.LastIndex, 19);
  viewer.Render();
  viewer.MouseDown(pixel(5) - 2, 100);
  viewer.MouseUp(pixel(9) + 2, 100);

  viewer.Render();
  viewer.MouseMove(pixel(7) - 1, 100);
  EXPECT_EQ(viewer.StatusText.substr(0, 10), "Time=0.21,");

  viewer.RunCommand("RemoveEnds");
  EXPECT_EQ(t.NPoints, 5);
  EXPECT_EQ(t.FirstFrame, 5);
  const std::vector<float> ramp = Ramp(20, 0.1f);
  EXPECT_EQ(Frames(t.X, 5), (std::vector<float>(ramp.begin() + 5, ramp.begin() + 10)));
  EXPECT_EQ(viewer.LastIndex, 4);
  EXPECT_FALSE(viewer.Menu.Item("RemoveEnds").enabled);

  // The replay shows the path one more point a tick and starts again after the end.
  bool timer = false;
  viewer.OnTimer = [&](bool on) { timer = on; };
  viewer.RunCommand("DynamicXY");
  EXPECT_TRUE(timer);
  EXPECT_EQ(viewer.ShowName, "Show_(X-ver-Y)");
  EXPECT_EQ(viewer.Graph.DataEnd, 1);
  viewer.GraphTimerTimer();
  EXPECT_EQ(viewer.Graph.DataEnd, 2);
  for (int i = 0; i < 3; ++i) viewer.GraphTimerTimer();
  EXPECT_EQ(viewer.Graph.DataEnd, 5);
  viewer.GraphTimerTimer();
  EXPECT_EQ(viewer.Graph.DataEnd, 1);
  // Closing stops it and recomputes the main window.
  const int repaints = platform.repaints;
  viewer.FormClose();
  EXPECT_FALSE(timer);
  EXPECT_FALSE(viewer.Menu.Checked("DynamicXY"));
  EXPECT_GT(platform.repaints, repaints);
}

TEST_F(ViewerTest, BatchCommandsPrintAndSettings) {
  Add(0, Ramp(8, 0.1f));
  platform.promptAnswers = {"5", "0"};
  form.RunCommand("ViewTrack");
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"Track Number out of order"}));
  form.CurSpot = 3;
  form.RunCommand("ViewTrack");
  EXPECT_EQ(form.CurSpot, 0);
  EXPECT_EQ(viewer.SpotIndex, 0);
  EXPECT_EQ(platform.viewerShown, 1);

  const std::string path = TempPath("picture.bmp");
  platform.saveAnswers.push_back(path);
  form.RunCommand("ViewerPicture");
  const std::string bmp = ReadFile(path);
  // 900 x 560 pixels of 3 bytes (rows already a multiple of 4) after the 54-byte header.
  EXPECT_EQ(bmp.size(), 54u + 900u * 3u * 560u);
  EXPECT_EQ(bmp.substr(0, 2), "BM");
  std::remove(path.c_str());

  platform.printConfirm = true;
  viewer.RunCommand("PrintGraph");
  EXPECT_EQ(platform.printed, 1);
  viewer.RunCommand("GraphSettings");
  EXPECT_EQ(platform.graphDialogs, 1);
  EXPECT_EQ(form.QVgraphDlgForm->Graph, &viewer.Graph);
}

TEST_F(ViewerTest, EveryCommandSurvivesEmptyAndOddTracks) {
  const char* commands[] = {"IntensityXY",  "Show_MSD_dT",   "ShowDistAutoCorr", "ShowXverYgraph",
                            "ShowYverIntens", "ShowDrift",   "ShowVelocity",     "DynamicXY",
                            "RemoveFirstVal", "RemoveEndVal", "RemoveEndsM",     "RemoveEnds",
                            "AutoYscale",     "UseRelativeXY", "PrintGraph"};
  const int keys[] = {ViewerKey::Left, ViewerKey::Right, ViewerKey::Up, ViewerKey::Down,
                      ViewerKey::Add, ViewerKey::Subtract, ViewerKey::PageUp, ViewerKey::PageDown};
  auto exercise = [&] {
    for (const char* command : commands) {
      ASSERT_TRUE(viewer.RunCommand(command)) << command;
      viewer.Render();
      viewer.MouseDown(100, 50);
      viewer.MouseMove(400, 200);
      viewer.MouseUp(500, 50);
      viewer.GraphTimerTimer();
    }
    for (int key : keys) viewer.KeyDown(key);
  };
  exercise();  // nothing shown yet
  const float nan = std::nanf(""), inf = INFINITY;
  Add(0, {nan, 1, inf}, {nan, nan, 2}, {nan, 5, 6});
  viewer.ShowSpot(0);
  exercise();
  Add(INT32_MAX, {1});
  viewer.ShowSpot(1);
  exercise();
  form.Spots.NSpots = 0;  // the store emptied under the viewer
  exercise();
  EXPECT_EQ(form.Spots[0].NPoints, 3);
  EXPECT_FALSE(viewer.RunCommand("NoSuchItem"));
}
