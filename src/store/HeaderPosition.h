#pragma once
// The header position of a track (PosX, PosY) is in units of 0.1 µm, truncated from its
// first point. Files of the old and zero-marker layouts hold X and Y relative to it, and
// the program then adds PosX x 0.1 back wherever it needs the physical position.
#include <cstdint>

// Toward zero, like every stored integer; 0 for positions no int32 can hold.
inline int32_t HeaderPosition(double micrometres) {
  const double v = micrometres * 10.0;
  if (!(v > -2e9 && v < 2e9)) return 0;
  return static_cast<int32_t>(v);
}

// The origin relative positions are measured from, as a float: X = x - origin and
// x = origin + X, both in float.
inline float HeaderOrigin(int32_t position) { return static_cast<float>(position * 0.1); }
