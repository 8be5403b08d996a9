#include <numeric>

#include "TrackBuilders.h"
#include "stats/Histogram.h"

// MSD of one track by lag, all overlapping pairs, in double.
static std::vector<double> PlainMSD(const XY& t) {
  const int n = static_cast<int>(t.x.size());
  std::vector<double> msd(n / 2, 0.0);
  for (int k = 1; k < n / 2; ++k) {
    for (int i = 0; i + k < n; ++i)
      msd[k] += std::pow(double(t.x[i]) - t.x[i + k], 2) + std::pow(double(t.y[i]) - t.y[i + k], 2);
    msd[k] /= n - k;
  }
  return msd;
}

using DlatPanels = FormTest;

TEST(Histogram, BinEdgesDroppedValuesAndPercent) {
  std::vector<float> bins(kHistogramBins);
  // On an edge, half a bin below the origin, one and a half below, NaN, far beyond.
  const float values[] = {0.75f, 0.8f, -0.125f, -0.375f, std::nanf(""), 3000.f};
  double mean = BuildHistogram(values, bins.data(), 0.25f, 0, kHistogramBins, 6, false);
  EXPECT_EQ((Floats{bins[0], bins[3]}), (Floats{1, 2}));  // 0.75 sits exactly on the edge of bin 3
  EXPECT_EQ(std::accumulate(bins.begin(), bins.end(), 0.0f), 3);
  EXPECT_DOUBLE_EQ(mean, (0.75 + 0.8f - 0.125) / 6);  // all six divide the mean
  BuildHistogram(values, bins.data(), 0.25f, 0, kHistogramBins, 6, true);
  EXPECT_FLOAT_EQ(bins[3], 200.0f / 6);
  EXPECT_NEAR(std::accumulate(bins.begin(), bins.end(), 0.0), 100 - 3 * 100.0 / 6, 1e-4);

  // Every multiple of the default Dlat bin lands in its own bin.
  const Floats multiples = Ramp(kHistogramBins, 0.02);
  BuildHistogram(multiples.data(), bins.data(), 0.02f, 0, kHistogramBins, kHistogramBins, false);
  EXPECT_EQ(bins, Floats(kHistogramBins, 1));
}

TEST(Histogram, StaircaseAndBars) {
  Floats bins(kHistogramBins, 0.0f), x(kHistogramBins + 1, -7.0f), y(kHistogramBins, -7.0f);
  bins[1] = 4;  // one filled bin: the steps run over bin 0 only
  EXPECT_EQ(HistogramPoints(bins.data(), x.data(), y.data(), 0.5, 1.0, false), 2);
  EXPECT_EQ((Floats{x[0], x[1], y[0], y[1]}), (Floats{1, 1.5f, 0, 0}));
  EXPECT_EQ(HistogramPoints(bins.data(), x.data(), y.data(), 0.5, 1.0, true), 1);

  // In place: steps built over the bins they come from.
  for (int i = 0; i < 6; ++i) bins[i] = float(i + 1);
  EXPECT_EQ(HistogramPoints(bins.data(), x.data(), bins.data(), 1.0, 0, false), 10);
  EXPECT_EQ(Floats(bins.begin(), bins.begin() + 10), (Floats{1, 1, 2, 2, 3, 3, 4, 4, 5, 5}));
  EXPECT_EQ(Floats(x.begin(), x.begin() + 10), (Floats{0, 1, 1, 2, 2, 3, 3, 4, 4, 5}));

  // A far bin: the staircase stops at 5000 bins and never writes past a row.
  std::fill(bins.begin(), bins.end(), 0.0f);
  bins[9000] = 1;
  x[kHistogramBins] = -7;
  EXPECT_EQ(HistogramPoints(bins.data(), x.data(), y.data(), 1.0, 0, false), 10000);
  EXPECT_EQ((Floats{x[9999], x[kHistogramBins]}), (Floats{5000, -7}));
  EXPECT_EQ(HistogramPoints(bins.data(), x.data(), y.data(), 1.0, 0, true), 9000);
}

TEST_F(DlatPanels, DistributionCountsPercentAndNote) {
  const float dlats[] = {0.01f, 0.03f, 0.03f, 0.05f, 0.11f, -0.01f, -0.03f};
  for (float d : dlats) AddBlankTrack(form, 10).Dlat = d;
  form.UpdateAnalysis();  // left panel: the Dlat distribution
  const TQVgraph& g = form.LeftGraph;
  // Bins 0..5 hold 2 (0.01, -0.01), 2, 1, 0, 0, 1; -0.03 is dropped. The steps cover bins
  // 0 .. 4, the last filled bin itself is not drawn.
  EXPECT_EQ((std::vector<int>{g.DataFirst, g.DataEnd, g.SeriesCount}),
            (std::vector<int>{0, 10, 3}));
  EXPECT_EQ(Floats(g.Row(1), g.Row(1) + 10), (Floats{2, 2, 2, 2, 1, 1, 0, 0, 0, 0}));
  for (int i = 0; i < 10; ++i) EXPECT_FLOAT_EQ(g.Row(0)[i], 0.02f * ((i + 1) / 2)) << i;
  // The mean divides by all 7 values. The MSD panel has since reused AverDlat: run again.
  form.RunPanel("L_ShowDlat", form.LeftGraph);
  double sq = 0;
  for (float d : dlats) sq += (0.22 / 7 - d) * (0.22 / 7 - d);
  EXPECT_NEAR(form.Registers.AverDlat, 0.22 / 7, 1e-8);
  EXPECT_NEAR(form.Registers.DlatSD, std::sqrt(sq / 7), 1e-8);
  EXPECT_EQ(g.Notes[0] + "|" + g.Notes[1] + "|" + g.XTitle + "|" + g.Y0Title,
            "Aver. Dlat=0.031µm2/s, SD=0.0422|7 from (7 obj) |Dlat (µm2/s)|Number of objects");
  EXPECT_FLOAT_EQ(g.LastXval, 0.12f);
  EXPECT_FLOAT_EQ(g.LastY0val, 2.4f);  // the highest bin x 1.2

  form.RunCommand("ShowFreq");
  EXPECT_EQ(g.Y0Title, "Frequency (%)");
  EXPECT_EQ((Floats{g.Row(1)[0], g.Row(1)[4]}), (Floats{200.0f / 7, 100.0f / 7}));
  EXPECT_FLOAT_EQ(g.LastY0val, 200.0f / 7 * 1.2f);

  // Bars: raw bins over 0 .. last - 1, and the style stays.
  form.LeftGraph.Series[1].Style = Bar;
  form.RunCommand("ShowFreq");
  EXPECT_TRUE(g.Series[1].Style == Bar && g.DataEnd == 5);
  EXPECT_EQ(Floats(g.Row(1), g.Row(1) + 6), (Floats{2, 2, 1, 0, 0, 1}));
  EXPECT_FLOAT_EQ(g.LastXval, 0.1f);

  form.LeftGraph.LastXval = 7;  // without AutoScaling the axes stay where they were
  form.RunCommand("AutoScaling");
  EXPECT_EQ(g.LastXval, 7);
}

TEST_F(DlatPanels, MSDOfOneStraightTrack) {
  AddTrack(form, Ramp(100, 0.1));
  form.SelectSpots();
  form.RunPanel("R_ShowMSD", form.RightGraph);
  const TQVgraph& g = form.RightGraph;
  // K = 50: lags 0 .. 48 counted, 1 .. 47 shown, lags 1 .. 46 fitted.
  EXPECT_EQ((std::vector<int>{form.Registers.NMSDPoints, g.DataFirst, g.DataEnd, g.SeriesCount}),
            (std::vector<int>{48, 1, 48, 5}));
  EXPECT_EQ((Floats{g.Row(0)[47], g.Row(1)[47], g.Row(4)[47]}), (Floats{0.03f * 47, 0, 1}));
  EXPECT_NEAR(g.Row(2)[47], 0.01 * 47 * 47, 1e-5 * 47 * 47);
  EXPECT_TRUE(g.Row(3)[46] != 0 && g.Row(3)[47] == 0);
  // MSD = 0.01 k^2 at T = 0.03 k: the line through k = 1..46 has slope 0.01 * 47 / 0.03 (Fit
  // is a quarter of it) and intercept 0.01 * 47 * (93/6 - 47/2) = -3.76. Dlat: mean of
  // 0.01 k / 0.12, k = 2..49.
  EXPECT_EQ(g.Notes[0], "AverDlat=2.125µm2/s, Fit=3.916µm2/s noise=-3.76 µm2");
  EXPECT_EQ(g.Y0Title + "|" + g.XTitle + "|" + g.Y1Title, "MSD (µm2)|dT (s)|Number of objects");
  EXPECT_FLOAT_EQ(g.LastXval, 48 * 0.03f);
  EXPECT_FLOAT_EQ(g.LastY1val, 4.0f / 3);
}

TEST_F(DlatPanels, MSDOverTracksOfDifferentLengths) {
  Noise noise(7);
  const int lengths[] = {20, 41, 30, 9};  // track t reaches lags up to n/2 - 2: the last 2 only
  std::vector<std::vector<double>> curves;
  for (int n : lengths) {
    const XY t = Walk(noise, n, 0.1);
    AddTrack(form, t);
    curves.push_back(PlainMSD(t));
  }
  form.UpdateAnalysis();
  const TQVgraph& g = form.RightGraph;
  EXPECT_EQ(form.Registers.NMSDPoints, 18);
  // Plain population statistics per lag, and the fit weighted by the tracks reaching a lag.
  std::vector<double> mean(18), count(18);
  double w = 0, wx = 0, wy = 0, sxy = 0, sxx = 0;
  for (int k = 1; k < 18; ++k) {
    double sum = 0, sq = 0;
    for (int t = 0; t < 4; ++t)
      if (k <= lengths[t] / 2 - 2) sum += curves[t][k], count[k] += 1;
    mean[k] = sum / count[k];
    for (int t = 0; t < 4; ++t)
      if (k <= lengths[t] / 2 - 2) sq += std::pow(curves[t][k] - mean[k], 2);
    EXPECT_EQ(g.Row(4)[k], count[k]) << k;
    EXPECT_NEAR(g.Row(2)[k], mean[k], 2e-6 * mean[k]) << k;
    EXPECT_NEAR(g.Row(1)[k], std::sqrt(sq / count[k]) / std::sqrt(count[k]), 1e-5 * mean[k]) << k;
    if (k <= 16) w += count[k], wx += count[k] * 0.03 * k, wy += count[k] * mean[k];
  }
  for (int k = 1; k <= 16; ++k) {
    sxy += count[k] * (0.03 * k - wx / w) * (mean[k] - wy / w);
    sxx += count[k] * (0.03 * k - wx / w) * (0.03 * k - wx / w);
  }
  const double slope = sxy / sxx, intercept = wy / w - slope * wx / w;
  EXPECT_NEAR(form.Registers.FitSlope, slope, 1e-5 * std::fabs(slope));
  EXPECT_NEAR(g.Row(3)[16], slope * 0.48 + intercept, 1e-5 * mean[16]);
  EXPECT_EQ(g.Row(3)[17], 0);
  double dlats = 0;
  for (int i = 0; i < 4; ++i) dlats += form.Spots[i].Dlat;
  EXPECT_NEAR(form.Registers.AverDlat, dlats / 4, 1e-7 * dlats);  // stored Dlats are floats
  EXPECT_FLOAT_EQ(g.LastY1val, 4);                              // 3 tracks at lag 3, times 4/3

  // Percent of the tracks at lag 1, and the right axis from lag 3 (75 %).
  form.RunCommand("ShowFreq");
  EXPECT_EQ(g.Y1Title, "Number of objects (%)");
  EXPECT_EQ((Floats{g.Row(4)[1], g.Row(4)[10], g.Row(4)[17]}), (Floats{100, 50, 25}));
  EXPECT_EQ(g.LastY1val, 100);
}

TEST_F(DlatPanels, NoTracksAndTooShortFits) {
  form.RunPanel("L_ShowDlat", form.LeftGraph);
  form.RunPanel("R_ShowMSD", form.RightGraph);
  EXPECT_TRUE(form.LeftGraph.DataEnd == 0 && form.Registers.NMSDPoints == 0);
  EXPECT_EQ(form.Registers.AverDlat, 0);  // the MSD panel's, over no tracks
  EXPECT_EQ(form.LeftGraph.Notes[0].rfind("Aver. Dlat=", 0), 0u);
  EXPECT_NE(form.LeftGraph.Notes[0].find("nan"), std::string::npos);
  EXPECT_TRUE(std::isnan(form.Registers.DlatSD) && std::isnan(form.Registers.FitSlope));
  EXPECT_LE(form.RightGraph.DataEnd, form.RightGraph.DataFirst);
  EXPECT_EQ(form.RightGraph.Notes[0].rfind("AverDlat=0µm2/s, Fit=", 0), 0u);
  EXPECT_TRUE(platform.messages.empty());

  // A fit limit of 2 leaves no lag to fit: NaN slope, curve still drawn. The 5-point track
  // adds a NaN Dlat: dropped from the distribution's mean, but it spoils the SD.
  form.S.MSDfitLimit = 2;
  Noise noise(1);
  for (int n : {12, 12, 5}) AddTrack(form, Walk(noise, n, 0.1));
  form.UpdateAnalysis();
  EXPECT_TRUE(form.Registers.NMSDPoints == 4 && form.RightGraph.DataEnd == 4);
  EXPECT_TRUE(std::isnan(form.Registers.FitSlope) && std::isnan(form.Registers.AverDlat));
  const std::string& note = form.LeftGraph.Notes[0];
  const size_t sd = note.find(", SD=");
  ASSERT_NE(sd, std::string::npos);
  EXPECT_EQ(note.substr(0, sd).find("nan"), std::string::npos) << note;
  EXPECT_NE(note.find("nan", sd), std::string::npos) << note;

  // A track longer than the store keeps is read as its first 10000 points: lags up to
  // 4998, every row in bounds.
  form.Spots.NSpots = 0;
  AddTrack(form, Ramp(12000, 0.001), Floats(12000, 1.0f));
  form.SelectSpots();
  form.RunPanel("R_ShowMSD", form.RightGraph);
  EXPECT_TRUE(form.Registers.NMSDPoints == 4998 && form.RightGraph.DataEnd == 4998);
  EXPECT_EQ(form.RightGraph.Row(4)[4997], 1);
}
