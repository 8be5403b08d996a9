#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "EditTracks.h"
#include "FakePlatform.h"
#include "app/MainForm.h"
#include "edit/Cleaning.h"
#include "edit/Drift.h"
#include "sim/SimOutput.h"
#include "sim/Simulator.h"

using V = std::vector<float>;

TEST(EditDrift, SteadyTrackAndSharedPath) {
  // One track moving by v each frame: the one-step lead puts every point but the last at
  // X[0] - v; the last frame has no step of its own, so it lands on X[0].
  {
    FakePlatform platform;
    TMainForm form(platform);
    SpotRec& t = AddEditTrack(form, 3, {10, 10.5f, 11, 11.5f, 12, 12.5f, 13},
                              {4, 3.75f, 3.5f, 3.25f, 3, 2.75f, 2.5f}, {7, 8, 9, 10, 11, 12, 13});
    const float dlat = t.Dlat, averVel = t.AverVel;
    const int repaints = platform.repaints;
    ASSERT_TRUE(form.RunCommand("CorrectForDrift1"));
    EXPECT_EQ(Frames(t.X, 7), (V{9.5f, 9.5f, 9.5f, 9.5f, 9.5f, 9.5f, 10}));
    EXPECT_EQ(Frames(t.Y, 7), (V{4.25f, 4.25f, 4.25f, 4.25f, 4.25f, 4.25f, 4}));
    EXPECT_EQ(Frames(t.Int, 7), (V{7, 8, 9, 10, 11, 12, 13}));
    // Not refitted, not recomputed: the effect shows at the next recomputation.
    EXPECT_EQ(t.Dlat, dlat);
    EXPECT_EQ(t.AverVel, averVel);
    EXPECT_EQ(platform.repaints, repaints);
    EXPECT_FALSE(form.GraphsReady);
  }
  // Mean steps per frame, frames without steps adding 0, inactive tracks counted too:
  // X steps f0: 1, f1: 2, f2: (3 + 0) / 2, f3: 4, f4..f6: none, f7: 2
  // -> path 1, 3, 4.5, 8.5, 8.5, 8.5, 8.5, 10.5, 10.5.  Y steps f0: 2 -> path 2 throughout.
  FakePlatform platform;
  TMainForm form(platform);
  SpotRec& a = AddEditTrack(form, 0, {0, 1, 3, 6}, {0, 2, 2, 2});
  SpotRec& b = AddEditTrack(form, 2, {10, 10, 14});
  SpotRec& c = AddEditTrack(form, 7, {0, 2});
  c.Valid = 0;
  form.RunCommand("CorrectForDrift1");
  EXPECT_EQ(Frames(a.X, 4), (V{-1, -2, -1.5f, -2.5f}));
  EXPECT_EQ(Frames(a.Y, 4), (V{-2, 0, 0, 0}));
  EXPECT_EQ(Frames(b.X, 3), (V{5.5f, 1.5f, 5.5f}));
  EXPECT_EQ(Frames(b.Y, 3), (V{-2, -2, -2}));
  EXPECT_EQ(Frames(c.X, 2), (V{-10.5f, -8.5f}));
  // A second run estimates again from the corrected tracks: A's steps are now
  // -1, 0.5, -1 and B's -4, 4 -> path -1, -0.5, -3, 1, 1 ...
  form.RunCommand("CorrectForDrift1");
  EXPECT_EQ(Frames(a.X, 4), (V{0, -1.5f, 1.5f, -3.5f}));
  EXPECT_EQ(Frames(b.X, 3), (V{8.5f, 0.5f, 4.5f}));
}

TEST(EditDrift, FramesOutsideTheTablesStayUncorrected) {
  TrackStore store;
  ASSERT_TRUE(store.Allocate());
  auto tables = std::make_unique<DriftTables>();
  auto add = [&store](int32_t first, const V& x) {
    SpotRec& t = store[store.NSpots++];
    ASSERT_TRUE(t.AllocateFrames(static_cast<int32_t>(x.size())));
    t.NPoints = static_cast<int32_t>(x.size());
    t.FirstFrame = first;
    for (size_t j = 0; j < x.size(); ++j) t.X[static_cast<int32_t>(j)] = x[j];
  };
  add(-2, {5, 7, 1, 2});       // frames -2 .. 1: only the step from frame 0 counts
  add(9998, {0, 1, 3, 6});     // steps from 9998 and 9999 count, none from 10000
  add(std::numeric_limits<int32_t>::max() - 1, {4, 4, 4});
  EXPECT_EQ(CorrectForDrift(store, *tables), 2 + 2 + 3);
  // Path: slot 0 holds 1 and carries on to 9997; 9998 adds 1, 9999 adds 2.
  EXPECT_EQ(Frames(store[0].X, 4), (V{5, 7, 0, 1}));
  EXPECT_EQ(Frames(store[1].X, 4), (V{-2, -3, 3, 6}));
  EXPECT_EQ(Frames(store[2].X, 3), (V{4, 4, 4}));
  EXPECT_EQ(tables->DriftX[9999], 4.0);
  EXPECT_EQ(tables->DriftCount[9999], 1.0f);
}

namespace {

// Mean end-to-end distance of the tracks of a store.
double MeanDisplacement(const TrackStore& store) {
  double sum = 0;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    const int32_t last = t.NPoints - 1;
    sum += std::hypot(double{t.X[last]} - t.X[0], double{t.Y[last]} - t.Y[0]);
  }
  return sum / store.NSpots;
}

}  // namespace

TEST(EditDrift, RemovesSimulatedStageDrift) {
  PopulationPlan plan;
  plan.seed = 11;
  plan.tracks = 400;
  plan.points = 200;
  plan.D = 0.1;
  const std::vector<SimTrack> clean = MakePopulation(plan);
  plan.drift = {0.5, -0.3, 0.02};  // 3 µm and -1.8 µm over the 6 s, plus a wander
  const std::vector<SimTrack> drifted = MakePopulation(plan);

  FakePlatform platform;
  TMainForm form(platform);
  TrackStore reference;
  ASSERT_TRUE(reference.Allocate());
  ASSERT_EQ(AddSimulatedTracks(reference, clean, nullptr), 400);
  ASSERT_EQ(AddSimulatedTracks(form.Spots, drifted, nullptr), 400);
  const double expected = MeanDisplacement(reference);
  const double before = MeanDisplacement(form.Spots);
  form.RunCommand("CorrectForDrift1");
  const double after = MeanDisplacement(form.Spots);
  RecordProperty("clean", std::to_string(expected));
  RecordProperty("drifted", std::to_string(before));
  RecordProperty("corrected", std::to_string(after));
  EXPECT_GT(before, 1.5 * expected);
  EXPECT_NEAR(after, expected, 0.01 * expected);
}

TEST(EditCleaning, RemoveEndsShiftsAndRefits) {
  FakePlatform platform;
  TMainForm form(platform);
  // After the ends go: X 0..5 (6 points): Dlat = MSD[2] / (8 lag) = 4 / 0.24; velocity over
  // 3 frames from i = 0 and 1 only: 3 / 0.09.
  SpotRec& t =
      AddEditTrack(form, 4, {9, 0, 1, 2, 3, 4, 5, -9}, {}, {0, 10, 10, 10, 10, 10, 10, 100});
  EXPECT_EQ(t.AverInt, 20.0f);
  SpotRec& one = AddEditTrack(form, 0, {1});
  SpotRec& none = AddEditTrack(form, 0, {});
  SpotRec& two = AddEditTrack(form, std::numeric_limits<int32_t>::max(), {1, 2});
  const int repaints = platform.repaints;
  form.RunCommand("RemoveEnds1");
  EXPECT_EQ(platform.repaints, repaints + 1);
  EXPECT_EQ(t.FirstFrame, 5);
  EXPECT_EQ(t.NPoints, 6);
  EXPECT_EQ(Frames(t.X, 6), (V{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(Frames(t.Int, 6), (V{10, 10, 10, 10, 10, 10}));
  EXPECT_FLOAT_EQ(t.Dlat, 4.0f / 0.24f);
  EXPECT_FLOAT_EQ(t.AverVel, 3.0f / 0.09f);
  EXPECT_EQ(t.AverInt, 20.0f);  // kept from load
  // Tracks shorter than 2 points end with none; the frame number stops at its maximum.
  EXPECT_EQ(one.NPoints, 0);
  EXPECT_EQ(one.FirstFrame, 1);
  EXPECT_EQ(none.NPoints, 0);
  EXPECT_EQ(two.NPoints, 0);
  EXPECT_EQ(two.FirstFrame, std::numeric_limits<int32_t>::max());
  form.RunCommand("RemoveEnds1");
  EXPECT_EQ(t.NPoints, 4);
  EXPECT_EQ(Frames(t.X, 4), (V{1, 2, 3, 4}));
  EXPECT_EQ(t.FirstFrame, 6);
}

namespace {

// Remove Dupicates tried pair by pair over every i and k, as the command describes it.
std::string ReferenceDupicates(std::vector<SpotRec>& t) {
  const int n = static_cast<int>(t.size());
  for (bool found = true; found;) {
    found = false;
    for (int i = 0; i < n; ++i) {
      if (!t[i].Valid) continue;
      for (int k = 0; k < n; ++k) {
        if (k == i || !t[k].Valid) continue;
        if (std::abs(t[i].PosX - t[k].PosX) < 6 && std::abs(t[i].PosY - t[k].PosY) < 6) {
          found = true;
          if (t[i].AverInt > t[k].AverInt)
            t[k].Valid = 0;
          else
            t[i].Valid = 0;
        }
      }
    }
  }
  std::string mask;
  for (const SpotRec& s : t) mask += s.Valid ? '1' : '0';
  return mask;
}

// Tracks with only header values: enough for Remove Dupicates.
void SetDupicates(TMainForm& form, const std::vector<std::array<float, 3>>& tracks) {
  form.Spots.NSpots = 0;
  for (const auto& [x, y, averInt] : tracks) {
    SpotRec& t = form.Spots[form.Spots.NSpots++];
    t.Valid = 1;
    t.PosX = static_cast<int32_t>(x);
    t.PosY = static_cast<int32_t>(y);
    t.AverInt = averInt;
  }
}

}  // namespace

TEST(EditCleaning, RemoveDupicatesClusterOrder) {
  FakePlatform platform;
  TMainForm form(platform);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const struct {
    std::vector<std::array<float, 3>> tracks;  // PosX, PosY, AverInt
    const char* survivors;
  } cases[] = {
      {{{0, 0, 7}, {5, 5, 7}}, "01"},                // equal: the first found loses
      {{{0, 0, 7}, {6, 0, 7}}, "11"},                // 6 apart is not close
      {{{0, 0, 7}, {0, -6, 7}}, "11"},
      {{{0, 0, 3}, {1, 1, 1}, {2, 2, 2}}, "100"},    // three mutually close
      {{{0, 0, 2}, {5, 0, 5}, {-5, 0, 1}}, "010"},   // cleared 0 still clears the weaker 2
      {{{0, 0, nan}, {3, 3, 1}}, "01"},              // not comparable: i loses
      {{{0, 0, 1}, {3, 3, nan}}, "01"},
      {{{-2147483648.0f, 0, 1}, {2147483520.0f, 0, 1}}, "11"},
  };
  for (const auto& c : cases) {
    SetDupicates(form, c.tracks);
    form.RunCommand("RemoveDupicates1");
    EXPECT_EQ(ValidMask(form), c.survivors) << "case " << &c - cases;
  }
  // An inactive track is passed over: it neither clears nor gets cleared.
  SetDupicates(form, {{0, 0, 9}, {1, 1, 1}});
  form.Spots[0].Valid = 0;
  form.RunCommand("RemoveDupicates1");
  EXPECT_EQ(ValidMask(form), "01");

  // Crowded random fields against the pair-by-pair rule.
  std::minstd_rand random(5);
  for (int round = 0; round < 20; ++round) {
    std::vector<std::array<float, 3>> tracks;
    const int n = 20 + round * 15, field = 4 + round * 3;
    for (int i = 0; i < n; ++i)
      tracks.push_back({static_cast<float>(random() % field), static_cast<float>(random() % field),
                        static_cast<float>(random() % 6)});
    SetDupicates(form, tracks);
    std::vector<SpotRec> copy(form.Spots.Spots.get(), form.Spots.Spots.get() + n);
    form.RunCommand("RemoveDupicates1");
    EXPECT_EQ(ValidMask(form), ReferenceDupicates(copy)) << round;
  }
}

TEST(EditCleaning, LandingsAndStaticSpots) {
  FakePlatform platform;
  TMainForm form(platform);
  form.S.IntThresh = 0;
  AddEditTrack(form, 0, {0, 0, 0}, {}, {3, -1, 0.5f});  // from below 0 up by more than 0
  AddEditTrack(form, 0, {0, 0, 0}, {}, {3, 0, 5});      // 0 is not below 0
  form.RunCommand("RemoveLandings1");
  EXPECT_EQ(ValidMask(form), "01");

  form.Spots.NSpots = 0;
  form.S.IntThresh = 50;
  AddEditTrack(form, 0, {0, 0, 0}, {}, {60, 49, 100});    // rise 51: removed
  AddEditTrack(form, 0, {0, 0, 0}, {}, {60, 49, 99});     // rise 50: kept
  AddEditTrack(form, 0, {0, 0, 0}, {}, {50, 200, 200});   // not below: kept
  form.RunCommand("RemoveLandings1");
  EXPECT_EQ(ValidMask(form), "011");

  // Static spots: MinNumDataPoints 10, IntThresh 1; the integer sum truncates each step.
  form.Spots.NSpots = 0;
  form.S.IntThresh = 1;
  const V x11(11, 0.0f);
  V firstTenOnes(11, 1.0f);
  firstTenOnes[10] = 1000;  // the point past MinNumDataPoints does not count
  AddEditTrack(form, 0, x11, {}, V(11, 1.9f));   // sum 10, not above 10
  AddEditTrack(form, 0, x11, {}, V(11, 2.0f));   // sum 20
  AddEditTrack(form, 0, V(10, 0.0f), {}, V(10, 100.0f));  // exactly MinNumDataPoints points
  AddEditTrack(form, 0, x11, {}, firstTenOnes);
  const int repaints = platform.repaints;
  form.RunCommand("RemoveStaticSpots1");
  EXPECT_EQ(ValidMask(form), "1011");
  EXPECT_EQ(platform.repaints, repaints + 1);
  // Cleared flags stay cleared.
  form.S.IntThresh = 1000;
  form.RunCommand("RemoveStaticSpots1");
  EXPECT_EQ(ValidMask(form), "1011");
}

TEST(EditCleaning, ShiftsAndTimeToggles) {
  FakePlatform platform;
  TMainForm form(platform);
  SpotRec& t = AddEditTrack(form, 7, {1, 2, 3});
  t.PosX = 10;
  t.PosY = 20;
  SpotRec& edge = AddEditTrack(form, std::numeric_limits<int32_t>::max(), {1});
  edge.PosX = std::numeric_limits<int32_t>::max() - 1;
  const int repaints = platform.repaints;
  form.RunCommand("ShiftDown");  // 0.2 x 10.0001 -> 2
  EXPECT_EQ(t.PosX, 12);
  EXPECT_EQ(t.PosY, 20);
  EXPECT_EQ(edge.PosX, std::numeric_limits<int32_t>::max());
  form.S.CriticalDistance = 0.5;  // 5.00005 -> 5
  form.RunCommand("ShiftDown");
  form.S.CriticalDistance = 0.09999;  // 0.99989... -> 0
  form.RunCommand("ShiftDown");
  EXPECT_EQ(t.PosX, 17);
  form.RunCommand("ShiftOneTimeStep");
  form.RunCommand("ShiftOneTimeStep");
  EXPECT_EQ(t.FirstFrame, 9);
  EXPECT_EQ(edge.FirstFrame, std::numeric_limits<int32_t>::max());
  EXPECT_EQ(Frames(t.X, 3), (V{1, 2, 3}));
  EXPECT_EQ(platform.repaints, repaints);  // neither recomputes

  // The toggles flip their own check mark and recompute; the time window then drops a
  // track that starts after StartFrame + MinNumDataPoints.
  form.Spots.NSpots = 0;
  for (int32_t first : {0, 5, 11}) AddEditTrack(form, first, V(20, 0.0f));
  form.RunCommand("UseTimeWindow");
  EXPECT_TRUE(form.Menu.Checked("UseTimeWindow"));
  EXPECT_EQ(form.Spots.NSelected, 2);
  EXPECT_EQ(form.RightGraph.Notes[0], "Too few objects selected");
  form.RunCommand("UseTimeWindow");
  EXPECT_FALSE(form.Menu.Checked("UseTimeWindow"));
  EXPECT_EQ(form.Spots.NSelected, 3);
  const int before = platform.repaints;
  form.RunCommand("Time0");
  EXPECT_TRUE(form.Menu.Checked("Time0"));
  form.RunCommand("Time0");
  EXPECT_FALSE(form.Menu.Checked("Time0"));
  EXPECT_EQ(platform.repaints, before + 2);
}

TEST(EditCleaning, EveryCommandKeepsTheStoreConsistent) {
  const char* commands[] = {"CorrectForDrift1", "RemoveEnds1",     "RemoveDupicates1",
                            "RemoveLandings1",  "RemoveStaticSpots1", "ShiftDown",
                            "ShiftOneTimeStep", "Time0",           "UseTimeWindow",
                            "RunningMed3",      "RunningAverage3", "RunningAverage5",
                            "RunningAverage7",  "RunningMed5"};
  auto consistent = [](const TMainForm& form, int32_t nSpots) {
    EXPECT_EQ(form.Spots.NSpots, nSpots);
    for (int32_t i = 0; i < form.Spots.NSpots; ++i) {
      const SpotRec& t = form.Spots[i];
      EXPECT_GE(t.NPoints, 0);
      for (const FrameArray* a : {&t.Int, &t.X, &t.Y}) EXPECT_GE(a->size(), t.NPoints + 5);
    }
  };
  for (const char* name : commands) {
    SCOPED_TRACE(name);
    FakePlatform platform;
    TMainForm form(platform);
    ASSERT_TRUE(form.HasCommand(name));
    form.RunCommand(name);
    form.RunCommand(name);
    consistent(form, 0);

    AddEditTrack(form, 0, {1});
    AddEditTrack(form, 3, {});
    AddEditTrack(form, -4, {1, 2}, {3, 4}, {5, 6});
    std::vector<float> x, y, in;
    for (int j = 0; j < 12; ++j) {
      x.push_back(static_cast<float>(j % 5));
      y.push_back(static_cast<float>(j * j));
      in.push_back(static_cast<float>(40 + 30 * (j % 3)));
    }
    AddEditTrack(form, 9995, x, y, in);
    AddEditTrack(form, 2, x, y, in).Valid = 0;
    form.RunCommand(name);
    form.RunCommand(name);
    consistent(form, 5);
    EXPECT_TRUE(platform.messages.empty());
  }
}
