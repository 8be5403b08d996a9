#include "edit/SpotFilters.h"

#include <algorithm>
#include <cmath>

#include "edit/TrackPoints.h"
#include "store/Settings.h"
#include "store/TrackStore.h"

namespace {

// Calls step(j, dx, v) for every step of VelocityStep frames, j = 0, stride, ... while
// j < NPoints - VelocityStep. This bound takes the step that ends at the last point,
// one more than the average velocity uses.
template <typename Step>
void ForEachStep(const SpotRec& track, const Settings& settings, const PairRules& rules,
                 Step step) {
  const int32_t s = settings.VelocityStep;
  if (s < 1) return;  // a step of no frames has no speed (and would never advance)
  const float T = static_cast<float>(settings.FramesTime(s));
  const int64_t stride = rules.IndependentPairs ? s : 1;
  const int64_t end = static_cast<int64_t>(track.ReadablePoints()) - s;
  for (int64_t j = 0; j < end; j += stride) {
    const int32_t a = static_cast<int32_t>(j), b = a + s;
    const float dx = track.X[b] - track.X[a];
    const float dy = track.Y[b] - track.Y[a];
    const double v = std::sqrt(static_cast<double>(dx * dx + dy * dy)) / T;
    step(a, dx, v);
  }
}

}  // namespace

void FindStops(SpotRec& track, const Settings& settings, const PairRules& rules) {
  std::fill(std::begin(track.SegStart), std::end(track.SegStart), 0);
  std::fill(std::begin(track.SegLen), std::end(track.SegLen), 0);
  const int32_t minRun = settings.MinNumDataPoints;
  int32_t slow = 0, fast = 0, stops = 0;
  ForEachStep(track, settings, rules, [&](int32_t j, float, double v) {
    if (v < settings.LowVelThresh) {
      ++slow;
    } else {  // also a speed that is not a number: it ends a stop
      if (slow >= minRun && stops < 5) {
        track.SegLen[stops] = slow;
        track.SegStart[stops] = j - slow;
        ++stops;
      }
      slow = 0;
    }
    // Once a fast run is long enough it is never reset: one such run anywhere suffices.
    if (v > settings.HighVelThresh)
      ++fast;
    else if (fast < minRun)
      fast = 0;
  });
  // A slow run still open at the end of the track is not a stop.
  if (fast < minRun) track.SegLen[0] = 0;
}

uint8_t FastMovingFlag(const SpotRec& track, const Settings& settings, const PairRules& rules) {
  const int32_t minRun = settings.MinNumDataPoints;
  int32_t fast = 0;
  ForEachStep(track, settings, rules, [&](int32_t, float dx, double v) {
    if (rules.AbsoluteXspeed && dx < 0) v = -v;
    if (v > settings.HighVelThresh)
      ++fast;
    else if (fast < minRun)
      fast = 0;
  });
  return fast >= minRun ? 1 : 0;
}

void StoppingFilter(TrackStore& store, const Settings& settings, const PairRules& rules) {
  for (int32_t i = 0; i < store.NSpots; ++i) FindStops(store[i], settings, rules);
}

void FastMovingFilter(TrackStore& store, const Settings& settings, const PairRules& rules) {
  for (int32_t i = 0; i < store.NSpots; ++i)
    store[i].FastFlag = FastMovingFlag(store[i], settings, rules);
}
