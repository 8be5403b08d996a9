#include "TrackBuilders.h"
#include "stats/NeighbourPanel.h"

// A track of n points whose mean position is (x, y) + (posX, 0) x 0.1 µm; the points of
// an even-length track wobble symmetrically around the mean.
static SpotRec& AddAt(TMainForm& form, int n, float x, float y, int posX = 0) {
  Floats xs(n, x), ys(n, y);
  for (int k = 0; k < n && n % 2 == 0; ++k) {
    xs[k] += k % 2 ? 0.125f : -0.125f;
    ys[k] -= k % 2 ? 0.125f : -0.125f;
  }
  SpotRec& t = AddTrack(form, xs, ys);
  t.PosX = posX;
  return t;
}

using NeighbourPanel = FormTest;

TEST_F(NeighbourPanel, GridSpacingIsTheNeighbourDistance) {
  form.S.DlatBin = 0.03;
  // Columns 0.5 µm apart through the header position, rows 1 µm apart through Y, and a
  // pair 0.875 µm apart far away.
  for (int gx = 0; gx < 5; ++gx)
    for (int gy = 0; gy < 4; ++gy) AddAt(form, 10, 0, gy * 1.0f, gx * 5);
  AddAt(form, 7, 10, 10);
  AddAt(form, 8, 10.875f, 10);
  form.RightGraph.DataFirst = 1;  // as the MSD panel leaves it
  ASSERT_TRUE(form.RunCommand("R_DistanceToNeighbDistrib"));
  const TQVgraph& g = form.RightGraph;
  EXPECT_TRUE(g.DataFirst == 0 && platform.messages.empty());
  EXPECT_EQ(form.Menu.Caption("Right"), "Right-Dist To Neighb.");
  // 0.5 / 0.03 = 16.7 and 0.875 / 0.03 = 29.2: 20 distances in bin 16, 2 in bin 29.
  EXPECT_EQ(g.DataEnd, 58);
  const float bin17 = static_cast<float>(17 * 0.03);
  EXPECT_EQ((Floats{g.Row(0)[0], g.Row(0)[33], g.Row(0)[34]}), (Floats{0, bin17, bin17}));
  EXPECT_EQ((Floats{g.Row(1)[31], g.Row(1)[32], g.Row(1)[33]}), (Floats{0, 20, 20}));
  EXPECT_TRUE(g.LastXval == static_cast<float>(static_cast<float>(29 * 0.03) + 0.03) &&
              g.LastY0val == 24);
  EXPECT_EQ(g.XTitle + " | " + g.Y0Title, "Distance (µm) | Number of objects");
  EXPECT_EQ(g.Notes[0], "Aver. Ddistance=0.534µm2/s");  // 11.75 / 22

  // In bar style the raw bins stay, and the points end below the last filled bin.
  form.RightGraph.Series[1].Style = Bar;
  form.RunCommand("ShowFreq");
  EXPECT_TRUE(g.Series[1].Style == Bar && g.DataEnd == 29);
  EXPECT_EQ((Floats{g.Row(1)[16], g.Row(1)[29]}), (Floats{20 * 100.0f / 22, 2 * 100.0f / 22}));
  EXPECT_EQ(g.Y0Title, "Frequency (%)");
}

TEST_F(NeighbourPanel, QuadraticSearchMatchesADirectComputation) {
  uint32_t seed = 12345;
  auto next = [&] { return (seed = seed * 1103515245u + 12345u) >> 8 & 0xffff; };
  for (int i = 0; i < 150; ++i) AddAt(form, 4 + i % 3, next() / 1300.0f, next() / 1300.0f, i % 7);
  AddAt(form, 0, 0, 0);  // no points: NaN centre
  form.SelectSpots();
  for (int i = 0; i < 150; i += 4) form.Spots[i].Selected = 0;

  std::vector<float> cx(form.Spots.NSpots), cy(form.Spots.NSpots), d2(form.Spots.NSpots);
  TrackCentres(form.Spots, cx.data(), cy.data());
  ASSERT_EQ(NearestNeighbourDistancesQuadratic(form.Spots, cx.data(), cy.data(), d2.data()), 113);
  EXPECT_TRUE(std::isnan(cx[150]));
  for (int i = 0; i < 150; ++i) {
    const SpotRec& t = form.Spots[i];
    double sum = 0;
    for (int k = 0; k < t.NPoints; ++k) sum += t.X[k];
    EXPECT_NEAR(cx[i], sum / t.NPoints + t.PosX * 0.1, 1e-4);
  }
  int v = 0;
  for (int i = 0; i < 150; ++i) {
    if (i % 4 == 0) continue;
    double best = 1e300;
    for (int j = 0; j < 150; ++j) {
      if (j == i || j % 4 == 0) continue;
      const double dx = cx[i] - double(cx[j]), dy = cy[i] - double(cy[j]);
      best = std::min(best, dx * dx + dy * dy);
    }
    EXPECT_NEAR(d2[v++], best, best * 1e-5 + 1e-9) << i;
  }
  EXPECT_EQ(d2[v], kNoNeighbour);  // the pointless track never wins and keeps no neighbour

  RunAnalysis(form, CalcNeighbDistDist, form.RightGraph);
  EXPECT_EQ(platform.messages, std::vector<std::string>{" Error in Distance Calcs"});
}

TEST_F(NeighbourPanel, FewTracks) {
  TQVgraph& g = form.RightGraph;
  auto run = [&] {
    RunAnalysis(form, CalcNeighbDistDist, g);
    ExpectFiniteAxes(g);
  };
  run();  // empty: nothing to complain about, nothing drawn
  EXPECT_TRUE(platform.messages.empty() && g.DataEnd == 0);
  EXPECT_DOUBLE_EQ(g.LastXval, static_cast<float>(0.02));

  AddAt(form, 5, 1, 1);
  run();  // alone: the error, and its 1e15 is binned out of range
  EXPECT_TRUE(platform.messages.size() == 1u && g.DataEnd == 0);

  AddAt(form, 5, 1.625f, 1);  // 0.625 µm away: both in bin 31
  g.Series[1].Style = Bar;
  run();
  EXPECT_TRUE(platform.messages.size() == 1u && g.DataEnd == 31 && g.Row(1)[31] == 2);
  EXPECT_EQ(g.Notes[0], "Aver. Ddistance=0.625µm2/s");
}
