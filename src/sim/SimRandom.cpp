#include "sim/SimRandom.h"

#include <cmath>
#include <numbers>

double SimRandom::Uniform() { return static_cast<double>(engine_() >> 11) * 0x1.0p-53; }

int32_t SimRandom::UniformInt(int32_t lo, int32_t hi) {
  if (hi <= lo) return lo;
  const uint64_t span = static_cast<uint64_t>(static_cast<int64_t>(hi) - lo) + 1;
  // Reject the top sliver of the 64-bit range that would favour small values.
  const uint64_t limit = UINT64_MAX - UINT64_MAX % span;
  uint64_t value;
  do value = engine_();
  while (value >= limit);
  return static_cast<int32_t>(lo + static_cast<int64_t>(value % span));
}

double SimRandom::Normal() {
  if (hasSpare_) {
    hasSpare_ = false;
    return spare_;
  }
  const double u1 = 1.0 - Uniform();  // (0, 1]: the logarithm stays finite
  const double u2 = Uniform();
  const double r = std::sqrt(-2.0 * std::log(u1));
  const double angle = 2.0 * std::numbers::pi * u2;
  spare_ = r * std::sin(angle);
  hasSpare_ = true;
  return r * std::cos(angle);
}

double SimRandom::Exponential(double mean) { return -mean * std::log(1.0 - Uniform()); }
