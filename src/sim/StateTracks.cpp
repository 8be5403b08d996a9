#include "sim/StateTracks.h"

#include <algorithm>
#include <cmath>

#include "store/SpotRec.h"

namespace {

// Index drawn with probability weight[i] / sum; the last positive one if roundoff runs
// past the end.
int32_t Pick(SimRandom& random, const double* weight, int32_t n) {
  double total = 0;
  for (int32_t i = 0; i < n; ++i) total += weight[i] > 0 ? weight[i] : 0.0;
  double u = random.Uniform() * total;
  int32_t last = 0;
  for (int32_t i = 0; i < n; ++i) {
    if (!(weight[i] > 0)) continue;
    last = i;
    if (u < weight[i]) return i;
    u -= weight[i];
  }
  return last;
}

int32_t TrackLength(SimRandom& random, double meanPoints) {
  const double p = 1 / (std::max(meanPoints, 2.0) - 1);  // chance to stop after each point
  if (p >= 1) return 2;
  const double extra = std::floor(std::log(1 - random.Uniform()) / std::log1p(-p));
  return static_cast<int32_t>(std::min(2 + extra, double{kMaxPoints}));
}

}  // namespace

std::vector<SimTrack> MakeStateTracks(SimRandom& random, const StateTrackPlan& plan) {
  std::vector<SimTrack> tracks;
  const int32_t K = static_cast<int32_t>(plan.states.size());
  if (K == 0) return tracks;
  std::vector<double> fractions(K), leave(K, 0.0);
  for (int32_t i = 0; i < K; ++i) fractions[i] = plan.states[i].fraction;
  const bool switching = plan.switchRates.size() == static_cast<size_t>(K) * K;
  std::vector<double> rates =
      switching ? plan.switchRates : std::vector<double>(size_t(K) * K, 0.0);
  for (int32_t i = 0; i < K; ++i) {
    rates[size_t(i) * K + i] = 0;
    for (int32_t j = 0; j < K; ++j) {
      double& r = rates[size_t(i) * K + j];
      r = std::isfinite(r) ? std::max(r, 0.0) : 0.0;
      leave[i] += r;
    }
  }
  const double half = plan.focalDepth / 2;
  const double margin = plan.fieldSize > 4 ? 1.0 : plan.fieldSize / 4;

  tracks.reserve(static_cast<size_t>(std::max(plan.particles, 0)));
  for (int32_t p = 0; p < plan.particles; ++p) {
    const int32_t n = TrackLength(random, plan.meanPoints);
    TrackStart start{n, random.UniformInt(0, 999), random.Uniform(margin, plan.fieldSize - margin),
                     random.Uniform(margin, plan.fieldSize - margin)};
    SimTrack t;
    t.FirstFrame = start.firstFrame;
    t.PosX = static_cast<int32_t>(start.x * 10);  // 0.1 µm, truncated like every header
    t.PosY = static_cast<int32_t>(start.y * 10);
    t.X.assign(static_cast<size_t>(n), static_cast<float>(start.x));
    t.Y.assign(static_cast<size_t>(n), static_cast<float>(start.y));
    t.Int.assign(static_cast<size_t>(n), 0.0f);
    int32_t state = Pick(random, fractions.data(), K);
    double x = start.x, y = start.y, z = plan.focalDepth > 0 ? random.Uniform(-half, half) : 0;
    int32_t kept = n;
    for (int32_t k = 1; k < n; ++k) {
      // The frame cut where the state switches; each piece diffuses with its own D.
      double left = plan.dT, variance = 0;
      for (;;) {
        const double stay = leave[state] > 0 ? random.Exponential(1 / leave[state]) : left;
        if (stay >= left) {
          variance += 2 * plan.states[state].D * left;
          break;
        }
        variance += 2 * plan.states[state].D * stay;
        left -= stay;
        state = Pick(random, &rates[size_t(state) * K], K);
      }
      const double sd = std::sqrt(std::max(variance, 0.0));
      x += sd * random.Normal();
      y += sd * random.Normal();
      z += sd * random.Normal();
      if (plan.focalDepth > 0 && std::abs(z) > half) {
        kept = k;
        break;
      }
      t.X[k] = static_cast<float>(x);
      t.Y[k] = static_cast<float>(y);
    }
    if (kept < 2) continue;
    t.NPoints = kept;
    t.X.resize(kept);
    t.Y.resize(kept);
    t.Int.resize(kept);
    if (plan.localisationNoise > 0) AddLocalisationNoise(random, t, plan.localisationNoise);
    tracks.push_back(std::move(t));
  }
  return tracks;
}
