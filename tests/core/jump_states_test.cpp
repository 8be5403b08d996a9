// Jump lengths, the diffusive-state fit and the state-track simulator, checked against
// hand-counted jumps, closed forms, Monte Carlo and simulated truth.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <numbers>

#include "sim/StateTracks.h"
#include "stats/JumpLengths.h"
#include "stats/JumpStates.h"
#include "stats/SliceSurvival.h"
#include "stats/ThreadPool.h"

namespace {

constexpr double kDt = 0.0075;

struct Sample {
  std::vector<SimTrack> tracks;
  JumpSet jumps;
};

Sample Simulate(std::vector<DiffusiveState> states, int32_t particles, double depth = 0,
                uint64_t seed = 3) {
  StateTrackPlan plan{std::move(states), {}, particles, 5, kDt, 0.02, depth};
  SimRandom random(seed);
  Sample s{MakeStateTracks(random, plan), {}};
  std::vector<TrackPoints> points;
  for (const SimTrack& t : s.tracks) points.push_back({t.X.data(), t.Y.data(), t.NPoints});
  s.jumps = CollectJumps(points.data(), static_cast<int32_t>(points.size()), {});
  return s;
}

// Frames of kDt, curves at the centres of 5 nm bins, on the shared pool unless told.
JumpFitResult Fit(const JumpSet& jumps, JumpFitOptions o = {}, bool threads = true) {
  o.dT = kDt;
  o.pool = threads ? &ThreadPool::Shared() : nullptr;
  for (int b = 0; b < 200; ++b) o.binCentres.push_back(0.0025 + 0.005 * b);
  return FitJumpStates(jumps, o);
}

}  // namespace

TEST(JumpLengths, IndependentPairsFirstJumpsAndBadPoints) {
  std::vector<float> x(10), y(10, 0.f), bad = {NAN, 1, 3, 6, 10}, zero(5, 0.f);
  for (int i = 0; i < 10; ++i) x[i] = static_cast<float>(i * i);
  const TrackPoints tracks[] = {{x.data(), y.data(), 10}, {nullptr, y.data(), 10},
                                {x.data(), y.data(), 1}, {bad.data(), zero.data(), 5}};
  const JumpSet j = CollectJumps(tracks, 4, {3, 2});
  // Track 0 at lags 1, 2, 3: pairs (0,1) (1,2); (0,2) (2,4); (0,3) (3,6). Track 3 loses
  // the jumps from its NaN first point, which still count among the first two.
  const float expected[] = {1, 9, 16, 144, 81, 729, 4, 49};
  const int32_t ends[] = {1, 2, 2, 4, 3, 6, 2, 4}, lags[] = {1, 1, 2, 2, 3, 3, 1, 2};
  ASSERT_EQ(j.size(), 8);
  for (int k = 0; k < 8; ++k) {
    EXPECT_EQ(j.squared[k], expected[k]) << k;
    EXPECT_EQ(j.endPoint[k], ends[k]) << k;
    EXPECT_EQ(j.lag[k], lags[k]) << k;
    EXPECT_EQ(j.track[k], k < 6 ? 0 : 3) << k;
  }
  EXPECT_TRUE(j.tracksUsed == 2 && j.tracksGiven == 4 && j.perLag[1] == 3 && j.perLag[3] == 2);
  // All jumps: lag 3 in 10 points is (0,3) (3,6) (6,9).
  EXPECT_EQ(CollectJumps(tracks, 1, {3, 0}).perLag[3], 3);
  EXPECT_EQ(CollectJumps(nullptr, 5, {}).size(), 0);
}

TEST(SliceSurvival, MatchesClosedFormSimulationAndTable) {
  const double depth = 0.7;
  const SliceSurvivalTable table(kDt, depth, 5);
  for (double D : {0.003, 0.1, 1.0, 8.0}) {
    double s[6], logTable[6];
    SliceSurvival(D, kDt, depth, 5, s);
    table.LogSurvival(D, logTable);
    // One frame from a uniform start: erf(L / 2w) - 2w (1 - exp(-L² / 4w²)) / (L sqrt(pi)),
    // w = sqrt(D t).
    const double w = std::sqrt(D * kDt);
    const double one = std::erf(depth / (2 * w)) - 2 * w * (1 - std::exp(-depth * depth / (4 * w * w))) /
                                                       (depth * std::sqrt(std::numbers::pi));
    EXPECT_NEAR(s[1], one, 1e-6) << D;
    // Five frames, particle by particle.
    SimRandom random(9);
    int32_t inside = 0;
    const int32_t n = 40000;
    for (int32_t p = 0; p < n; ++p) {
      double z = random.Uniform(-depth / 2, depth / 2);
      bool in = true;
      for (int f = 0; f < 5 && in; ++f)
        in = std::abs(z += std::sqrt(2 * D * kDt) * random.Normal()) <= depth / 2;
      inside += in;
    }
    EXPECT_NEAR(s[5], inside / double{n}, 4 * std::sqrt(s[5] * (1 - s[5]) / n) + 1e-4) << D;
    for (int f = 0; f <= 5; ++f) EXPECT_NEAR(std::exp(logTable[f]), s[f], 2e-4) << D << " " << f;
  }
  double s[3];
  SliceSurvival(0, kDt, depth, 2, s);
  EXPECT_TRUE(s[0] == 1 && s[2] == 1);
}

TEST(JumpStates, TwoStatesRecoveredWithCurvesNoteAndIntervals) {
  const Sample sample = Simulate({{0.01, 0.3}, {1.0, 0.7}}, 20000);
  const JumpFitResult r = Fit(sample.jumps, {.bootstrap = 20});
  ASSERT_EQ(r.chosen, 2);
  const JumpModel& m = r.models[1];
  EXPECT_NEAR(m.F[0], 0.3, 0.03);
  EXPECT_NEAR(m.D[0], 0.01, 0.01);
  EXPECT_NEAR(m.D[1], 1.0, 0.1);
  EXPECT_NEAR(m.sigma, 0.02, 0.003);
  EXPECT_NEAR(m.F[0] + m.F[1], 1, 1e-12);
  // Nested models: a state more never fits worse.
  EXPECT_TRUE(r.models[2].logLikelihood >= m.logLikelihood &&
              m.logLikelihood > r.models[0].logLikelihood);
  EXPECT_TRUE(m.FInterval[0].low < 0.3 && 0.3 < m.FInterval[0].high);
  EXPECT_TRUE(m.DInterval[1].low < m.D[1] && m.D[1] < m.DInterval[1].high && m.replicates == 20);

  // Lag-1 jumps counted by hand: the first four of each track.
  int64_t lagOne = 0;
  for (const SimTrack& t : sample.tracks) lagOne += std::min(t.NPoints - 1, 4);
  EXPECT_EQ(r.jumpsUsed, lagOne);
  EXPECT_EQ(r.tracksUsed, static_cast<int32_t>(sample.tracks.size()));
  // The note's numbers are the model's to three figures, in the fixed wording.
  double F1, D1, F2, D2, sigma;
  int tracks = 0, used = 0;
  long long jumps = 0;
  const int read = std::sscanf(r.note.c_str(),
                               "F1=%lf D1=%lf\xC2\xB5m2/s; F2=%lf D2=%lf\xC2\xB5m2/s; sigma=%lfnm "
                               "(2 states by BIC, %d tracks, %lld jumps)%n",
                               &F1, &D1, &F2, &D2, &sigma, &tracks, &jumps, &used);
  ASSERT_EQ(read, 7) << r.note;
  EXPECT_EQ(used, static_cast<int>(r.note.size()));
  const double shown[] = {F1, D1, F2, D2, sigma},
               fitted[] = {m.F[0], m.D[0], m.F[1], m.D[1], m.sigma * 1000};
  for (int k = 0; k < 5; ++k) EXPECT_NEAR(shown[k], fitted[k], 5e-3 * fitted[k]) << r.note;
  EXPECT_TRUE(tracks == r.tracksUsed && jumps == r.jumpsUsed) << r.note;

  // The curve is the density of the lag-1 jumps: against their histogram in 5 nm bins.
  std::vector<double> histogram(200, 0);
  for (int64_t k = 0; k < sample.jumps.size(); ++k) {
    const int bin = static_cast<int>(std::sqrt(sample.jumps.squared[k]) / 0.005);
    if (sample.jumps.lag[k] == 1 && bin < 200) histogram[bin] += 1;
  }
  for (int b = 2; b < 60; b += 3) {
    const double predicted = m.density[b] * r.jumpsUsed * 0.005;
    EXPECT_NEAR(histogram[b], predicted, 5 * std::sqrt(predicted) + 3) << b;
    EXPECT_NEAR(m.density[b], m.stateDensity[0][b] + m.stateDensity[1][b], 1e-9);
  }

  // Threads only share out the work: the same numbers, intervals too, without them.
  const JumpFitResult alone = Fit(sample.jumps, {.bootstrap = 20}, false);
  EXPECT_EQ(alone.models[1].logLikelihood, m.logLikelihood);
  EXPECT_EQ(alone.models[2].D[2], r.models[2].D[2]);
  EXPECT_EQ(alone.models[1].DInterval[0].low, m.DInterval[0].low);

  // Jumps past 0.3 µm (a third of the free ones at lag 3) left out: the cut densities
  // still find the states.
  const JumpFitResult cut = Fit(sample.jumps, {.maxJump = 0.3});
  EXPECT_NEAR(cut.models[1].F[0], 0.3, 0.03);
  EXPECT_NEAR(cut.models[1].D[1], 1.0, 0.1);
}

TEST(JumpStates, BicPicksOneAndThreeStates) {
  const JumpFitResult one = Fit(Simulate({{0.5, 1}}, 20000, 0, 4).jumps);
  EXPECT_EQ(one.chosen, 1);
  EXPECT_NEAR(one.models[0].D[0], 0.5, 0.025);

  const JumpFitResult three = Fit(Simulate({{0.01, 0.3}, {0.5, 0.3}, {3, 0.4}}, 20000, 0, 5).jumps);
  ASSERT_EQ(three.chosen, 3);
  const double F[] = {0.3, 0.3, 0.4}, D[] = {0.01, 0.5, 3};
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(three.models[2].F[i], F[i], 0.05) << i;
    EXPECT_NEAR(three.models[2].D[i], D[i], 0.1 * D[i] + 0.01) << i;
  }
}

TEST(JumpStates, DegenerateInputsGiveFiniteResults) {
  std::vector<float> still(6, 1.f), moving = {0, 0.1f, 0.1f}, huge = {0, 3e18f, -3e18f, 3e18f},
                     holes = {NAN, 1, 2, INFINITY, 3};
  const std::vector<std::vector<TrackPoints>> cases = {
      {},
      {{still.data(), still.data(), 6}, {still.data(), still.data(), 3}},
      {{moving.data(), still.data(), 2}},
      {{huge.data(), still.data(), 4}, {huge.data(), huge.data(), 4}},
      {{holes.data(), still.data(), 5}}};
  for (size_t c = 0; c < cases.size(); ++c) {
    JumpSet jumps = CollectJumps(cases[c].data(), static_cast<int32_t>(cases[c].size()), {});
    for (double depth : {0.0, 0.7}) {
      const JumpFitResult r = Fit(jumps, {.focalDepth = depth, .bootstrap = 5}, false);
      EXPECT_EQ(r.chosen == 0, c == 0) << c;
      for (const JumpModel& m : r.models) {
        double sum = 0;
        for (int i = 0; i < m.states; ++i) {
          sum += m.F[i];
          EXPECT_TRUE(m.D[i] >= 0 && std::isfinite(m.D[i]) && m.F[i] >= 0) << c;
        }
        EXPECT_TRUE(m.states == 0 || std::abs(sum - 1) < 1e-9) << c;
        EXPECT_TRUE(std::isfinite(m.logLikelihood) && std::isfinite(m.bic) && m.sigma >= 0) << c;
        for (double d : m.density) EXPECT_TRUE(std::isfinite(d) && d >= 0) << c;
      }
    }
  }
  EXPECT_EQ(Fit(JumpSet{}).note, "no jumps to fit (0 tracks, 0 jumps)");
  // One jump per lag: sigma cannot be fitted and says so; a broken set is ignored.
  JumpSet one = CollectJumps(&cases[2][0], 1, {});
  EXPECT_FALSE(Fit(one).warning.empty());
  one.track[0] = 7;
  EXPECT_EQ(Fit(one).chosen, 0);
  JumpFitOptions badTime;
  badTime.dT = 0;
  EXPECT_EQ(FitJumpStates(CollectJumps(cases[1].data(), 2, {}), badTime).chosen, 0);
}

TEST(JumpStates, SlowFocalSliceCorrectionRecoversFraction) {
  // Free particles leave a 0.7 µm slice within a few frames: more bound jumps are seen.
  const Sample sample = Simulate({{0.01, 0.3}, {1.0, 0.7}}, 40000, 0.7, 6);
  EXPECT_LT(sample.tracks.size(), 40000u);
  EXPECT_GT(Fit(sample.jumps).models[1].F[0], 0.34);
  const JumpFitResult corrected = Fit(sample.jumps, {.focalDepth = 0.7});
  ASSERT_EQ(corrected.chosen, 2);
  EXPECT_NEAR(corrected.models[1].F[0], 0.3, 0.02);
  EXPECT_NEAR(corrected.models[1].D[1], 1.0, 0.1);
}

TEST(StateTracks, LengthsSwitchingSliceAndSeed) {
  StateTrackPlan plan{{{0, 0.5}, {1, 0.5}}, {}, 20000, 5, 0.01, 0, 0};
  auto make = [&](uint64_t seed) {
    SimRandom random(seed);
    return MakeStateTracks(random, plan);
  };
  // Geometric lengths from 2 up with mean 5; without switching a track either stands
  // still throughout or moves at every step.
  auto tally = [](const std::vector<SimTrack>& tracks, double& mean, int& mixed) {
    mean = 0;
    mixed = 0;
    for (const SimTrack& t : tracks) {
      EXPECT_GE(t.NPoints, 2);
      mean += t.NPoints / double(tracks.size());
      int still = 0;
      for (int k = 1; k < t.NPoints; ++k) still += t.X[k] == t.X[k - 1];
      mixed += still > 0 && still < t.NPoints - 1;
    }
  };
  double mean;
  int mixed;
  const std::vector<SimTrack> plain = make(1);
  ASSERT_EQ(plain.size(), 20000u);
  tally(plain, mean, mixed);
  EXPECT_NEAR(mean, 5, 0.1);
  EXPECT_EQ(mixed, 0);
  EXPECT_EQ(make(1)[123].X, plain[123].X);
  plan.switchRates = {0, 20, 20, 0};  // a switch every 50 ms on average
  tally(make(1), mean, mixed);
  EXPECT_GT(mixed, 1000);
  // A 0.3 µm slice loses fast tracks early and drops those left with one point.
  plan.switchRates.clear();
  plan.focalDepth = 0.3;
  const std::vector<SimTrack> sliced = make(1);
  tally(sliced, mean, mixed);
  EXPECT_TRUE(sliced.size() < 18000u && sliced.size() > 10000u && mean < 4.5);
}
