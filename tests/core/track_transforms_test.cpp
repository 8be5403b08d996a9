// "Rotate Tracks Left to Right" and "Fit Tracks Together", and every FILTER and transform
// command on stores that give them little to work with.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "FakePlatform.h"
#include "app/MainForm.h"

namespace {

SpotRec& AddTrack(TMainForm& form, const std::vector<float>& x, const std::vector<float>& y) {
  const int i = form.Spots.NSpots;
  const int n = static_cast<int>(x.size());
  SpotRec& t = form.Spots[i];
  EXPECT_TRUE(t.AllocateFrames(n));
  t.NPoints = n;
  for (int k = 0; k < n; ++k) {
    t.X[k] = x[k];
    t.Y[k] = y[k];
    t.Int[k] = 80.0f;
  }
  t.Valid = 1;
  form.ComputeTrackValuesOf(i, i + 1);
  form.Spots.NSpots = i + 1;
  return t;
}

std::vector<float> Coords(const FrameArray& a, int n) { return {a.data(), a.data() + n}; }

}  // namespace

TEST(TrackTransforms, RotationLaysFittedLineOnXAxis) {
  FakePlatform platform;
  TMainForm form(platform);
  const SpotRec& rising = AddTrack(form, {0, 1, 2, 3, 4}, {2, 3, 4, 5, 6});      // Y = 2 + X
  const SpotRec& flatLeft = AddTrack(form, {5, 4, 3, 2}, {7, 7, 7, 7});          // slope 0
  const SpotRec& risingLeft = AddTrack(form, {4, 3, 2, 1, 0}, {6, 5, 4, 3, 2});  // Y = 2 + X
  const std::vector<float> gx = {0.3f, 1.1f, 1.9f, 3.2f, 3.8f, 5.1f, 6.0f};
  const std::vector<float> gy = {-1.0f, -0.2f, 0.9f, 1.1f, 2.4f, 2.6f, 3.9f};
  const SpotRec& general = AddTrack(form, gx, gy);
  ASSERT_TRUE(form.RunCommand("LeftRightTracks"));

  // (X, 2 + X) becomes (sqrt(2) X, 0); the leftward copy is mirrored first.
  for (int k = 0; k < 5; ++k) {
    EXPECT_FLOAT_EQ(rising.X[k], static_cast<float>(std::sqrt(2.0) * k)) << k;
    EXPECT_NEAR(rising.Y[k], 0.0f, 1e-6f) << k;
    EXPECT_FLOAT_EQ(risingLeft.X[k], static_cast<float>(-std::sqrt(2.0) * (4 - k))) << k;
    EXPECT_NEAR(risingLeft.Y[k], 0.0f, 1e-6f) << k;
  }
  EXPECT_EQ(rising.LineSlope, 1.0f);
  EXPECT_EQ(risingLeft.LineSlope, -1.0f);
  // A horizontal track is only mirrored.
  EXPECT_EQ(flatLeft.LineSlope, 0.0f);
  EXPECT_EQ(Coords(flatLeft.X, 4), (std::vector<float>{-5, -4, -3, -2}));
  EXPECT_EQ(Coords(flatLeft.Y, 4), (std::vector<float>{7, 7, 7, 7}));

  // Any track: the same turn worked out in double from the textbook fit; the mean point
  // lies on the fitted line, so it ends on the X axis.
  double sx = 0, sy = 0, sxy = 0, sxx = 0;
  for (int k = 0; k < 7; ++k) {
    sx += gx[k];
    sy += gy[k];
  }
  const double mx = sx / 7, my = sy / 7;
  for (int k = 0; k < 7; ++k) {
    sxy += (gx[k] - mx) * (gy[k] - my);
    sxx += (gx[k] - mx) * (gx[k] - mx);
  }
  const double m = sxy / sxx, b = my - m * mx, angle = std::atan(m);
  double meanY = 0;
  for (int k = 0; k < 7; ++k) {
    EXPECT_NEAR(general.X[k], std::cos(angle) * gx[k] + std::sin(angle) * (gy[k] - b), 1e-5) << k;
    EXPECT_NEAR(general.Y[k], -gx[k] * std::sin(angle) + std::cos(angle) * (gy[k] - b), 1e-5) << k;
    meanY += general.Y[k] / 7.0;
  }
  EXPECT_NEAR(general.LineSlope, m, 1e-6);
  EXPECT_NEAR(meanY, 0.0, 1e-6);
  // Velocities follow the new coordinates.
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(form.Spots[i].AverVel, static_cast<float>(CalcTrackVelocity(
                                         form.Spots[i], form.S, form.CurrentPairRules())));
}

TEST(TrackTransforms, FitTracksTogetherAlignsOnLongest) {
  FakePlatform platform;
  TMainForm form(platform);
  const SpotRec& three = AddTrack(form, {0, 1, 5}, {1, 1, 1});
  const SpotRec& five = AddTrack(form, {10, 11, 12, 13, 14}, {20, 21, 22, 23, 24});
  form.Spots[1].SecondHalf = 1;

  // Not in the 2016 layout: a message and nothing else.
  ASSERT_TRUE(form.RunCommand("MatchTracks"));
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"Old File Format"}));
  EXPECT_EQ(Coords(three.X, 3), (std::vector<float>{0, 1, 5}));
  EXPECT_EQ(three.SecondHalf + five.SecondHalf, 1);
  EXPECT_EQ(platform.repaints, 0);

  // The 3-point track moves by its mean offset from the first 3 points of the 5-point
  // track, (-27/3, -60/3); then every Y gains 1.
  form.Format2016 = true;
  ASSERT_TRUE(form.RunCommand("MatchTracks"));
  EXPECT_EQ(Coords(three.X, 3), (std::vector<float>{9, 10, 14}));
  EXPECT_EQ(Coords(three.Y, 3), (std::vector<float>{22, 22, 22}));
  EXPECT_EQ(Coords(five.X, 5), (std::vector<float>{10, 11, 12, 13, 14}));
  EXPECT_EQ(Coords(five.Y, 5), (std::vector<float>{21, 22, 23, 24, 25}));
  EXPECT_EQ(three.SecondHalf, 1);
  EXPECT_EQ(five.SecondHalf, 1);
  EXPECT_EQ(platform.messages.size(), 1u);
}

TEST(TrackTransforms, FitTracksTogetherPassesInOrder) {
  FakePlatform platform;
  TMainForm form(platform);
  form.Format2016 = true;
  const SpotRec& a = AddTrack(form, {3, 3, 3}, {0, 0, 0});
  const SpotRec& b = AddTrack(form, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0});
  const SpotRec& c = AddTrack(form, {10, 10, 10, 20, 20}, {1, 1, 1, 1, 1});
  AddTrack(form, {}, {});
  // Pass 1: b (the lower index of the two longest) moves a by 3 and c by (14, 1).
  // Pass 2: c, now at -4 over its first three points, moves a by 4 more.
  ASSERT_TRUE(form.RunCommand("MatchTracks"));
  EXPECT_EQ(Coords(a.X, 3), (std::vector<float>{-4, -4, -4}));
  EXPECT_EQ(Coords(b.X, 5), (std::vector<float>{0, 0, 0, 0, 0}));
  EXPECT_EQ(Coords(c.X, 5), (std::vector<float>{-4, -4, -4, 6, 6}));
  for (const SpotRec* t : {&a, &b, &c}) {
    EXPECT_EQ(Coords(t->Y, 3), (std::vector<float>{1, 1, 1}));
    EXPECT_EQ(t->SecondHalf, 1);
  }
  EXPECT_TRUE(platform.messages.empty());
}

TEST(TrackTransforms, CommandsOnSparseStoresStayConsistent) {
  const char* commands[] = {"IndependentPairs", "AbsoluteXspeed", "TwoStepsOnly",
                            "StoppingSpots",    "FastMovingSpots", "LeftRightTracks",
                            "MatchTracks"};
  for (int store = 0; store < 3; ++store) {
    for (const char* command : commands) {
      FakePlatform platform;
      TMainForm form(platform);
      form.Format2016 = true;
      if (store > 0) {
        AddTrack(form, {2.5f}, {1.5f});
        AddTrack(form, {}, {});
        std::vector<float> x, y;
        for (int k = 0; k < 30; ++k) {
          x.push_back(k * 0.2f);
          y.push_back((k % 4) * 0.1f);
        }
        AddTrack(form, x, y);
      }
      if (store == 2) {  // settings no prompt accepts: no step at all, runs of zero
        form.S.VelocityStep = 0;
        form.S.MinNumDataPoints = 0;
        form.Menu.SetChecked("IndependentPairs", true);
      }
      const int points[] = {1, 0, 30};
      for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(std::string(command) + " store " + std::to_string(store) + " round " +
                     std::to_string(round));
        ASSERT_TRUE(form.RunCommand(command));
        ASSERT_EQ(form.Spots.NSpots, store > 0 ? 3 : 0);
        EXPECT_LE(form.Spots.NSelected, form.Spots.NSpots);
        for (int i = 0; i < form.Spots.NSpots; ++i) {
          const SpotRec& t = form.Spots[i];
          ASSERT_EQ(t.NPoints, points[i]);
          EXPECT_GE(t.X.size(), t.NPoints + kSpareFrames);
          EXPECT_GE(t.Y.size(), t.NPoints + kSpareFrames);
          EXPECT_LE(t.FastFlag, 1);
          for (int k = 0; k < kMaxSegments; ++k) {
            EXPECT_GE(t.SegStart[k], 0);
            EXPECT_LE(t.SegStart[k] + t.SegLen[k], t.NPoints);
            EXPECT_GE(t.SegLen[k], 0);
          }
        }
      }
      if (store < 2) {
        EXPECT_EQ(form.Menu.Caption("FILTER"), "FILTER");  // toggled back off
      }
      EXPECT_TRUE(platform.messages.empty());
    }
  }
}
