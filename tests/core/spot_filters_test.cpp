// The FILTER menu: the stopping-spot and fast-moving passes, the menu caption, the
// recomputations each toggle runs and where the passes meet the selection.
#include "TrackBuilders.h"

// With dT 0.5 s and a velocity step of one frame a step of dx um is a speed of 2*dx um/s.
constexpr float kFast = 1.5f;   // 3 um/s, above HighVelThresh 2
constexpr float kSlow = 0.25f;  // 0.5 um/s, below LowVelThresh 1
constexpr float kMid = 0.75f;   // 1.5 um/s, neither

static Floats Steps(std::initializer_list<std::pair<int, float>> runs) {
  Floats steps;
  for (auto [count, dx] : runs) steps.insert(steps.end(), count, dx);
  return steps;
}

// Appends a valid track along X from 10 whose consecutive frames differ by `steps`.
static SpotRec& AddSteps(TMainForm& form, const Floats& steps) {
  Floats x = {10.0f};
  for (float dx : steps) x.push_back(x.back() + dx);
  return AddTrack(form, x, Floats(x.size(), 3.0f));
}

// One-frame steps of dT 0.5 s.
struct SpotFilters : FormTest {
  SpotFilters() { form.S.dT = 0.5, form.S.VelocityStep = 1; }
};

static std::string Stretches(const SpotRec& t) {
  std::string s;
  for (int k = 0; k < kMaxSegments; ++k)
    s += std::to_string(t.SegStart[k]) + "+" + std::to_string(t.SegLen[k]) + " ";
  return s;
}

TEST_F(SpotFilters, StoppingSpotNeedsFastRunAndClosedStop) {
  const SpotRec& stop = AddSteps(form, Steps({{10, kFast}, {10, kSlow}, {1, kFast}}));
  const SpotRec& open = AddSteps(form, Steps({{10, kFast}, {10, kSlow}}));
  const SpotRec& shortFast = AddSteps(form, Steps({{9, kFast}, {10, kSlow}, {1, kFast}}));
  // The fast run may come after the stop; a step exactly at LowVelThresh (dx 0.5) ends it.
  const SpotRec& fastLater = AddSteps(form, Steps({{10, kSlow}, {1, 0.5f}, {10, kFast}}));
  const SpotRec& nineSlow = AddSteps(form, Steps({{10, kFast}, {9, kSlow}, {1, kMid}}));
  // Six stops: only five are kept.
  Floats many = Steps({{10, kFast}});
  for (int k = 0; k < 6; ++k) {
    const Floats stop = Steps({{10, kSlow}, {1, kMid}});
    many.insert(many.end(), stop.begin(), stop.end());
  }
  const SpotRec& sixStops = AddSteps(form, many);
  form.Spots[1].SegStart[3] = 7;  // a stretch left by the dual-track search is replaced

  ASSERT_TRUE(form.RunCommand("StoppingSpots"));
  EXPECT_EQ(Stretches(stop), "10+10 0+0 0+0 0+0 0+0 0+0 ");
  EXPECT_EQ(Stretches(open), "0+0 0+0 0+0 0+0 0+0 0+0 ");
  // A stop is stored before the fast test: without a fast run only SegLen[0] is cleared.
  EXPECT_EQ(Stretches(shortFast), "9+0 0+0 0+0 0+0 0+0 0+0 ");
  EXPECT_EQ(Stretches(fastLater), "0+10 0+0 0+0 0+0 0+0 0+0 ");
  EXPECT_EQ(Stretches(nineSlow), "0+0 0+0 0+0 0+0 0+0 0+0 ");
  EXPECT_EQ(Stretches(sixStops), "10+10 21+10 32+10 43+10 54+10 0+0 ");
  EXPECT_TRUE(SelectedMask(form) == "100101" && form.Spots.NSelected == 3);

  // While checked, every recomputation runs the pass again: a speed exactly at
  // HighVelThresh (dx 1.0) never counts as fast.
  for (int k = 0; k < 10; ++k) form.Spots[0].X[k] = 15.0f + k;  // X[10] is 25 already
  form.UpdateAnalysis();
  EXPECT_TRUE(Stretches(stop) == "10+0 0+0 0+0 0+0 0+0 0+0 " && form.Spots.NSelected == 2);
}

TEST_F(SpotFilters, StoppingStepsFollowIndependentPairs) {
  form.S.VelocityStep = 2;  // T = 1 s; with independent pairs the steps start at 0, 2, 4, ...
  Floats frames;
  for (auto [count, dx] : {std::pair{10, 3.0f}, {10, 0.5f}, {1, 3.0f}})
    for (int k = 0; k < count; ++k) frames.insert(frames.end(), {dx / 2, dx / 2});
  SpotRec& t = AddSteps(form, frames);  // 43 points: the last step starts at frame 40
  ASSERT_EQ(t.NPoints, 43);
  t.SegLen[0] = 99;
  ASSERT_TRUE(form.RunCommand("IndependentPairs"));  // runs the pass although unchecked
  // The stop is stored at j - slow: frame 40 less ten steps.
  EXPECT_EQ(Stretches(t), "30+10 0+0 0+0 0+0 0+0 0+0 ");

  // A new velocity step runs the pass again: one-frame steps see a 20-step stop.
  platform.promptAnswers.push_back("1");
  form.RunCommand("SetVelocityStep");
  EXPECT_EQ(Stretches(t), "20+20 0+0 0+0 0+0 0+0 0+0 ");
}

TEST_F(SpotFilters, FastCounterIsSticky) {
  AddSteps(form, Steps({{10, kFast}, {5, kSlow}}));            // fast once, then slow: fast
  AddSteps(form, Steps({{9, kFast}, {1, kMid}, {9, kFast}}));  // never ten in a row
  AddSteps(form, Steps({{20, 1.0f}}));                         // exactly HighVelThresh
  AddSteps(form, Steps({{4, kSlow}, {10, kFast}}));            // the run ends at the last point
  AddSteps(form, Steps({{10, -kFast}}));                       // fast towards smaller X
  AddSteps(form, {});                                          // one point, no step
  ASSERT_TRUE(form.RunCommand("FastMovingSpots"));
  std::string fast;
  for (int i = 0; i < 6; ++i) fast += form.Spots[i].FastFlag ? '1' : '0';
  EXPECT_EQ(fast + " " + SelectedMask(form), "100110 100110");
  // Absolute X speed: leftward steps count negative, in the pass and in AverVel.
  const float before = form.Spots[4].AverVel;
  EXPECT_FLOAT_EQ(before, 3.0f);
  ASSERT_TRUE(form.RunCommand("AbsoluteXspeed"));
  EXPECT_TRUE(form.Spots[4].FastFlag == 0 && form.Spots[0].FastFlag == 1);
  EXPECT_TRUE(form.Spots[4].AverVel == -before && form.Spots.NSelected == 2);
  ASSERT_TRUE(form.RunCommand("FastMovingSpots"));  // unchecked: every valid track again
  EXPECT_EQ(form.Spots.NSelected, 6);
}

TEST_F(SpotFilters, IndependentPairsRecomputesMobility) {
  form.S.dT = 0.03, form.S.VelocityStep = 3;
  Floats steps;
  for (int k = 0; k < 30; ++k) steps.push_back(0.01f * ((k * 7) % 5) - 0.015f);
  const SpotRec& t = AddSteps(form, steps);
  const float overlapping = t.Dlat, overlappingVel = t.AverVel;

  ASSERT_TRUE(form.RunCommand("IndependentPairs"));
  MsdScratch scratch;
  const float lag = static_cast<float>(form.S.dT * form.S.TimeScale);
  EXPECT_EQ(t.Dlat, static_cast<float>(CalcTrackMSD(t.X.data(), t.Y.data(), t.NPoints, lag,
                                                    scratch.Dk, scratch.MSD, true)));
  EXPECT_EQ(t.AverVel, static_cast<float>(CalcTrackVelocity(t, form.S, {true, false})));
  EXPECT_NE(t.Dlat, overlapping);
  ASSERT_TRUE(form.RunCommand("IndependentPairs"));
  EXPECT_TRUE(t.Dlat == overlapping && t.AverVel == overlappingVel);
}

TEST_F(SpotFilters, CaptionListsTheCheckedTogglesInMenuOrder) {
  const char* items[] = {"IndependentPairs", "AbsoluteXspeed", "TwoStepsOnly", "StoppingSpots",
                         "FastMovingSpots"};
  EXPECT_EQ(form.Menu.Caption("FILTER"), "FILTER");
  for (int k = 4; k >= 0; --k) ASSERT_TRUE(form.RunCommand(items[k]));  // checked last to first
  EXPECT_EQ(form.Menu.Caption("FILTER"), "FILTER(IP)(absX)(2st)(St)(F+)");
  form.RunCommand("TwoStepsOnly");
  form.RunCommand("IndependentPairs");
  EXPECT_TRUE(!form.Menu.Checked("TwoStepsOnly") && form.Menu.Checked("StoppingSpots"));
  EXPECT_EQ(form.Menu.Caption("FILTER"), "FILTER(absX)(St)(F+)");
  for (const char* item : {"AbsoluteXspeed", "StoppingSpots", "FastMovingSpots"}) form.RunCommand(item);
  EXPECT_EQ(form.Menu.Caption("FILTER"), "FILTER");
}
