#pragma once
// The mean square displacement of one track at one lag, with the same float arithmetic
// as CalcTrackMSD (running sum in a float, pair by pair in order, divided by the pair
// count), so a curve kept from the load and one computed here agree bit for bit.
#include <algorithm>
#include <cstdint>

#include "store/SpotRec.h"

// Points of a track as CalcTrackMSD sees them: clipped to kMaxPoints, never negative.
inline int32_t ClampPoints(int32_t n) { return std::clamp(n, 0, kMaxPoints); }

// Pairs at lag k (1 <= k) of a track of n points under the pair rule.
inline int32_t LagPairs(int32_t n, int32_t k, bool independentPairs) {
  if (k < 1 || n <= k) return 0;
  return independentPairs ? (n - 1) / k : n - k;
}

// MSD at lag k over the pairs the rule takes; NaN when there is no pair. n must already
// be within the arrays (ClampPoints).
inline float LagMsd(const float* x, const float* y, int32_t n, int32_t k, bool independentPairs) {
  const int32_t pairs = LagPairs(n, k, independentPairs);
  float sum = 0;
  const int32_t stride = independentPairs ? k : 1;
  for (int32_t i = 0; i + k < n; i += stride) {
    const float dx = x[i] - x[i + k];
    const float dy = y[i] - y[i + k];
    sum += dx * dx + dy * dy;
  }
  return sum / static_cast<float>(pairs);  // 0/0 = NaN without pairs
}

// LagMsd, taken from `curve` (a curve CalcTrackMSD left: curve[k] for k = 1 .. n/2 - 1)
// where it holds the lag.
inline float LagMsdFrom(const float* curve, const float* x, const float* y, int32_t n, int32_t k,
                        bool independentPairs) {
  if (curve && k < n / 2) return curve[k];
  return LagMsd(x, y, n, k, independentPairs);
}
