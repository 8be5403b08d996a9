#include "RecordingCanvas.h"
#include "TrackBuilders.h"
#include "stats/IntensityPanels.h"

using IntensityPanels = FormTest;

TEST_F(IntensityPanels, MeanIntensityDistributionFitsTheCentre) {
  // 17 tracks symmetric about 100 counts: mean 100, SD sqrt(600/17) = 5.94.
  for (auto [intensity, tracks] :
       {std::pair{90.f, 2}, {95.f, 4}, {100.f, 5}, {105.f, 4}, {110.f, 2}})
    for (int k = 0; k < tracks; ++k) AddTrack(form, Floats(12), {}, Floats(12, intensity));
  form.Menu.SetChecked("R_DistanceToNeighbDistrib", true);
  form.LeftGraph.DataFirst = 1;  // as the MSD panel leaves it
  ASSERT_TRUE(form.RunCommand("L_ShowIntens"));
  const TQVgraph& g = form.LeftGraph;
  EXPECT_EQ(form.Menu.Caption("Left"), "Left-IntensityDistr");
  EXPECT_EQ((Floats{g.Row(1)[18], g.Row(1)[20], g.Row(0)[22]}),
            (Floats{2, 5, 110}));  // bin 100 / 5
  EXPECT_EQ((std::vector<int>{g.DataFirst, g.DataEnd, g.Series[1].Style}),
            (std::vector<int>{0, 23, Bar}));
  EXPECT_EQ(g.XTitle + " | " + g.Y0Title, "Intensity (A.U.) | Number of objects");
  EXPECT_TRUE(g.LastXval == 110 && g.LastY0val == static_cast<float>(5 * 1.2));
  // The note is written before the fit: the first run still shows the old centre.
  EXPECT_TRUE(g.Notes[0] == "Aver. Intens=100cnts,SD=5.9, (17 objects)  (GaussMax=0)" &&
              form.Registers.GaussMax == 100);
  const double sd = std::sqrt(600.0 / 17);
  EXPECT_NEAR(form.Registers.IntensSD, sd, 1e-12);
  EXPECT_NEAR(g.Row(2)[20], 17 * 5 / std::sqrt(2 * M_PI * sd * sd), 1e-4);
  form.UpdateAnalysis();
  EXPECT_EQ(g.Notes[0], "Aver. Intens=100cnts,SD=5.9, (17 objects)  (GaussMax=100)");

  ASSERT_TRUE(form.RunCommand("ShowFreq"));
  EXPECT_EQ(g.Y0Title, "Frequency (%)");
  EXPECT_FLOAT_EQ(g.Row(1)[20], 5 * 100.0f / 17);
  EXPECT_NEAR(g.Row(2)[20], 100 * 5 / std::sqrt(2 * M_PI * sd * sd), 1e-4);
  EXPECT_DOUBLE_EQ(form.Registers.GaussMax, 100);
}

TEST_F(IntensityPanels, InstantIntensitiesTimeWindowAndBinEdges) {
  // Frames 0..10 hold 50 counts, later ones 500; the third track ends in -3 and -7.
  Floats in(20, 500.0f);
  std::fill(in.begin(), in.begin() + 11, 50.0f);
  AddTrack(form, Floats(20), {}, in);
  AddTrack(form, Floats(20), {}, in);
  in[18] = -3, in[19] = -7;
  AddTrack(form, Floats(20), {}, in);
  form.Menu.SetChecked("R_DistanceToNeighbDistrib", true);
  ASSERT_TRUE(form.RunCommand("L_ShowInstIntens"));
  const TQVgraph& g = form.LeftGraph;
  EXPECT_EQ(g.Y0Title, "Number of measurements");
  // -3 lies within one bin below 0 and counts in bin 0; -7 is dropped but divides the mean.
  EXPECT_EQ((Floats{g.Row(1)[0], g.Row(1)[10], g.Row(1)[100]}), (Floats{1, 33, 25}));
  EXPECT_DOUBLE_EQ(form.Registers.AverIntens, (33 * 50.0 + 25 * 500.0 - 3) / 60);
  EXPECT_EQ(g.Notes[0].substr(0, 19), "Aver. Intens=235.7c");
  EXPECT_NE(g.Notes[0].find(", (3 objects, 60 dataPoints) "), std::string::npos);

  // The window takes frames StartFrame .. StartFrame + MinNumDataPoints: eleven per track.
  form.Menu.SetChecked("UseTimeWindow", true);
  form.UpdateAnalysis();
  EXPECT_EQ(g.Notes[0], "Aver. Intens=50cnts,SD=0, (3 objects, 33 dataPoints) ");
  // A zero SD gives a flat zero model: every centre scores alike and the first one stays.
  EXPECT_TRUE(g.Notes[1] == " (GaussMax=25)" && g.Row(2)[10] == 0);
}

TEST_F(IntensityPanels, EmptyFullRowAndOverfullInputsStaySafe) {
  RecordingFactoryScope bitmaps;
  TQVgraph& g = form.LeftGraph;
  g.SetBitmapSize(600, 400);
  auto runInstant = [&] { RunAnalysis(form, CalcInstIntensDist, g); };
  for (bool freq : {false, true}) {
    AnalysisContext context = form.MakeAnalysisContext();
    context.Flags.ShowFreq = freq;
    const PanelResults r = CalcIntensDist(context, g);
    EXPECT_TRUE(g.DataEnd == 1 && *r.GaussMax == 0 && std::isnan(*r.AverIntens));
    ExpectFiniteAxes(g);
    g.DrawGraph();  // with percentages the one bar is 0/0
  }

  // One 10000-point track reaching the last bin: DataEnd is a full row and the error sum
  // runs to bin 9999 only. Checked against a scan written out here.
  Floats in(10000, 12.0f);
  for (int j = 0; j < 10000; j += 1000) in[j] = 49998;
  AddTrack(form, Floats(10000), {}, in);
  runInstant();
  EXPECT_TRUE(g.DataEnd == 10000 && g.LastXval == 49995);
  const double sd = form.Registers.IntensSD, area = 1 * 5.0;
  double bestScore = 0, best = 0;
  for (double c = 5; c < 15; c += 2.5) {
    double e = 0;
    for (int i = 0; i < 10000; ++i) {
      const double bin = i == 2 ? 9990 : i == 9999 ? 10 : 0;
      const double d =
          bin - static_cast<float>(area * std::exp(-std::pow(5.0 * i - c, 2) / (2 * sd * sd)) /
                                   std::sqrt(2 * M_PI * sd * sd));
      e += d * d;
    }
    if (1000 / e > bestScore) bestScore = 1000 / e, best = c;
  }
  EXPECT_DOUBLE_EQ(form.Registers.GaussMax, best);
  EXPECT_NE(g.Notes[0].find(", (1 objects, 10000 dataPoints) "), std::string::npos);

  // More measurements than the scratch holds: collection stops when it is full.
  for (int k = 0; k < 1001; ++k) AddBlankTrack(form, 10000);
  runInstant();
  EXPECT_NE(g.Notes[0].find("(1002 objects, 10000005 dataPoints) "), std::string::npos);
  ExpectFiniteAxes(g, true);
}

TEST_F(IntensityPanels, FitErrorSumIncludesThePointAtDataEnd) {
  form.Spots.NSelected = 1, form.S.IntStep = 2.5;
  AnalysisContext context = form.MakeAnalysisContext();
  const float x[] = {0, 5, 10, 15}, bins[] = {0, 5, 0, 10000};
  for (int i = 0; i < 4; ++i) {
    context.WorkRow(0)[i] = x[i], context.WorkRow(1)[i] = bins[i], context.WorkRow(2)[i] = -1;
  }
  form.LeftGraph.DataEnd = 3;
  const double centre = IntensGaussFit(context, form.LeftGraph, 5);
  // The mode is X = 5, so centres 2.5, 3.75, 5 and 6.25 are tried. Without the bin at
  // DataEnd the mode itself fits best; the huge count there pulls the centre up.
  EXPECT_DOUBLE_EQ(centre, 6.25);
  EXPECT_NEAR(context.WorkRow(2)[1], 2.5 * std::exp(-1.25 * 1.25 / 50) / std::sqrt(2 * M_PI * 25),
              1e-6);
  EXPECT_EQ(context.WorkRow(2)[3], -1);  // the curve stops below DataEnd
}
