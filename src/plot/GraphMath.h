#pragma once
// Arithmetic helpers of the chart: pixel truncation and tick stepping, both guarded
// so that absurd ranges neither overflow an int nor loop for ever.
#include <cmath>

namespace graph_math {

// Pixel coordinates stay within this many pixels of the origin; sums of two of them
// still fit an int. A NaN goes to the far top-left, off every bitmap.
inline constexpr double kPixelLimit = 1e8;

inline int PixelTrunc(double v) {
  if (std::isnan(v)) return static_cast<int>(-kPixelLimit);
  if (v < -kPixelLimit) return static_cast<int>(-kPixelLimit);
  if (v > kPixelLimit) return static_cast<int>(kPixelLimit);
  return static_cast<int>(v);
}

// Loops that draw one item per tick stop after this many ticks (the settings dialog
// never allows more than 200).
inline constexpr int kMaxTicksDrawn = 1000;
// Tick bounds are found by repeated addition from 0, as the chart has always done;
// further than this many steps away they start next to the bound instead.
inline constexpr double kMaxBoundSteps = 1e6;
inline constexpr long kMaxBoundLoop = 4000000;

// The first tick: the first multiple of s in (first, first + s], or 0 for a first of 0.
inline double FirstTick(double first, double s) {
  double t = 0;
  const double n = first / s;
  const bool far = std::isfinite(n) && std::fabs(n) > kMaxBoundSteps;
  long guard = 0;
  if (first > 0) {
    if (far) t = (std::floor(n) - 2) * s;
    while (t <= first && ++guard < kMaxBoundLoop) t += s;
  } else {
    if (far) t = (std::ceil(n) + 2) * s;
    while (first + s < t && ++guard < kMaxBoundLoop) t -= s;
  }
  return t;
}

// The last tick: the first multiple of s at or above last.
inline double LastTick(double last, double s) {
  double t = 0;
  const double n = last / s;
  const bool far = std::isfinite(n) && std::fabs(n) > kMaxBoundSteps;
  long guard = 0;
  if (last > 0) {
    if (far) t = (std::floor(n) - 2) * s;
    while (t < last && ++guard < kMaxBoundLoop) t += s;
  } else {
    if (far) t = (std::ceil(n) + 2) * s;
    while (t > last && ++guard < kMaxBoundLoop) t -= s;
  }
  return t;
}

}  // namespace graph_math
