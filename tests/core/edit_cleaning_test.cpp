#include <array>

#include "TrackBuilders.h"
#include "edit/Cleaning.h"
#include "edit/Drift.h"

using EditDrift = FormTest;
using EditCleaning = FormTest;

TEST_F(EditDrift, SteadyTrackAndSharedPath) {
  // One track moving by v each frame: the one-step lead puts every point but the last at
  // X[0] - v; the last frame has no step of its own, so it lands on X[0].
  SpotRec& t = AddTrack(form, {10, 10.5f, 11, 11.5f, 12, 12.5f, 13},
                        {4, 3.75f, 3.5f, 3.25f, 3, 2.75f, 2.5f}, {7, 8, 9, 10, 11, 12, 13}, 3);
  const float dlat = t.Dlat, averVel = t.AverVel;
  const int repaints = platform.repaints;
  ASSERT_TRUE(form.RunCommand("CorrectForDrift1"));
  EXPECT_EQ(Frames(t.X, 7), (Floats{9.5f, 9.5f, 9.5f, 9.5f, 9.5f, 9.5f, 10}));
  EXPECT_TRUE(Frames(t.Y, 7) == (Floats{4.25f, 4.25f, 4.25f, 4.25f, 4.25f, 4.25f, 4}) &&
              Frames(t.Int, 7) == Ramp(7, 1, 7));  // intensities untouched
  // Not refitted, not recomputed: the effect shows at the next recomputation.
  EXPECT_TRUE(t.Dlat == dlat && t.AverVel == averVel && !form.GraphsReady &&
              platform.repaints == repaints);

  // Mean steps per frame, frames without steps adding 0, inactive tracks counted too:
  // X steps f0: 1, f1: 2, f2: (3 + 0) / 2, f3: 4, f4..f6: none, f7: 2
  // -> path 1, 3, 4.5, 8.5, 8.5, 8.5, 8.5, 10.5, 10.5.  Y steps f0: 2 -> path 2 throughout.
  form.Spots.NSpots = 0;
  SpotRec& a = AddTrack(form, {0, 1, 3, 6}, {0, 2, 2, 2});
  SpotRec& b = AddTrack(form, {10, 10, 14}, {}, {}, 2);
  SpotRec& c = AddTrack(form, {0, 2}, {}, {}, 7);
  c.Valid = 0;
  form.RunCommand("CorrectForDrift1");
  EXPECT_EQ(Frames(a.X, 4), (Floats{-1, -2, -1.5f, -2.5f}));
  EXPECT_EQ(Frames(b.X, 3), (Floats{5.5f, 1.5f, 5.5f}));
  EXPECT_TRUE(Frames(a.Y, 4) == (Floats{-2, 0, 0, 0}) && Frames(b.Y, 3) == Floats(3, -2));
  EXPECT_EQ(Frames(c.X, 2), (Floats{-10.5f, -8.5f}));
  // A second run estimates again from the corrected tracks: A's steps are now
  // -1, 0.5, -1 and B's -4, 4 -> path -1, -0.5, -3, 1, 1 ...
  form.RunCommand("CorrectForDrift1");
  EXPECT_TRUE(Frames(a.X, 4) == (Floats{0, -1.5f, 1.5f, -3.5f}) &&
              Frames(b.X, 3) == (Floats{8.5f, 0.5f, 4.5f}));
}

TEST_F(EditDrift, FramesOutsideTheTablesStayUncorrected) {
  TrackStore store;
  ASSERT_TRUE(store.Allocate());
  auto tables = std::make_unique<DriftTables>();
  AddRaw(store, {5, 7, 1, 2}, -2);    // frames -2 .. 1: only the step from frame 0 counts
  AddRaw(store, {0, 1, 3, 6}, 9998);  // steps from 9998 and 9999 count, none from 10000
  AddRaw(store, {4, 4, 4}, INT32_MAX - 1);
  EXPECT_EQ(CorrectForDrift(store, *tables), 2 + 2 + 3);
  // Path: slot 0 holds 1 and carries on to 9997; 9998 adds 1, 9999 adds 2.
  EXPECT_EQ(Frames(store[0].X, 4), (Floats{5, 7, 0, 1}));
  EXPECT_EQ(Frames(store[1].X, 4), (Floats{-2, -3, 3, 6}));
  EXPECT_TRUE(Frames(store[2].X, 3) == Floats(3, 4) && tables->DriftX[9999] == 4.0 &&
              tables->DriftCount[9999] == 1.0f);
}

TEST_F(EditCleaning, RemoveEndsShiftsAndRefits) {
  // After the ends go: X 0..5 (6 points): Dlat = MSD[2] / (8 lag) = 4 / 0.24; velocity over
  // 3 frames from i = 0 and 1 only: 3 / 0.09.
  SpotRec& t = AddTrack(form, {9, 0, 1, 2, 3, 4, 5, -9}, {}, {0, 10, 10, 10, 10, 10, 10, 100}, 4);
  SpotRec& one = AddTrack(form, {1});
  SpotRec& none = AddTrack(form, Floats{});
  SpotRec& two = AddTrack(form, {1, 2}, {}, {}, INT32_MAX);
  const int repaints = platform.repaints;
  form.RunCommand("RemoveEnds1");
  EXPECT_TRUE(platform.repaints == repaints + 1 && t.FirstFrame == 5);
  EXPECT_EQ(Frames(t.X, t.NPoints), (Floats{0, 1, 2, 3, 4, 5}));
  EXPECT_TRUE(Frames(t.Int, 6) == Floats(6, 10) && t.AverInt == 20.0f);  // kept from load: 160 / 8
  EXPECT_FLOAT_EQ(t.Dlat, 4.0f / 0.24f);
  EXPECT_FLOAT_EQ(t.AverVel, 3.0f / 0.09f);
  // Tracks shorter than 2 points are left with a negative count (no points for every
  // loop); the frame number stops at its maximum.
  EXPECT_EQ((std::vector<int32_t>{one.NPoints, one.FirstFrame, none.NPoints, two.NPoints,
                                  two.FirstFrame}),
            (std::vector<int32_t>{-1, 1, -2, 0, INT32_MAX}));
  EXPECT_TRUE(one.ReadablePoints() == 0 && std::isnan(one.Dlat) && one.AverVel == 0);
  form.RunCommand("RemoveEnds1");
  EXPECT_TRUE(Frames(t.X, t.NPoints) == (Floats{1, 2, 3, 4}) && t.FirstFrame == 6);
}

// Remove Dupicates tried pair by pair over every i and k, as the command describes it.
static std::string ReferenceDupicates(std::vector<SpotRec>& t) {
  const int n = static_cast<int>(t.size());
  for (bool found = true; found;) {
    found = false;
    for (int i = 0; i < n; ++i) {
      if (!t[i].Valid) continue;  // once in the loop, a cleared i goes on clearing
      for (int k = 0; k < n; ++k) {
        if (k == i || !t[k].Valid) continue;
        if (std::abs(t[i].PosX - t[k].PosX) < 6 && std::abs(t[i].PosY - t[k].PosY) < 6) {
          found = true;
          (t[i].AverInt > t[k].AverInt ? t[k] : t[i]).Valid = 0;
        }
      }
    }
  }
  std::string mask;
  for (const SpotRec& s : t) mask += s.Valid ? '1' : '0';
  return mask;
}

// Tracks with only header values (PosX, PosY, AverInt): enough for Remove Dupicates.
static void SetDupicates(TMainForm& form, const std::vector<std::array<float, 3>>& tracks) {
  form.Spots.NSpots = 0;
  for (const auto& [x, y, averInt] : tracks) {
    SpotRec& t = form.Spots[form.Spots.NSpots++];
    t.Valid = 1, t.PosX = static_cast<int32_t>(x), t.PosY = static_cast<int32_t>(y);
    t.AverInt = averInt;
  }
}

TEST_F(EditCleaning, RemoveDupicatesClusterOrder) {
  const float nan = NAN;
  const struct {
    std::vector<std::array<float, 3>> tracks;
    const char* survivors;
  } cases[] = {
      {{{0, 0, 7}, {5, 5, 7}}, "01"},              // equal: the first found loses
      {{{0, 0, 7}, {6, 0, 7}}, "11"},              // 6 apart is not close
      {{{0, 0, 3}, {1, 1, 1}, {2, 2, 2}}, "100"},  // three mutually close
      {{{0, 0, 2}, {5, 0, 5}, {-5, 0, 1}}, "010"}, // cleared 0 still clears the weaker 2
      {{{0, 0, nan}, {3, 3, 1}}, "01"},            // not comparable: i loses
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

TEST_F(EditCleaning, LandingsAndStaticSpots) {
  const Floats still(3, 0.0f);
  form.S.IntThresh = 0;
  AddTrack(form, still, {}, {3, -1, 0.5f});  // from below 0 up by more than 0
  AddTrack(form, still, {}, {3, 0, 5});      // 0 is not below 0
  form.RunCommand("RemoveLandings1");
  EXPECT_EQ(ValidMask(form), "01");
  form.Spots.NSpots = 0, form.S.IntThresh = 50;
  AddTrack(form, still, {}, {60, 49, 100});   // rise 51: removed
  AddTrack(form, still, {}, {60, 49, 99});    // rise 50: kept
  AddTrack(form, still, {}, {50, 200, 200});  // not below: kept
  form.RunCommand("RemoveLandings1");
  EXPECT_EQ(ValidMask(form), "011");

  // Static spots: MinNumDataPoints 10, IntThresh 1; the integer sum truncates each step.
  form.Spots.NSpots = 0, form.S.IntThresh = 1;
  Floats firstTenOnes(11, 1.0f);
  firstTenOnes[10] = 1000;  // the point past MinNumDataPoints does not count
  AddTrack(form, Floats(11), {}, Floats(11, 1.9f));     // sum 10, not above 10
  AddTrack(form, Floats(11), {}, Floats(11, 2.0f));     // sum 20
  AddTrack(form, Floats(10), {}, Floats(10, 100.0f));  // exactly MinNumDataPoints points
  AddTrack(form, Floats(11), {}, firstTenOnes);
  const int repaints = platform.repaints;
  form.RunCommand("RemoveStaticSpots1");
  EXPECT_TRUE(ValidMask(form) == "1011" && platform.repaints == repaints + 1);
  form.S.IntThresh = 1000;  // cleared flags stay cleared
  form.RunCommand("RemoveStaticSpots1");
  EXPECT_EQ(ValidMask(form), "1011");
}

TEST_F(EditCleaning, ShiftsAndTimeToggles) {
  SpotRec& t = AddTrack(form, {1, 2, 3}, {}, {}, 7);
  t.PosX = 10, t.PosY = 20;
  SpotRec& edge = AddTrack(form, {1}, {}, {}, INT32_MAX);
  edge.PosX = INT32_MAX - 1;
  const int repaints = platform.repaints;
  form.RunCommand("ShiftDown");  // 0.2 x 10.0001 -> 2
  EXPECT_EQ((std::vector<int32_t>{t.PosX, t.PosY, edge.PosX}),
            (std::vector<int32_t>{12, 20, INT32_MAX}));
  form.S.CriticalDistance = 0.5;  // 5.00005 -> 5
  form.RunCommand("ShiftDown");
  form.S.CriticalDistance = 0.09999;  // 0.99989... -> 0
  form.RunCommand("ShiftDown");
  EXPECT_EQ(t.PosX, 17);
  form.RunCommand("ShiftOneTimeStep");
  form.RunCommand("ShiftOneTimeStep");
  EXPECT_TRUE(t.FirstFrame == 9 && edge.FirstFrame == INT32_MAX);
  EXPECT_TRUE(Frames(t.X, 3) == (Floats{1, 2, 3}) && platform.repaints == repaints);  // no recompute

  // The time window toggle recomputes: it drops a track that starts after StartFrame +
  // MinNumDataPoints.
  form.Spots.NSpots = 0;
  for (int32_t first : {0, 5, 11}) AddTrack(form, Floats(20), {}, {}, first);
  form.RunCommand("UseTimeWindow");
  EXPECT_TRUE(form.Menu.Checked("UseTimeWindow") && form.Spots.NSelected == 2 &&
              form.RightGraph.Notes[0] == "Too few objects selected");
  form.RunCommand("UseTimeWindow");
  EXPECT_TRUE(!form.Menu.Checked("UseTimeWindow") && form.Spots.NSelected == 3);
}
