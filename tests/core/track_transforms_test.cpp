// "Rotate Tracks Left to Right" and "Fit Tracks Together", and every FILTER and transform
// command on stores that give them little to work with.
#include <cstring>

#include "TrackBuilders.h"
#include "edit/Transforms.h"
#include "sim/SimOutput.h"
#include "sim/Simulator.h"

using TrackTransforms = FormTest;

TEST_F(TrackTransforms, RotationLaysFittedLineOnXAxis) {
  const SpotRec& rising = AddTrack(form, {0, 1, 2, 3, 4}, {2, 3, 4, 5, 6});      // Y = 2 + X
  const SpotRec& flatLeft = AddTrack(form, {5, 4, 3, 2}, {7, 7, 7, 7});          // slope 0
  const SpotRec& risingLeft = AddTrack(form, {4, 3, 2, 1, 0}, {6, 5, 4, 3, 2});  // Y = 2 + X
  const Floats gx = {0.3f, 1.1f, 1.9f, 3.2f, 3.8f, 5.1f, 6.0f};
  const Floats gy = {-1.0f, -0.2f, 0.9f, 1.1f, 2.4f, 2.6f, 3.9f};
  const SpotRec& general = AddTrack(form, gx, gy);
  ASSERT_TRUE(form.RunCommand("LeftRightTracks"));

  // (X, 2 + X) becomes (sqrt(2) X, 0); the leftward copy is mirrored first.
  for (int k = 0; k < 5; ++k) {
    EXPECT_FLOAT_EQ(rising.X[k], static_cast<float>(std::sqrt(2.0) * k)) << k;
    EXPECT_NEAR(rising.Y[k], 0.0f, 1e-6f) << k;
    EXPECT_FLOAT_EQ(risingLeft.X[k], static_cast<float>(-std::sqrt(2.0) * (4 - k))) << k;
    EXPECT_NEAR(risingLeft.Y[k], 0.0f, 1e-6f) << k;
  }
  // A horizontal track is only mirrored.
  EXPECT_EQ((Floats{rising.LineSlope, risingLeft.LineSlope, flatLeft.LineSlope}),
            (Floats{1, -1, 0}));
  EXPECT_TRUE(Frames(flatLeft.X, 4) == (Floats{-5, -4, -3, -2}) &&
              Frames(flatLeft.Y, 4) == Floats(4, 7));

  // Any track: the same turn worked out in double from the textbook fit; the mean point
  // lies on the fitted line, so it ends on the X axis.
  double sx = 0, sy = 0, sxy = 0, sxx = 0;
  for (int k = 0; k < 7; ++k) sx += gx[k], sy += gy[k];
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
  EXPECT_TRUE(std::fabs(general.LineSlope - m) < 1e-6 && std::fabs(meanY) < 1e-6);
  // Velocities follow the new coordinates.
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(form.Spots[i].AverVel, static_cast<float>(CalcTrackVelocity(
                                         form.Spots[i], form.S, form.CurrentPairRules())));
}

TEST_F(TrackTransforms, FitTracksTogetherAlignsOnLongestPassByPass) {
  const SpotRec& three = AddTrack(form, {0, 1, 5}, {1, 1, 1});
  const SpotRec& five = AddTrack(form, {10, 11, 12, 13, 14}, {20, 21, 22, 23, 24});
  form.Spots[1].SecondHalf = 1;

  // Not in the 2016 layout: a message and nothing else.
  ASSERT_TRUE(form.RunCommand("MatchTracks"));
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"Old File Format"}));
  EXPECT_EQ(Frames(three.X, 3), (Floats{0, 1, 5}));
  EXPECT_TRUE(three.SecondHalf + five.SecondHalf == 1 && platform.repaints == 0);

  // The 3-point track moves by its mean offset from the first 3 points of the 5-point
  // track, (-27/3, -60/3); then every Y gains 1.
  form.Format2016 = true;
  ASSERT_TRUE(form.RunCommand("MatchTracks"));
  EXPECT_EQ(Frames(three.X, 3), (Floats{9, 10, 14}));
  EXPECT_EQ(Frames(three.Y, 3), (Floats{22, 22, 22}));
  EXPECT_EQ(Frames(five.X, 5), (Floats{10, 11, 12, 13, 14}));
  EXPECT_EQ(Frames(five.Y, 5), (Floats{21, 22, 23, 24, 25}));
  EXPECT_TRUE(three.SecondHalf == 1 && five.SecondHalf == 1 && platform.messages.size() == 1u);

  // Passes in order over the tracks as they are by then.
  form.Spots.NSpots = 0;
  const SpotRec& a = AddTrack(form, {3, 3, 3}, {0, 0, 0});
  const SpotRec& b = AddTrack(form, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0});
  const SpotRec& c = AddTrack(form, {10, 10, 10, 20, 20}, {1, 1, 1, 1, 1});
  AddTrack(form, Floats{});
  // Pass 1: b (the lower index of the two longest) moves a by 3 and c by (14, 1).
  // Pass 2: c, now at -4 over its first three points, moves a by 4 more.
  ASSERT_TRUE(form.RunCommand("MatchTracks"));
  EXPECT_EQ(Frames(a.X, 3), (Floats{-4, -4, -4}));
  EXPECT_EQ(Frames(b.X, 5), (Floats{0, 0, 0, 0, 0}));
  EXPECT_EQ(Frames(c.X, 5), (Floats{-4, -4, -4, 6, 6}));
  for (const SpotRec* t : {&a, &b, &c}) {
    EXPECT_TRUE(Frames(t->Y, 3) == Floats(3, 1) && t->SecondHalf == 1);
  }
  EXPECT_EQ(platform.messages.size(), 1u);
}

// The fast passes against the plain ones, bit for bit, on: the mixed preset (20..400
// points); 600 walks of 40 points round 16 µm, many across the power of two, so that
// most passes run on the kept shifts and whole stretches are skipped; and random walks of
// 1..60 points round 2, 16 or -3, with a NaN, an infinity, equal lengths, and a track
// whose arrays hold fewer floats than NPoints says.
TEST(FitTracksTogetherFast, SameFloatsAsThePlainPasses) {
  Noise noise(17);
  std::vector<TrackStore> stores(3);
  for (TrackStore& s : stores) ASSERT_TRUE(s.Allocate());
  PopulationPlan mixed;
  mixed.mixed = true;
  AddSimulatedTracks(stores[0], MakePopulation(mixed), nullptr);
  auto walk = [&](TrackStore& s, int n, double x, double y, double sd) -> SpotRec& {
    const XY w = Walk(noise, n, sd);  // from (10, 10)
    SpotRec& t = AddRaw(s, w.x);
    for (int k = 0; k < n; ++k) {
      t.X[k] = static_cast<float>(w.x[k] - 10 + x);
      t.Y[k] = static_cast<float>(w.y[k] - 10 + y);
    }
    return t;
  };
  for (int i = 0; i < 600; ++i) walk(stores[1], 40, 16 + 0.3 * noise.Normal(), 40, 0.02);
  for (int i = 0; i < 150; ++i) {
    const double centre[] = {2, 16, -3};
    walk(stores[2], 1 + static_cast<int>(noise.Uniform() * 60), centre[i % 3] + noise.Normal(),
         centre[(i / 3) % 3], 0.001 + 0.05 * noise.Uniform());
  }
  stores[2][5].X[3] = std::nanf("");
  stores[2][7].Y[0] = std::numeric_limits<float>::infinity();
  stores[2][9].NPoints = stores[2][9].X.size() + 2;

  for (TrackStore& base : stores) {
    TrackStore plain, fast;
    ASSERT_TRUE(plain.Allocate() && fast.Allocate());
    for (int32_t i = 0; i < base.NSpots; ++i) plain[i] = fast[i] = base[i];
    plain.NSpots = fast.NSpots = base.NSpots;
    FitTracksTogetherReference(plain);
    std::vector<double> shares;
    EXPECT_TRUE(FitTracksTogether(fast, [&](double f) { return shares.push_back(f), true; }));
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()) && shares.back() == 1.0);
    for (int32_t i = 0; i < base.NSpots; ++i) {
      const size_t bytes = sizeof(float) * static_cast<size_t>(base[i].X.size());
      ASSERT_TRUE(std::memcmp(plain[i].X.data(), fast[i].X.data(), bytes) == 0 &&
                  std::memcmp(plain[i].Y.data(), fast[i].Y.data(), bytes) == 0 &&
                  plain[i].SecondHalf == fast[i].SecondHalf)
          << i;
    }
    // Stopped at the first report: false, and unless that came at the end (the 600 walks
    // take several), not every track has been a reference.
    for (int32_t i = 0; i < base.NSpots; ++i) fast[i] = base[i];
    double stoppedAt = 0;
    EXPECT_FALSE(FitTracksTogether(fast, [&](double f) { return stoppedAt = f, false; }));
    int32_t marked = 0;
    for (int32_t i = 0; i < base.NSpots; ++i) marked += fast[i].SecondHalf;
    EXPECT_TRUE(stoppedAt == 1.0 ? marked == base.NSpots : marked < base.NSpots);
    EXPECT_TRUE(&base != &stores[1] || stoppedAt < 1.0);
  }
}

// Every command of the main window, run twice on an empty store and on one of tracks with
// no, one, two and twelve odd points, an extreme start frame and an inactive track; then
// with settings no prompt accepts (no velocity step, runs of zero points, independent
// pairs), which would never advance a loop that trusted them. Dialogs are cancelled.
TEST(EveryCommand, KeepsTheStoreConsistentOnSparseStores) {
  Floats x, y, in;
  for (int j = 0; j < 12; ++j) {
    x.push_back(static_cast<float>(j % 5) * 0.2f);
    y.push_back(static_cast<float>(j * j) * 0.01f);
    in.push_back(static_cast<float>(40 + 30 * (j % 3)));
  }
  FakePlatform menuPlatform;
  const TMainForm menuForm(menuPlatform);
  std::vector<std::string> commands;
  for (const MenuItem& item : menuForm.Menu.Items())
    if (!item.isMenu && menuForm.HasCommand(item.name)) commands.push_back(item.name);
  for (const char* name : {"CorrectForDrift1", "RemoveEnds1", "RunningMed5", "LeftRightTracks",
                           "MatchTracks", "FindDualTracks", "StoppingSpots", "FastMovingSpots"})
    ASSERT_NE(std::find(commands.begin(), commands.end(), name), commands.end()) << name;
  for (const std::string& command : commands) {
    for (int store = 0; store < 3; ++store) {
      SCOPED_TRACE(command + " store " + std::to_string(store));
      FakePlatform platform;
      TMainForm form(platform);
      form.Format2016 = true;
      if (store > 0) {
        AddTrack(form, {1});
        AddTrack(form, Floats{}, {}, {}, 3);
        AddTrack(form, {1, 2}, {3, 4}, {5, 6}, -4);
        AddTrack(form, x, y, in, 9995);
        AddTrack(form, x, y, in, 2).Valid = 0;
      }
      if (store == 2) {
        form.S.VelocityStep = form.S.MinNumDataPoints = 0;
        form.Menu.SetChecked("IndependentPairs", true);
      }
      const int32_t before[] = {1, 0, 2, 12, 12};
      for (int round = 0; round < 2; ++round) form.RunCommand(command);
      ASSERT_EQ(form.Spots.NSpots, store > 0 ? 5 : 0);
      EXPECT_LE(form.Spots.NSelected, form.Spots.NSpots);
      for (int32_t i = 0; i < form.Spots.NSpots; ++i) {
        const SpotRec& t = form.Spots[i];
        // A negative count (Remove Ends on a short track) means no points.
        const int32_t n = t.ReadablePoints();
        ASSERT_LE(std::max(t.NPoints, 0), before[i]) << i;
        for (const FrameArray* a : {&t.Int, &t.X, &t.Y}) EXPECT_GE(a->size(), n + kSpareFrames);
        EXPECT_LE(t.FastFlag, 1);
        for (int k = 0; k < kMaxSegments; ++k)
          EXPECT_TRUE(t.SegLen[k] >= 0 && t.SegStart[k] >= -1 &&
                      t.SegStart[k] + t.SegLen[k] <= n)
              << i << " " << k;
      }
    }
  }
}
