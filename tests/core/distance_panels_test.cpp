#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "FakePlatform.h"
#include "app/MainForm.h"
#include "stats/DecayFit.h"
#include "stats/DistancePanels.h"
#include "store/Numbers.h"

namespace {

// A track that runs out along X from 0 to `reach` and comes half way back.
void AddReach(TMainForm& form, float reach) {
  const int32_t i = form.Spots.NSpots;
  SpotRec& rec = form.Spots[i];
  ASSERT_TRUE(rec.AllocateFrames(3));
  rec.NPoints = 3;
  const float xs[3] = {0, reach, reach / 2};
  for (int k = 0; k < 3; ++k) {
    rec.X[k] = xs[k];
    rec.Y[k] = 5;
    rec.Int[k] = 100;
  }
  rec.Valid = 1;
  form.ComputeTrackValuesOf(i, i + 1);
  form.Spots.NSpots = i + 1;
}

// The number after `label` in a note, up to the next character that is no digit or point.
double NoteNumber(const std::string& note, const std::string& label) {
  const size_t at = note.find(label);
  if (at == std::string::npos) return NAN;
  return std::stod(note.substr(at + label.size()));
}

}  // namespace

TEST(DecayFit, FindsTheDecayOfASurvivalCurve) {
  // 1000 exp(-x / 2): half the span lies near x = 2 ln 2, so the scan covers 2.
  std::vector<float> x(60), y(60), fitted(60, -7);
  for (int i = 0; i < 60; ++i) {
    x[i] = i * 0.1f;
    y[i] = static_cast<float>(1000 * std::exp(-x[i] / 2.0));
  }
  const double tau = ExpDecayFit(x.data(), y.data(), 60, fitted.data());
  EXPECT_NEAR(tau, 2.0, 0.1);
  EXPECT_FLOAT_EQ(fitted[0], 1000);
  EXPECT_NEAR(fitted[30], 1000 * std::exp(-3 / 2.0), 10);

  // Mean of squared differences from `from` on: (1 + 4) / 2.
  const float a[3] = {1, 2, 3}, m[3] = {1, 1, 1};
  EXPECT_DOUBLE_EQ(MeanSqError(a, m, 3, 1), 2.5);
}

TEST(DecayFit, PeakRulesAndShortCurves) {
  std::vector<float> x(12);
  for (int i = 0; i < 12; ++i) x[i] = 1 + i;
  // Two equal maxima: the later one (index 3) is the peak, so the model stays flat
  // at the peak value through index 3 and falls after it.
  const std::vector<float> twoPeaks = {1, 5, 2, 5, 4, 3, 2, 1.5f, 1, 0.8f, 0.5f, 0.3f};
  std::vector<float> fitted(12, -7);
  EXPECT_GT(ExpDecayFit(x.data(), twoPeaks.data(), 12, fitted.data()), 0);
  EXPECT_EQ(fitted[2], 5);
  EXPECT_EQ(fitted[3], 5);
  EXPECT_LT(fitted[4], 5);

  // Fewer than 7 points from the peak on, or no points: 0, and `fitted` untouched.
  const std::vector<float> lateTail = {1, 2, 3, 4, 5, 6, 9, 8, 7, 6, 5, 4};
  for (int n : {12, 1, 0}) {
    std::vector<float> untouched(12, -7);
    EXPECT_EQ(ExpDecayFit(x.data(), lateTail.data(), n, untouched.data()), 0);
    EXPECT_EQ(untouched, std::vector<float>(12, -7));
  }

  // The point nearest half the span sits at x = 0: the scan could never advance. It
  // must end, with 0 and `fitted` untouched.
  std::vector<float> x0(12);
  for (int i = 0; i < 12; ++i) x0[i] = i;
  const std::vector<float> halfAtZero = {50, 100, 90, 80, 70, 65, 60, 58, 56, 55, 54, 53};
  std::vector<float> untouched(12, -7);
  EXPECT_EQ(ExpDecayFit(x0.data(), halfAtZero.data(), 12, untouched.data()), 0);
  EXPECT_EQ(untouched, std::vector<float>(12, -7));
}

TEST(MaxDistDist, ExponentialReachGivesTau) {
  FakePlatform platform;
  TMainForm form(platform);
  // Reaches at the quantiles of an exponential of mean 1 µm: the histogram over
  // 0.1 µm bins falls as exp(-x / 1) from bin 0 on.
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
  EXPECT_EQ(note.rfind("AverDist=" + FormatReal(TruncateTo(sum / n, 1000.00001, 0.001)) +
                           "µm, Tau=",
                       0),
            0u)
      << note;
  const double tau = NoteNumber(note, "Tau=");
  EXPECT_NEAR(tau, 1.0, 0.05) << note;
  EXPECT_NEAR(NoteNumber(note, ", offRate="), 1 / tau, 0.06) << note;
  EXPECT_NE(note.find("/µm"), std::string::npos);
  EXPECT_EQ(g.Notes[1], "");
  EXPECT_EQ(g.XTitle, "Absolute Distance (µm)");
  EXPECT_EQ(g.Y0Title, "Number of Objects");
  EXPECT_EQ(g.SeriesCount, 3);
  EXPECT_EQ(g.Series[1].Style, Bar);
  EXPECT_TRUE(g.Series[1].Show && g.Series[3].Show && !g.Series[2].Show);
  EXPECT_TRUE(g.Series[4].RightAxis);
  // The fit row starts at the peak count (bin 0) and falls.
  EXPECT_EQ(g.Row(3)[0], g.Row(1)[0]);
  EXPECT_LT(g.Row(3)[20], g.Row(3)[10]);
  EXPECT_FLOAT_EQ(static_cast<float>(g.LastXval), g.Row(0)[g.DataEnd]);

  // Percent only rescales the bins: the same Tau.
  ASSERT_TRUE(form.RunCommand("ShowFreq"));
  EXPECT_EQ(NoteNumber(g.Notes[0], "Tau="), tau);
  EXPECT_EQ(g.Y0Title, "Frequency (%)");
  double percent = 0;
  for (int i = 0; i < 10000; ++i) percent += g.Row(1)[i];
  EXPECT_NEAR(percent, 100, 1e-3);
}

TEST(MaxDistDist, ShortHistogramHasNoFit) {
  FakePlatform platform;
  TMainForm form(platform);
  // Bins 2, 2 and 5: the peak lies within 6 bins of the end, so Tau is 0 and there is
  // no offRate. Mean (0.25 + 0.25 + 0.55) / 3 truncated to 0.001.
  for (float reach : {0.25f, 0.25f, 0.55f}) AddReach(form, reach);
  ASSERT_TRUE(form.RunCommand("L_ShowAbsTrackLenDistr"));
  EXPECT_EQ(form.LeftGraph.Notes[0], "AverDist=0.35µm, Tau=0µm");
  EXPECT_EQ(form.LeftGraph.DataEnd, 5);
  EXPECT_FALSE(form.LeftGraph.Series[3].Show);
  EXPECT_FLOAT_EQ(static_cast<float>(form.LeftGraph.LastY0val), 2 * 1.2f);
}
