#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "FakePlatform.h"
#include "RecordingCanvas.h"
#include "app/MainForm.h"
#include "stats/IntensityPanels.h"

namespace {

// A valid track of n points at the origin whose intensity at frame j is intensity(j).
SpotRec& AddTrack(TMainForm& form, int n, const std::function<float(int)>& intensity) {
  SpotRec& t = form.Spots[form.Spots.NSpots];
  t.AllocateFrames(n);
  t.NPoints = n;
  t.Valid = 1;
  for (int j = 0; j < n; ++j) t.Int[j] = intensity(j);
  form.ComputeTrackValuesOf(form.Spots.NSpots, form.Spots.NSpots + 1);
  ++form.Spots.NSpots;
  return t;
}

float At(const TMainForm& form, const TQVgraph& graph, int row, int i) {
  const float* data = &graph == &form.LeftGraph ? form.LeftData.get() : form.RightData.get();
  return data[row * kPanelStride + i];
}

// Selects and runs one analysis into the left panel, without the three-track guard.
void RunSelected(TMainForm& form, PanelAnalysis analysis) {
  form.SelectSpots();
  AnalysisContext context = form.MakeAnalysisContext();
  analysis(context, form.LeftGraph);
}

void ExpectFiniteAxes(const TQVgraph& g) {
  for (double v : {g.FirstXval, g.LastXval, g.FirstY0val, g.LastY0val, g.FirstY1val, g.LastY1val,
                   g.TickXdist, g.TickY0dist, g.TickY1dist})
    EXPECT_TRUE(std::isfinite(v));
}

}  // namespace

TEST(IntensityPanels, MeanIntensityDistributionFitsTheCentre) {
  FakePlatform platform;
  TMainForm form(platform);
  // 17 tracks symmetric about 100 counts: mean 100, SD sqrt(600/17) = 5.94.
  const struct { float intensity; int tracks; } groups[] = {{90, 2}, {95, 4}, {100, 5}, {105, 4}, {110, 2}};
  for (const auto& g : groups)
    for (int k = 0; k < g.tracks; ++k) AddTrack(form, 12, [&](int) { return g.intensity; });
  form.Menu.SetChecked("R_DistanceToNeighbDistrib", true);
  form.LeftGraph.DataFirst = 1;  // as the MSD panel leaves it
  ASSERT_TRUE(form.RunCommand("L_ShowIntens"));
  const TQVgraph& g = form.LeftGraph;
  EXPECT_EQ(form.Menu.Caption("Left"), "Left-IntensityDistr");
  EXPECT_FLOAT_EQ(At(form, g, 1, 20), 5);  // 100 / IntStep 5
  EXPECT_FLOAT_EQ(At(form, g, 1, 18), 2);
  EXPECT_FLOAT_EQ(At(form, g, 0, 22), 110);
  EXPECT_EQ(g.DataFirst, 0);
  EXPECT_EQ(g.DataEnd, 23);
  EXPECT_EQ(g.SeriesCount, 3);
  EXPECT_EQ(g.Series[1].Style, Bar);
  EXPECT_TRUE(g.Series[1].Show && g.Series[2].Show);
  EXPECT_EQ(g.XTitle, "Intensity (A.U.)");
  EXPECT_EQ(g.Y0Title, "Number of objects");
  EXPECT_DOUBLE_EQ(g.LastXval, 110);
  EXPECT_DOUBLE_EQ(g.LastY0val, static_cast<float>(5 * 1.2));
  // The note is written before the fit: the first run still shows the old centre.
  EXPECT_EQ(g.Notes[0], "Aver. Intens=100cnts,SD=5.9, (17 objects)  (GaussMax=0)");
  EXPECT_DOUBLE_EQ(form.Results.GaussMax, 100);
  const double sd = std::sqrt(600.0 / 17);
  EXPECT_NEAR(form.Results.IntensSD, sd, 1e-12);
  EXPECT_NEAR(At(form, g, 2, 20), 17 * 5 / std::sqrt(2 * M_PI * sd * sd), 1e-4);
  form.UpdateAnalysis();
  EXPECT_EQ(g.Notes[0], "Aver. Intens=100cnts,SD=5.9, (17 objects)  (GaussMax=100)");

  ASSERT_TRUE(form.RunCommand("ShowFreq"));
  EXPECT_EQ(g.Y0Title, "Frequency (%)");
  EXPECT_FLOAT_EQ(At(form, g, 1, 20), 5 * 100.0f / 17);
  EXPECT_NEAR(At(form, g, 2, 20), 100 * 5 / std::sqrt(2 * M_PI * sd * sd), 1e-4);
  EXPECT_DOUBLE_EQ(form.Results.GaussMax, 100);
}

TEST(IntensityPanels, InstantIntensitiesTimeWindowAndBinEdges) {
  FakePlatform platform;
  TMainForm form(platform);
  // Frames 0..10 hold 50 counts, later ones 500; the third track has two odd values.
  for (int k = 0; k < 3; ++k)
    AddTrack(form, 20, [&](int j) { return k == 2 && j == 19 ? -7.0f : j <= 10 ? 50.0f : 500.0f; });
  form.Spots[2].Int[18] = -3;
  form.Menu.SetChecked("R_DistanceToNeighbDistrib", true);
  ASSERT_TRUE(form.RunCommand("L_ShowInstIntens"));
  const TQVgraph& g = form.LeftGraph;
  EXPECT_EQ(g.Y0Title, "Number of measurements");
  // -3 lies within one bin below 0 and counts in bin 0; -7 is dropped but divides the mean.
  EXPECT_FLOAT_EQ(At(form, g, 1, 0), 1);
  EXPECT_FLOAT_EQ(At(form, g, 1, 10), 33);
  EXPECT_FLOAT_EQ(At(form, g, 1, 100), 25);
  const double mean = (33 * 50.0 + 25 * 500.0 - 3) / 60;
  EXPECT_DOUBLE_EQ(form.Results.AverIntens, mean);
  EXPECT_EQ(g.Notes[0].substr(0, 19), "Aver. Intens=235.7c");
  EXPECT_NE(g.Notes[0].find(", (3 objects, 60 dataPoints) "), std::string::npos);

  // The window takes frames StartFrame .. StartFrame + MinNumDataPoints: eleven per track.
  form.Menu.SetChecked("UseTimeWindow", true);
  form.UpdateAnalysis();
  EXPECT_EQ(g.Notes[0], "Aver. Intens=50cnts,SD=0, (3 objects, 33 dataPoints) ");
  // A zero SD gives a flat zero model: every centre scores alike and the first one stays.
  EXPECT_EQ(g.Notes[1], " (GaussMax=25)");
  EXPECT_EQ(At(form, g, 2, 10), 0);
}

TEST(IntensityPanels, EmptyFullRowAndOverfullInputsStaySafe) {
  RecordingFactoryScope bitmaps;
  FakePlatform platform;
  TMainForm form(platform);
  form.LeftGraph.SetBitmapSize(600, 400);
  for (bool freq : {false, true}) {
    AnalysisContext context = form.MakeAnalysisContext();
    context.Flags.ShowFreq = freq;
    CalcIntensDist(context, form.LeftGraph);
    EXPECT_EQ(form.LeftGraph.DataEnd, 1);
    EXPECT_EQ(form.Results.GaussMax, 0);
    EXPECT_TRUE(std::isnan(form.Results.AverIntens));
    ExpectFiniteAxes(form.LeftGraph);
    form.LeftGraph.DrawGraph();  // with percentages the one bar is 0/0
  }

  // One 10000-point track reaching the last bin: DataEnd is a full row and the error sum
  // runs to bin 9999 only. Checked against a scan written out here.
  AddTrack(form, 10000, [](int j) { return j % 1000 == 0 ? 49998.0f : 12.0f; });
  RunSelected(form, CalcInstIntensDist);
  const TQVgraph& g = form.LeftGraph;
  EXPECT_EQ(g.DataEnd, 10000);
  EXPECT_DOUBLE_EQ(g.LastXval, 49995);
  const double sd = form.Results.IntensSD, area = 1 * 5.0;
  double bestScore = 0, best = 0;
  for (double c = 5; c < 15; c += 2.5) {
    double e = 0;
    for (int i = 0; i < 10000; ++i) {
      const double bin = i == 2 ? 9990 : i == 9999 ? 10 : 0;
      const double d = bin - static_cast<float>(area * std::exp(-std::pow(5.0 * i - c, 2) / (2 * sd * sd)) /
                                                std::sqrt(2 * M_PI * sd * sd));
      e += d * d;
    }
    if (1000 / e > bestScore) bestScore = 1000 / e, best = c;
  }
  EXPECT_DOUBLE_EQ(form.Results.GaussMax, best);
  EXPECT_NE(g.Notes[0].find(", (1 objects, 10000 dataPoints) "), std::string::npos);

  // More measurements than the scratch holds: collection stops when it is full.
  for (int k = 0; k < 1001; ++k) {
    SpotRec& t = form.Spots[form.Spots.NSpots++];
    t.AllocateFrames(10000);
    t.NPoints = 10000;
    t.Valid = 1;
  }
  RunSelected(form, CalcInstIntensDist);
  EXPECT_NE(g.Notes[0].find("(1002 objects, 10000005 dataPoints) "), std::string::npos);
  ExpectFiniteAxes(g);
}

TEST(IntensityPanels, FitErrorSumIncludesThePointAtDataEnd) {
  FakePlatform platform;
  TMainForm form(platform);
  form.Spots.NSelected = 1;
  form.Results.IntensSD = 5;
  form.S.IntStep = 2.5;
  AnalysisContext context = form.MakeAnalysisContext();
  const float x[] = {0, 5, 10, 15}, bins[] = {0, 5, 0, 10000};
  for (int i = 0; i < 4; ++i) {
    context.WorkRow(0)[i] = x[i];
    context.WorkRow(1)[i] = bins[i];
    context.WorkRow(2)[i] = -1;
  }
  form.LeftGraph.DataEnd = 3;
  IntensGaussFit(context, form.LeftGraph);
  // The mode is X = 5, so centres 2.5, 3.75, 5 and 6.25 are tried. Without the bin at
  // DataEnd the mode itself fits best; the huge count there pulls the centre up.
  EXPECT_DOUBLE_EQ(form.Results.GaussMax, 6.25);
  EXPECT_NEAR(context.WorkRow(2)[1], 2.5 * std::exp(-1.25 * 1.25 / 50) / std::sqrt(2 * M_PI * 25), 1e-6);
  EXPECT_EQ(context.WorkRow(2)[3], -1);  // the curve stops below DataEnd
}
