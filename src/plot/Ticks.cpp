#include "plot/Ticks.h"

#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "store/Numbers.h"

double NiceTickDistance(double range, double ticks) {
  if (ticks == 0) return 1.0;
  const double d = range / ticks;
  double p = 1e-17;
  // The repeated multiplication (not a power of ten) is kept, with its rounding.
  // An infinite d would never stop the loop: cap it at the largest finite decade.
  while (d * 0.1 > p && p < 1e300) p *= 10;
  if (0.8 * p > d) return 5 * p;
  if (1.5 * p > d) return p;
  if (3 * p > d) return 2 * p;
  return 5 * p;
}

std::string FormatTickLabel(double value) {
  const double a = std::fabs(value);
  // The truncation goes through a 32-bit integer; below 100 the product always fits.
  if (a < 0.1) return FormatReal(static_cast<int32_t>(value * 10000) * 0.0001);
  if (a < 1) return FormatReal(static_cast<int32_t>(value * 1000) * 0.001);
  if (a < 10) return FormatReal(static_cast<int32_t>(value * 100) * 0.01);
  if (a < 100) return FormatReal(static_cast<int32_t>(value * 10) * 0.1);
  if (std::isnan(value)) return "nan";
  // Beyond the 64-bit range the label saturates instead of converting out of range.
  int64_t whole;
  if (value >= 9223372036854775807.0)
    whole = INT64_MAX;
  else if (value <= -9223372036854775808.0)
    whole = INT64_MIN;
  else
    whole = static_cast<int64_t>(value);
  char text[32];
  std::snprintf(text, sizeof text, "%" PRId64, whole);
  return text;
}

void DrawableRange(double& first, double& last) {
  if (!std::isfinite(first) || !std::isfinite(last) || first > last) {
    first = 0;
    last = 1;
  }
  if (last > first) return;
  if (first == 0) {
    last = 1;
    return;
  }
  const double pad = std::fabs(first) * 0.1;
  first -= pad;
  last += pad;
}
