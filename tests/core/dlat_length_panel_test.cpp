#include <map>

#include "RecordingCanvas.h"
#include "TrackBuilders.h"
#include "stats/DlatLengthPanel.h"

namespace {

struct Track {
  int points;
  float dlat;
  bool valid;
};

void Fill(TMainForm& form, const std::vector<Track>& tracks) {
  for (const Track& t : tracks) {
    SpotRec& s = AddBlankTrack(form, t.points);
    s.Dlat = t.dlat, s.Valid = t.valid;
  }
}

}  // namespace

using DlatLengthPanel = FormTest;

TEST_F(DlatLengthPanel, MeansErrorsAndCountsPerLength) {
  const std::vector<Track> tracks = {{20, 0.1f, true}, {20, 0.2f, true},  {20, 0.3f, true},
                                     {12, 0.5f, true}, {15, 0.05f, true}, {15, 0.15f, true},
                                     {25, 0.4f, true}, {12, 9.0f, false}, {10000, 7.0f, true}};
  Fill(form, tracks);
  form.Registers.AverDlat = 0.1234567, form.Registers.DlatSD = 0.0456789;
  form.Menu.SetChecked("R_DistanceToNeighbDistrib", true);
  ASSERT_TRUE(form.RunCommand("L_ShowDlatLenDistr"));
  const TQVgraph& g = form.LeftGraph;
  EXPECT_EQ(form.Menu.Caption("Left"), "Left-Len-Dlat");

  // The same statistics worked out directly, in double.
  std::map<int, std::vector<double>> byLength;
  for (const Track& t : tracks)
    if (t.valid && t.points < 10000) byLength[t.points].push_back(t.dlat);
  for (int L = 0; L < 25; ++L) {
    double mean = 0, error = 0;
    const std::vector<double>& d = byLength[L];
    for (double v : d) mean += v / d.size();
    for (double v : d) error += (v - mean) * (v - mean) / d.size();
    error = d.empty() ? 0 : std::sqrt(error) / std::sqrt(d.size());
    EXPECT_EQ(g.Row(0)[L], L);
    EXPECT_NEAR(g.Row(2)[L], mean, 1e-6) << L;
    EXPECT_NEAR(g.Row(1)[L], error, 1e-6) << L;
    EXPECT_EQ(g.Row(3)[L], d.size()) << L;
    EXPECT_EQ(g.Row(4)[L], 0);
  }
  EXPECT_NEAR(g.Row(1)[20], 0.0471405, 1e-6);
  // The longest length lies past the drawn points but is finished all the same.
  EXPECT_TRUE(g.Row(2)[25] == 0.4f && g.Row(3)[25] == 1);
  EXPECT_TRUE(g.DataFirst == 0 && g.DataEnd == 25 && g.Series[3].RightAxis);
  EXPECT_EQ((std::vector<double>{g.LastXval, g.LastY0val, g.LastY1val}),
            (std::vector<double>{26, static_cast<float>(0.5f * 1.2), static_cast<float>(3 * 1.2)}));
  EXPECT_EQ(g.XTitle + " | " + g.Y0Title + " | " + g.Y1Title,
            "Track Length (points) | Mobility (µm2/s) | Number of objects");
  EXPECT_EQ(g.Notes[0], "Aver. Dlat=0.123µm2/s, SD=0.0456");

  // Only the selection changes: the note stays, the rows follow.
  form.S.LenThresh = 16;
  form.ChooseClass("ShowShort");
  EXPECT_EQ(g.Notes[0], "Aver. Dlat=0.123µm2/s, SD=0.0456");
  EXPECT_TRUE(g.DataEnd == 15 && g.Row(3)[20] == 0 && g.Row(2)[15] == 0.1f);

  form.RunCommand("ShowFreq");  // frequencies only retitle the left axis
  EXPECT_TRUE(g.Y0Title == "Frequency (%)" && g.Row(3)[12] == 1);
}

TEST_F(DlatLengthPanel, EmptyAndSingleLengthStores) {
  RecordingFactoryScope bitmaps;
  TQVgraph& g = form.LeftGraph;
  g.SetBitmapSize(600, 400);
  RunAnalysis(form, CalcDlatLenDist, g);
  EXPECT_EQ(g.DataEnd, 0);
  EXPECT_EQ((std::vector<double>{g.LastXval, g.LastY0val, g.LastY1val}),
            (std::vector<double>{1, 0, 0}));
  for (double v : {g.TickXdist, g.TickY0dist, g.TickY1dist}) EXPECT_TRUE(std::isfinite(v));
  g.DrawGraph();
  EXPECT_TRUE(platform.messages.empty());

  // Three tracks of one length: all of them sit at the undrawn longest length.
  Fill(form, {{20, 0.1f, true}, {20, 0.2f, true}, {20, 0.3f, true}});
  RunAnalysis(form, CalcDlatLenDist, g);
  EXPECT_TRUE(g.DataEnd == 20 && g.Row(3)[20] == 3 && g.LastY0val == 0);
  EXPECT_FLOAT_EQ(g.Row(2)[20], 0.2f);
  EXPECT_NEAR(g.Row(1)[20], std::sqrt(0.02 / 3) / std::sqrt(3), 1e-6);
}
