#include "plot/Ticks.h"

#include <cmath>

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
