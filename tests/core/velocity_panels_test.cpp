#include "TrackBuilders.h"
#include "stats/DistancePanels.h"
#include "stats/VelocityPanels.h"
#include "store/Numbers.h"

// Points along a path given by its steps, from the origin.
static XY Path(const std::vector<std::pair<float, float>>& steps) {
  XY t{{0}, {0}};
  for (auto [dx, dy] : steps) {
    t.x.push_back(t.x.back() + dx);
    t.y.push_back(t.y.back() + dy);
  }
  return t;
}

// Directed motion at `speed` µm/s (frames 0.03 s apart) in a random direction.
static XY Directed(Noise& noise, int n, double speed, double sd) {
  return Walk(noise, n, sd, speed * 0.03, 2 * M_PI * noise.Uniform());
}

static int ArgMax(const float* row, int n) {
  return static_cast<int>(std::max_element(row, row + n) - row);
}

static double RowSum(const float* row) {
  double sum = 0;
  for (int i = 0; i < 10000; ++i) sum += row[i];
  return sum;
}

using VelocityPanels = FormTest;

TEST_F(VelocityPanels, DirectedTracksPeakAtTheirSpeed) {
  Noise noise(7);
  // 400 tracks whose speeds scatter around 1.5 µm/s (SD 0.3).
  double sum = 0;
  for (int k = 0; k < 400; ++k)
    sum += AddTrack(form, Directed(noise, 40, 1.5 + 0.3 * noise.Normal(), 0.001)).AverVel;
  ASSERT_TRUE(form.RunCommand("R_ShowVelDist"));
  const TQVgraph& g = form.RightGraph;
  EXPECT_DOUBLE_EQ(form.Registers.AverVelDist, sum / 400);
  EXPECT_NEAR(form.Registers.AverVelDist, 1.5, 0.05);
  // Bins are counted from their left edge, so the fitted centre sits half a bin below the
  // mean speed; the scan moves in half-bin steps.
  const std::string& note = g.Notes[0];
  EXPECT_NEAR(NoteNumber(note, ", bestFit="), 1.45, 0.08) << note;
  EXPECT_NEAR(g.Row(0)[ArgMax(g.Row(1), g.DataEnd + 1)], 1.45, 0.25);
  EXPECT_EQ(
      note.rfind("AverVel=" + FormatReal(TruncateTo(sum / 400, 1000.00001, 0.001)) + "µm (SD=", 0),
      0u)
      << note;
  EXPECT_EQ(note.substr(note.size() - 13) + "|" + g.XTitle, "um, VelStep=3|Velocity (µm/s)");
}

TEST_F(VelocityPanels, NotesAndOriginExactly) {
  for (int k = 0; k < 3; ++k)
    AddTrack(form, Path(std::vector<std::pair<float, float>>(9, {0.25f, 0})));
  // Average velocities 0.25, 0.25, 0.35: bins 2, 2, 3; mode 0.2, centre scan 0.1 .. 0.3
  // with SD 0.0471 is best at 0.25 (worked out separately).
  form.Spots[0].AverVel = form.Spots[1].AverVel = 0.25f, form.Spots[2].AverVel = 0.35f;
  ASSERT_TRUE(form.RunCommand("R_ShowVelDist"));
  EXPECT_TRUE(form.RightGraph.Notes[0] == "AverVel=0.283µm (SD=0.047), bestFit=0.25um, VelStep=3" &&
              form.RightGraph.DataEnd == 3);

  // Each step: 0.75 µm over T = 3 x 0.03 s as a float, 8.3333 µm/s (the export: exports_test).
  ASSERT_TRUE(form.RunCommand("R_ShowInstantVel"));
  EXPECT_EQ(form.RightGraph.Notes[0], "AverVel=8.333µm/s, VelStep=3");
  EXPECT_EQ(form.RightGraph.XTitle + "|" + form.RightGraph.Y0Title, "Velocity(µm/s)|Frequency ");

  ASSERT_TRUE(form.RunCommand("TimeMinutes"));
  const std::string& note = form.RightGraph.Notes[0];
  EXPECT_EQ(form.RightGraph.XTitle + "|" + note.substr(note.size() - 18),
            "Velocity(µm/min)|µm/min, VelStep=3");
  ASSERT_TRUE(form.RunCommand("TimeMinutes"));

  // Signed speeds: steps towards -X at 0.25 µm/s count negative; q = trunc(-2.5) = -2,
  // one lower for a negative q, origin -0.3.
  TMainForm back(platform);
  for (int k = 0; k < 3; ++k)
    AddTrack(back, Path(std::vector<std::pair<float, float>>(9, {-0.0075f, 0})));
  back.Menu.SetChecked("AbsoluteXspeed", true);
  RunAnalysis(back, CalcInstantVelDist, back.RightGraph);
  for (float v : {float(back.RightGraph.FirstXval), back.RightGraph.Row(0)[0]})
    EXPECT_FLOAT_EQ(v, -0.3f);
  EXPECT_EQ(back.RightGraph.Row(1)[0], 18);  // -0.25 is 0.05 above the origin
}

TEST_F(VelocityPanels, AngleDistributionOfKnownTurns) {
  form.S.VelocityStep = 1;
  // Steps alternating (1,1) and (1,0): 8 angles, +pi/4 (bin 7) and -pi/4 (dropped).
  // Slopes 1 and -1 in turn: every product is -1, the angle pi/2 (bin 15).
  std::vector<std::pair<float, float>> zigzag, saw;
  for (int k = 0; k < 10; ++k) {
    zigzag.push_back({1.0f, k % 2 ? 0.0f : 1.0f});
    saw.push_back({1.0f, k % 2 ? -1.0f : 1.0f});
  }
  AddTrack(form, Path(zigzag));
  AddTrack(form, Path(saw));
  // Straight along Y, a reversal along X, a right turn from +X to +Y: 0, 0, -pi/2 (dropped).
  AddTrack(form, Path({{0, 1}, {0, 1}, {0, 1}}));
  AddTrack(form, Path({{1, 0}, {-1, 0}, {0, 0.5f}}));
  AddTrack(form, Path({{1, 0}, {0, 1}, {0, 1}}));

  form.Registers.AverInstVel = 1.2345;
  ASSERT_TRUE(form.RunCommand("L_ShowAngleDistr"));
  const TQVgraph& g = form.LeftGraph;
  EXPECT_EQ((Floats{g.Row(1)[7], g.Row(1)[15], g.Row(1)[0]}), (Floats{4, 8, 2}));
  EXPECT_TRUE(RowSum(g.Row(1)) == 4 + 8 + 2 && g.DataEnd == 15);
  // Dropped angles still divide the mean.
  const double kept = 4 * double(static_cast<float>(std::atan(1.0))) + 8 * double(1.5707964f);
  EXPECT_NEAR(form.Registers.AverAngle, kept / (8 + 8 + 1 + 1 + 1), 1e-6);
  // The note carries the last instant-velocity mean, not the angle mean.
  EXPECT_EQ(g.Notes[0] + "|" + g.XTitle, "AverVel=1.234µm/s, VelStep=1|AngleChange(rad)");
}

TEST_F(VelocityPanels, CollectionStopsAt1999996Values) {
  // 201 straight tracks of 10000 points: 9996 velocities and 9993 angles each, more than
  // the scratch takes.
  const Floats line = Ramp(kMaxPoints, 0.25);
  for (int t = 0; t < 201; ++t) {
    SpotRec& rec = AddBlankTrack(form, kMaxPoints);
    std::copy(line.begin(), line.end(), rec.X.data());
  }
  RunAnalysis(form, CalcInstantVelDist, form.RightGraph);
  EXPECT_EQ(RowSum(form.RightGraph.Row(1)), kMaxStepValues);
  RunAnalysis(form, CalcAngleDist, form.LeftGraph);
  EXPECT_EQ(form.LeftGraph.Row(1)[0], kMaxStepValues);
}
