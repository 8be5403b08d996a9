#include "TrackBuilders.h"
#include "edit/RunningFilters.h"

using V = Floats;
using RunningFilters = FormTest;

TEST_F(RunningFilters, MedianWindowsReadTheRawTrack) {
  // Each window comes from the copy: fed back, the second window would be {2, 2, 8}.
  SpotRec& t = AddTrack(form, {0, 0, 50, 0, 0}, {2, 2, 2, 2, 2}, {1, 9, 2, 8, 3});
  SpotRec& spiky = AddTrack(form, {0, 0, 0, 9, 0, 0, 0, 0});
  const float dlat = spiky.Dlat;
  ASSERT_GT(dlat, 0);
  const int repaints = platform.repaints;
  form.RunCommand("RunningMed3");
  EXPECT_EQ(Frames(t.Int, 5), (V{1, 2, 8, 3, 3}));
  EXPECT_EQ(Frames(t.X, 5), (V{0, 0, 0, 0, 0}));  // the spike in X goes ...
  EXPECT_EQ(Frames(t.Y, 5), (V{2, 2, 2, 2, 2}));  // ... and Y is left alone
  EXPECT_TRUE(platform.repaints == repaints + 1 && Frames(spiky.X, 8) == V(8, 0.0f));
  EXPECT_EQ(spiky.Dlat, dlat);  // per-track values stay those of the raw track
  form.RunCommand("RunningMed3");  // twice smooths twice; the ends never move
  EXPECT_EQ(Frames(t.Int, 5), (V{1, 2, 3, 3, 3}));

  // Median of five; the exchange sort keeps the middle of equal and negative values.
  SpotRec& u = AddTrack(form, {5, 1, 4, 2, 3, 9, 0}, {0, -1, -1, 7, -3, 0, 0});
  form.RunCommand("RunningMed5");
  EXPECT_TRUE(Frames(u.X, 7) == (V{5, 1, 3, 3, 3, 9, 0}) &&
              Frames(u.Y, 7) == (V{0, -1, -1, -1, 0, 0, 0}));

  // The shared routine alone: a width too wide for its window does nothing.
  const float source[] = {4, 1, 3, 2};
  float out[] = {-1, -1, -1, -1};
  RunningMedian(source, out, 4, 3);
  EXPECT_EQ(V(out, out + 4), (V{-1, 3, 2, -1}));
  RunningMedian(source, out, 4, 99);
  EXPECT_EQ(V(out, out + 4), (V{-1, 3, 2, -1}));
}

TEST_F(RunningFilters, MeanSumsInFloatBeforeReplacing) {
  // Sums come from the raw values: replaced on the way, the window at 2 would sum 1 + 3 + 0.
  SpotRec& t = AddTrack(form, {0, 0, 3, 0, 0}, {1e8f, 1, -1e8f, 1, 1e8f});
  form.RunCommand("RunningAverage3");
  EXPECT_EQ(Frames(t.X, 5), (V{0, 1, 1, 1, 0}));
  // Float sums from 0 in index order: 1e8 + 1 rounds back to 1e8, so the outer windows
  // give 0 where exact arithmetic gives 1/3, and the middle one sums to -1e8, not -1e8 + 2.
  EXPECT_EQ(Frames(t.Y, 5), (V{1e8f, 0, -1e8f / 3.0f, 0, 1e8f}));

  // A 5-point track: Running Aver(7) leaves it, RunningAver(5) changes its middle only.
  SpotRec& u = AddTrack(form, {1, 2, 3, 4, 100}, {}, {3, 0, 0, 0, 0});
  form.RunCommand("RunningAverage7");
  EXPECT_EQ(Frames(u.X, 5), (V{1, 2, 3, 4, 100}));
  form.RunCommand("RunningAverage5");
  // The intensity sum divided by w as a float.
  EXPECT_TRUE(Frames(u.X, 5) == (V{1, 2, 22, 4, 100}) && u.Int[2] == 3.0f / 5.0f);

  // Seven points under Running Aver(7): only the middle, the mean of all seven.
  SpotRec& w = AddTrack(form, {7, 0, 0, 0, 0, 0, 0});
  form.RunCommand("RunningAverage7");
  EXPECT_EQ(Frames(w.X, 7), (V{7, 0, 0, 1, 0, 0, 0}));
}

TEST_F(RunningFilters, ShortAndInactiveTracks) {
  auto scratch = std::make_unique<FilterScratch>();
  TrackStore store;
  ASSERT_TRUE(store.Allocate());
  const V values = {6, 0, 3};
  for (int n : {0, 1, 2, 3}) AddRaw(store, V(values.begin(), values.begin() + n));
  store[3].Valid = 0;     // inactive tracks are filtered all the same
  store[1].NPoints = -3;  // no points at all
  RunningAverage(store, 3, *scratch);
  RunningMedianAll(store, 3, *scratch);
  EXPECT_EQ(Frames(store[2].X, 2), (V{6, 0}));
  EXPECT_TRUE(Frames(store[3].X, 3) == (V{6, 3, 3}) && store[1].X[0] == 6.0f);
}
