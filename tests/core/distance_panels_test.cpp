#include "TrackBuilders.h"
#include "stats/DecayFit.h"
#include "stats/DistancePanels.h"
#include "store/Numbers.h"

// A track that runs out along X from 0 to `reach` and comes half way back.
static void AddReach(TMainForm& form, float r) { AddTrack(form, {0, r, r / 2}, {5, 5, 5}); }

using MaxDistDist = FormTest;

TEST(DecayFit, FindsTheDecayPeakRulesAndShortCurves) {
  // 1000 exp(-x / 2): half the span lies near x = 2 ln 2, so the scan covers 2.
  const Floats x = Ramp(60, 0.1);
  Floats y(60), fitted(60, -7);
  for (int i = 0; i < 60; ++i) y[i] = static_cast<float>(1000 * std::exp(-x[i] / 2.0));
  EXPECT_NEAR(ExpDecayFit(x.data(), y.data(), 60, fitted.data()), 2.0, 0.1);
  EXPECT_FLOAT_EQ(fitted[0], 1000);
  EXPECT_NEAR(fitted[30], 1000 * std::exp(-3 / 2.0), 10);
  const float a[3] = {1, 2, 3}, m[3] = {1, 1, 1};
  EXPECT_DOUBLE_EQ(MeanSqError(a, m, 3, 1), 2.5);  // (1 + 4) / 2, from index 1 on

  // Two equal maxima: the later one (index 3) is the peak, so the model stays flat at the
  // peak value through index 3 and falls after it.
  const Floats x1 = Ramp(12, 1, 1), x0 = Ramp(12, 1);
  const Floats twoPeaks = {1, 5, 2, 5, 4, 3, 2, 1.5f, 1, 0.8f, 0.5f, 0.3f};
  EXPECT_GT(ExpDecayFit(x1.data(), twoPeaks.data(), 12, fitted.data()), 0);
  EXPECT_TRUE(fitted[2] == 5 && fitted[3] == 5 && fitted[4] < 5);

  // Fewer than 7 points from the peak on, no points, or the point nearest half the span at
  // x = 0 (the scan could never advance): 0, and `fitted` untouched.
  const Floats lateTail = {1, 2, 3, 4, 5, 6, 9, 8, 7, 6, 5, 4};
  const Floats halfAtZero = {50, 100, 90, 80, 70, 65, 60, 58, 56, 55, 54, 53};
  for (auto [xs, ys, n] : {std::tuple{&x1, &lateTail, 12},
                           {&x1, &lateTail, 1},
                           {&x1, &lateTail, 0},
                           {&x0, &halfAtZero, 12}}) {
    Floats untouched(12, -7);
    EXPECT_EQ(ExpDecayFit(xs->data(), ys->data(), n, untouched.data()), 0) << n;
    EXPECT_EQ(untouched, Floats(12, -7));
  }
}

TEST_F(MaxDistDist, ExponentialReachGivesTau) {
  // Reaches at the quantiles of an exponential of mean 1 µm: the histogram over 0.1 µm
  // bins falls as exp(-x / 1) from bin 0 on.
  const int n = 2000;
  double sum = 0;
  for (int k = 0; k < n; ++k) {
    const float reach = static_cast<float>(-std::log(1 - (k + 0.5) / n));
    AddReach(form, reach);
    sum += reach;
  }
  ASSERT_TRUE(form.RunCommand("L_ShowAbsTrackLenDistr"));
  const TQVgraph& g = form.LeftGraph;
  const std::string& note = g.Notes[0];
  EXPECT_EQ(
      note.rfind("AverDist=" + FormatReal(TruncateTo(sum / n, 1000.00001, 0.001)) + "µm, Tau=", 0),
      0u)
      << note;
  const double tau = NoteNumber(note, "Tau=");
  EXPECT_NEAR(tau, 1.0, 0.05) << note;
  EXPECT_NEAR(NoteNumber(note, ", offRate="), 1 / tau, 0.06) << note;
  EXPECT_TRUE(note.find("/µm") != std::string::npos && g.Notes[1].empty());
  EXPECT_EQ(g.XTitle + " | " + g.Y0Title, "Absolute Distance (µm) | Number of Objects");
  EXPECT_TRUE(g.Series[1].Style == Bar && g.Series[3].Show && !g.Series[2].Show);
  // The fit row starts at the peak count (bin 0) and falls.
  EXPECT_TRUE(g.Row(3)[0] == g.Row(1)[0] && g.Row(3)[20] < g.Row(3)[10]);
  EXPECT_FLOAT_EQ(static_cast<float>(g.LastXval), g.Row(0)[g.DataEnd]);

  // Percent only rescales the bins: the same Tau.
  ASSERT_TRUE(form.RunCommand("ShowFreq"));
  EXPECT_TRUE(NoteNumber(g.Notes[0], "Tau=") == tau && g.Y0Title == "Frequency (%)");
  double percent = 0;
  for (int i = 0; i < 10000; ++i) percent += g.Row(1)[i];
  EXPECT_NEAR(percent, 100, 1e-3);

  // Bins 2, 2 and 5: the peak lies within 6 bins of the end, so Tau is 0 and there is no
  // offRate. Mean (0.25 + 0.25 + 0.55) / 3 truncated to 0.001.
  FakePlatform shortPlatform;
  TMainForm few(shortPlatform);
  for (float reach : {0.25f, 0.25f, 0.55f}) AddReach(few, reach);
  ASSERT_TRUE(few.RunCommand("L_ShowAbsTrackLenDistr"));
  EXPECT_EQ(few.LeftGraph.Notes[0], "AverDist=0.35µm, Tau=0µm");
  EXPECT_TRUE(few.LeftGraph.DataEnd == 5 && !few.LeftGraph.Series[3].Show);
  EXPECT_FLOAT_EQ(static_cast<float>(few.LeftGraph.LastY0val), 2 * 1.2f);
}
