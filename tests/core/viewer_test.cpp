// The single-track viewer without a window: trims, keys, text export, status line, the
// rows of every view, mouse zoom, replay, and its two batch commands.
#include "RecordingCanvas.h"
#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "app/GraphForm.h"
#include "app/VirtualKeys.h"
#include "store/Numbers.h"

class ViewerTest : public ::testing::Test {
 protected:
  RecordingFactoryScope factory;  // before the form, so every graph gets a bitmap
  FakePlatform platform;
  TMainForm form{platform};
  TGraphForm& viewer = *form.GraphForm;

  // Adds a track and selects every valid one.
  SpotRec& Add(int32_t firstFrame, const Floats& x, const Floats& y = {}, const Floats& in = {}) {
    SpotRec& t = AddTrack(form, x, y, in, firstFrame);
    t.Partner = -1;
    form.SelectSpots();
    return t;
  }
  Floats Row(int r, int n) const {
    const float* row = viewer.Data.get() + static_cast<size_t>(r) * kViewerStride;
    return Floats(row, row + n);
  }
};

TEST_F(ViewerTest, TrimsKeepThreePointsAndRecompute) {
  SpotRec& t = Add(5, {1, 2, 3, 4}, {10, 20, 30, 40}, {100, 101, 102, 103});
  viewer.ShowSpot(0);
  const int repaints = platform.repaints;
  viewer.RunCommand("RemoveFirstVal");
  EXPECT_TRUE(t.NPoints == 3 && t.FirstFrame == 5 && platform.beeps == 0);
  EXPECT_EQ(Frames(t.X, 3), (Floats{2, 3, 4}));
  EXPECT_TRUE(Frames(t.Y, 3) == (Floats{20, 30, 40}) && Frames(t.Int, 3) == Ramp(3, 1, 101));
  EXPECT_GT(platform.repaints, repaints);  // UpdateAnalysis ran
  for (const char* trim : {"RemoveFirstVal", "RemoveEndVal", "RemoveEndsM"}) viewer.RunCommand(trim);
  EXPECT_TRUE(platform.beeps == 3 && Frames(t.X, t.NPoints) == (Floats{2, 3, 4}));

  // The first value removed is the one at the first viewer index.
  SpotRec& u = Add(0, Ramp(6, 1));
  viewer.ShowSpot(1);
  for (int key : {VirtualKey::Right, VirtualKey::Right}) viewer.KeyDown(key);
  viewer.RunCommand("RemoveFirstVal");
  EXPECT_EQ(Frames(u.X, 5), (Floats{0, 1, 3, 4, 5}));
  viewer.RunCommand("RemoveEndVal");
  EXPECT_EQ(u.NPoints, 4);
  // "Remove Ends" drops both ends and moves the start one frame on.
  viewer.RunCommand("RemoveEndsM");
  EXPECT_EQ(platform.beeps, 4);  // 4 points would leave 2
  SpotRec& w = Add(7, Ramp(6, 1));
  viewer.ShowSpot(2);
  viewer.RunCommand("RemoveEndsM");
  EXPECT_TRUE(w.FirstFrame == 8 && Frames(w.X, w.NPoints) == (Floats{1, 2, 3, 4}));
}

TEST_F(ViewerTest, KeysMoveIndexesStepObjectsAndResizeSymbols) {
  Add(0, Ramp(6, 1));
  SpotRec& dropped = Add(0, Ramp(6, 1));
  Add(0, Ramp(6, 1));
  dropped.Valid = 0;
  form.SelectSpots();
  viewer.ShowSpot(0);
  // Ten presses of each arrow: the indexes stop where three points remain, or at the ends.
  for (auto [key, first, last, trim] : {std::tuple{VirtualKey::Right, 4, 5, true},
                                         {VirtualKey::Left, 0, 5, false},
                                         {VirtualKey::Down, 0, 1, true},
                                         {VirtualKey::Up, 0, 5, false}}) {
    for (int i = 0; i < 10; ++i) viewer.KeyDown(key);
    EXPECT_TRUE(viewer.FirstIndex == first && viewer.LastIndex == last &&
                viewer.Menu.Item("RemoveEnds").enabled == trim) << key;
  }
  EXPECT_EQ(viewer.Graph.DataEnd, 6);

  // Symbols grow and shrink by 5, never below 1 (a beep instead).
  std::vector<int> sizes;
  for (int key : {VirtualKey::Add, VirtualKey::Subtract, VirtualKey::Subtract, VirtualKey::Subtract}) {
    viewer.KeyDown(key);
    sizes.push_back(viewer.Graph.Series[1].SymbolSize);
  }
  EXPECT_TRUE(sizes == (std::vector<int>{11, 6, 1, 1}) && platform.beeps == 1);

  // Page Up skips the unselected track; Page Down comes back.
  viewer.KeyDown(VirtualKey::Down);
  viewer.KeyDown(VirtualKey::PageUp);
  // The zoom is reset with the object.
  EXPECT_TRUE(form.CurSpot == 2 && viewer.SpotIndex == 2 && viewer.LastIndex == 5);
  viewer.KeyDown(VirtualKey::PageDown);
  // The backward skip stops at index 1, unselected, and the viewer keeps showing 2.
  EXPECT_TRUE(form.CurSpot == 1 && viewer.SpotIndex == 2 && platform.viewerShown == 1);
}

TEST_F(ViewerTest, SaveDataAsTxtWritesTheShownSeries) {
  Add(0, {0, 1, 2, 3}, {0, 0, 0, 0}, {100, 101.5f, 99.25f, 98});
  viewer.ShowSpot(0);
  const std::string path = TempPath("viewer-series.txt");
  for (int k = 2; k <= 6; ++k) viewer.Graph.Series[k].Show = false;
  platform.saveAnswers.push_back(path);
  viewer.RunCommand("SaveDataAsTXT");
  EXPECT_EQ(ReadFile(path), "Time Xpos Ypos Velocity\n0\t100\n0.03\t101.5\n0.06\t99.25\n0.09\t98\n");
  ASSERT_EQ(platform.dialogs.size(), 1u);
  const FileDialog& dialog = platform.dialogs[0];
  EXPECT_EQ(dialog.title + "|" + dialog.filter + "|" + dialog.defaultExt,
            "Save Distributions as TXT|Data as TXT (for Excel) |*.txt|txt");

  // The time view as drawn: intensity, relative X and Y (no drop in 4 points).
  viewer.DrawTrack();
  platform.saveAnswers.push_back(path);
  viewer.RunCommand("SaveAsTXT");
  EXPECT_EQ(ReadFile(path),
            "Time Xpos Ypos Velocity\n0\t100\t0\t0\n0.03\t101.5\t1\t0\n0.06\t99.25\t2\t0\n"
            "0.09\t98\t3\t0\n");

  platform.saveAnswers.push_back("/nonexistent-dir/x.txt");
  viewer.RunCommand("SaveDataAsTXT");
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"Can not open file to write data"}));
}

TEST_F(ViewerTest, StatusLineVerdictAndDerivedViews) {
  // X alternates by 0.2 µm: MSD is 0.04 at odd lags and 0 at even ones, so
  // Dlat = (0 + 0.04/(4*3*0.03) + 0 + 0.04/(4*5*0.03)) / 4 = 0.0444; every step of 3
  // frames is 0.2 µm in 0.09 s: 2.222 µm/s.
  Add(0, {0, 0.2f, 0, 0.2f, 0, 0.2f, 0, 0.2f, 0, 0.2f, 0, 0.2f});
  Add(0, Ramp(5, 0.1));
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
  EXPECT_TRUE(viewer.Graph.CrossOut && !TGraphForm::GoodTrack(form.Spots[1], form.S));

  viewer.ShowSpot(0);
  viewer.RunCommand("Show_MSD_dT");
  EXPECT_TRUE(viewer.ShowName == "Show_(MSD-dT)" && viewer.Graph.DataEnd == 5);
  EXPECT_EQ(Row(0, 5), (Floats{0.03f, 2 * 0.03f, 3 * 0.03f, 4 * 0.03f, 5 * 0.03f}));
  EXPECT_TRUE(std::fabs(Row(1, 5)[0] - 0.04) < 1e-7 && Row(1, 5)[1] == 0) << Row(1, 5)[0];
  EXPECT_EQ(viewer.Graph.XTitle + "|" + viewer.Graph.Notes[0],
            "dt (s)    minX=0, maxX=0.2,minY=0, maxY=0|Obj=0, Dlat=0.044µm2/s (12 points)");

  // Pairs of 10 nm steps: 10 nm three times, 20 nm twice, 30 nm once, in bins of 7.2 nm.
  // The staircase stops before the last filled bin, as in every distribution.
  Add(0, {0, 0.01f, 0.02f, 0.03f});
  viewer.ShowSpot(2);
  viewer.RunCommand("ShowDistAutoCorr");
  EXPECT_EQ(Row(4, viewer.Graph.DataEnd), (Floats{0, 0, 3, 3, 2, 2, 0, 0}));
  EXPECT_FLOAT_EQ(Row(0, 8)[7], static_cast<float>(4 * 7.2));
  EXPECT_EQ(viewer.Graph.XTitle + "|" + viewer.Graph.Notes[0].substr(0, 28),
            "Distance (nm)|Obj=2, 4 dataPoints, 6 pairs");

  // Points on y = 2x + 1 (absolute coordinates: header position 0).
  Add(0, {0, 0.5f, 1, 1.5f, 2}, {1, 2, 3, 4, 5}, {100, 104, 108, 112, 116});
  viewer.ShowSpot(3);
  viewer.RunCommand("UseRelativeXY");
  viewer.RunCommand("ShowXverYgraph");
  EXPECT_TRUE(viewer.Graph.Notes[0] == "Obj=3 (5points), Slope=2 offSet=1" &&
              Row(4, 5) == (Floats{1, 2, 3, 4, 5}));
  viewer.Render();
  viewer.DrawTrack();  // now from a layout of this view
  viewer.Render();
  EXPECT_NEAR(viewer.Graph.XScale / viewer.Graph.Y0Scale, 1, 0.03);
  viewer.RunCommand("ShowYverIntens");
  EXPECT_EQ(Row(0, 5), (Floats{100, 104, 108, 112, 116}));
  EXPECT_EQ(viewer.Graph.Notes[0] + "|" + viewer.Graph.XTitle,
            "Obj=3 (5points), Slope=0.25 offSet=-24|Intensity (AU)");

  // Two points are too few for any of these views (as 4 were for the MSD above).
  platform.messages.clear();
  Add(0, {0, 1});
  viewer.ShowSpot(4);
  EXPECT_TRUE(platform.messages == std::vector<std::string>{"Too short XY track"} &&
              viewer.Graph.DataEnd == 0);
}

TEST_F(ViewerTest, TimeViewRowsDropAndVelocity) {
  Floats in(40, 100.0f);
  std::fill(in.begin() + 20, in.end(), 50.0f);
  SpotRec& t = Add(10, Ramp(40, 0.01, 1), Ramp(40, -0.02, 2), in);
  t.PosX = 30, form.ViewerCaption = "sample.qvi";
  viewer.ShowSpot(0);
  EXPECT_EQ(viewer.Graph.Caption + "|" + viewer.Graph.XTitle + "|" + viewer.Graph.Y0Title,
            "sample.qvi|Time (s)|Intesity (counts/pix)");
  EXPECT_TRUE(viewer.Graph.DataEnd == 40 && Row(4, 40)[19] == 100 && Row(4, 40)[20] == 50);
  EXPECT_FLOAT_EQ(Row(0, 40)[5], 15 * 0.03f);
  EXPECT_FLOAT_EQ(Row(2, 40)[5], t.X[5] - t.X[0]);
  Floats mark(40, 0.0f);
  mark[20] = 1;  // the drop, marked at its frame only
  EXPECT_EQ(Row(5, 40), mark);
  EXPECT_EQ(viewer.Graph.Notes[0], "Intensity drop at t=0.9s: 100 -> 50 counts, Stest=" +
                                       FormatReal(TruncateTo(t.STest, 100, 0.01)));

  viewer.RunCommand("UseRelativeXY");
  EXPECT_FLOAT_EQ(Row(2, 40)[5], static_cast<float>(3.0 + t.X[5]));
  viewer.RunCommand("ShowVelocity");
  EXPECT_TRUE(viewer.Menu.Caption("ShowVelocity") == "ShowIntensity" &&
              viewer.Graph.Series[6].Show && !viewer.Graph.Series[1].Show);
  // 3 frames: 0.03 along X and -0.06 along Y in 0.09 s.
  EXPECT_NEAR(Row(6, 40)[0], std::sqrt(0.03 * 0.03 + 0.06 * 0.06) / 0.09, 1e-4);
  EXPECT_TRUE(Row(6, 40)[37] < kMissingValue && Row(6, 40)[36] > 0);
}

TEST_F(ViewerTest, DriftViewShowsWhatCorrectionSubtracts) {
  // Two tracks move 0.1 µm a frame together: the path gains 0.1 per frame, with the
  // one-step lead of the correction, and stops once no step is left (frame 9).
  const Floats x = Ramp(10, 0.1);
  Add(0, x);
  Add(0, x, Floats(10, 3));
  viewer.ShowSpot(0);
  viewer.RunCommand("ShowDrift");
  EXPECT_EQ(viewer.Graph.Y0Title, "Drift (µm)");
  const Floats path = Row(2, 10);
  double expected = 0;
  for (int f = 0; f < 10; ++f) {
    if (f < 9) expected += static_cast<double>(x[f + 1] - x[f]);
    EXPECT_NEAR(path[f], expected, 1e-6) << f;
  }
  EXPECT_NEAR(Row(1, 10)[4], path[0] + 0.4, 1e-6);  // the track laid on the path
  // The correction itself leaves the track standing still where the path said.
  form.RunCommand("CorrectForDrift1");
  for (int f = 0; f < 10; ++f) EXPECT_NEAR(form.Spots[0].X[f], x[f] - path[f], 1e-6);
}

TEST_F(ViewerTest, FusedViewShowsBothTracksAndTheJointStretch) {
  SpotRec& s = Add(0, Floats(10, 1.0f), {}, Floats(10, 80.0f));
  SpotRec& p = Add(5, Floats(10, 1.05f), {}, Floats(10, 40.0f));
  EXPECT_TRUE(!viewer.ShowFusedTracks() &&
              platform.messages == std::vector<std::string>{"No dual tracks selected"});
  s.Partner = 1, p.Partner = 0;
  p.SegStart[0] = 1, p.SegLen[0] = 3;  // the partner searched: the view centres on it
  ASSERT_TRUE(viewer.ShowFusedTracks());
  EXPECT_EQ((std::vector<int>{viewer.SpotIndex, viewer.FusedPartner, viewer.Graph.DataEnd}),
            (std::vector<int>{1, 0, 15}));
  const Floats own = Row(1, 15), other = Row(2, 15), distance = Row(3, 15), marks = Row(5, 15);
  for (int j = 0; j < 15; ++j) {
    EXPECT_EQ(own[j] == 40.0f, j >= 5) << j;
    EXPECT_EQ(other[j] == 80.0f, j < 10) << j;
    if (j >= 5 && j < 10)
      EXPECT_NEAR(distance[j], 0.05, 1e-6);
    else
      EXPECT_LT(distance[j], kMissingValue);
    EXPECT_EQ(marks[j], j >= 6 && j < 9 ? 1.0f : 0.0f) << j;
  }
  EXPECT_EQ(viewer.Graph.Notes[0], "Obj=1 with Obj=0, joint 3 frames from t=0.18s");
  // The next object leaves the fused view.
  viewer.KeyDown(VirtualKey::PageDown);
  EXPECT_FALSE(viewer.FusedView);
}

TEST_F(ViewerTest, MouseZoomRemoveUnselectedEndsAndReplay) {
  SpotRec& t = Add(0, Ramp(20, 0.1), Ramp(20, 0.05));
  viewer.FormResize(800, 520, 20);
  viewer.ShowSpot(0);
  viewer.Render();
  const TQVgraph& g = viewer.Graph;
  auto pixel = [&](int k) {
    return static_cast<int>(static_cast<float>(k * 0.03) * g.XScale - g.XOffset());
  };
  auto drag = [&](int x1, int x2) {
    viewer.MouseDown(x1, 100);
    viewer.MouseUp(x2, 100);
    viewer.Render();
  };
  drag(pixel(5) - 2, pixel(9) + 2);
  EXPECT_TRUE(viewer.FirstIndex == 5 && viewer.LastIndex == 9);
  EXPECT_TRUE(viewer.Menu.Item("RemoveEnds").enabled);
  drag(300, 301);  // a click shows the whole track again
  EXPECT_EQ(viewer.LastIndex, 19);
  drag(pixel(5) - 2, pixel(9) + 2);
  viewer.MouseMove(pixel(7) - 1, 100);
  EXPECT_EQ(viewer.StatusText.substr(0, 10), "Time=0.21,");

  viewer.RunCommand("RemoveEnds");
  EXPECT_TRUE(t.FirstFrame == 5 && viewer.LastIndex == 4);
  const Floats ramp = Ramp(20, 0.1);
  EXPECT_EQ(Frames(t.X, t.NPoints), (Floats(ramp.begin() + 5, ramp.begin() + 10)));
  EXPECT_FALSE(viewer.Menu.Item("RemoveEnds").enabled);

  // The replay shows the path one more point a tick and starts again after the end.
  bool timer = false;
  viewer.OnTimer = [&](bool on) { timer = on; };
  viewer.RunCommand("DynamicXY");
  EXPECT_TRUE(timer && viewer.ShowName == "Show_(X-ver-Y)");
  std::vector<int> ends = {viewer.Graph.DataEnd};
  for (int i = 0; i < 5; ++i) {
    viewer.GraphTimerTimer();
    ends.push_back(viewer.Graph.DataEnd);
  }
  EXPECT_EQ(ends, (std::vector<int>{1, 2, 3, 4, 5, 1}));
  // Closing stops it and recomputes the main window.
  const int repaints = platform.repaints;
  viewer.FormClose();
  EXPECT_TRUE(!timer && !viewer.Menu.Checked("DynamicXY") && platform.repaints > repaints);
}

TEST_F(ViewerTest, BatchCommandsPrintAndSettings) {
  Add(0, Ramp(8, 0.1));
  platform.promptAnswers = {"5", "0"};
  form.RunCommand("ViewTrack");
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"Track Number out of order"}));
  form.CurSpot = 3;
  form.RunCommand("ViewTrack");
  EXPECT_TRUE(form.CurSpot == 0 && viewer.SpotIndex == 0 && platform.viewerShown == 1);

  const std::string path = TempPath("viewer-picture.bmp");
  platform.saveAnswers.push_back(path);
  form.RunCommand("ViewerPicture");
  const std::string bmp = ReadFile(path);
  // 900 x 560 pixels of 3 bytes (rows already a multiple of 4) after the 54-byte header.
  EXPECT_TRUE(bmp.size() == 54u + 900u * 3u * 560u && bmp.substr(0, 2) == "BM");

  platform.printConfirm = true;
  viewer.RunCommand("PrintGraph");
  viewer.RunCommand("GraphSettings");
  EXPECT_TRUE(platform.printed == 1 && platform.graphDialogs == 1 &&
              form.QVgraphDlgForm->Graph == &viewer.Graph);
}

TEST_F(ViewerTest, EveryCommandSurvivesEmptyAndOddTracks) {
  const char* commands[] = {"IntensityXY",  "Show_MSD_dT",   "ShowDistAutoCorr", "ShowXverYgraph",
                            "ShowYverIntens", "ShowDrift",   "ShowVelocity",     "DynamicXY",
                            "RemoveFirstVal", "RemoveEndVal", "RemoveEndsM",     "RemoveEnds",
                            "AutoYscale",     "UseRelativeXY", "PrintGraph"};
  const int keys[] = {VirtualKey::Left, VirtualKey::Right, VirtualKey::Up, VirtualKey::Down,
                      VirtualKey::Add, VirtualKey::Subtract, VirtualKey::PageUp, VirtualKey::PageDown};
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
  EXPECT_TRUE(form.Spots[0].NPoints == 3 && !viewer.RunCommand("NoSuchItem"));
}
