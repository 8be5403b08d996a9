#include "stats/CovarianceEstimator.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "stats/LagMsd.h"
#include "stats/LineFit.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Slope of log MSD against log lag over lags 1 .. min(alphaLags, n / 4).
double TrackAlpha(const float* x, const float* y, int32_t n, const TrackMobilitySettings& s,
                  const float* curve) {
  const int32_t lags = std::min(s.alphaLags, n / 4);
  if (lags < 3) return kNaN;
  LineSums line;
  for (int32_t k = 1; k <= lags; ++k) {
    const float msd = LagMsdFrom(curve, x, y, n, k, s.independentPairs);
    if (!(msd > 0)) return kNaN;  // a log of 0 (or of NaN) has no slope
    line.Add(std::log(static_cast<double>(k)), std::log(static_cast<double>(msd)));
  }
  return line.Fit().slope;
}

}  // namespace

TrackMobility EstimateTrackMobility(const float* x, const float* y, int32_t n, double lagUnit,
                                    const TrackMobilitySettings& settings, const float* curve) {
  n = ClampPoints(n);
  TrackMobility m{kNaN, kNaN, kNaN};
  if (n < 3 || !x || !y) return m;
  // Steps in double, so nearby positions lose nothing to the subtraction.
  double squares = 0, products = 0;
  double dxBefore = static_cast<double>(x[1]) - x[0], dyBefore = static_cast<double>(y[1]) - y[0];
  squares = dxBefore * dxBefore + dyBefore * dyBefore;
  for (int32_t i = 2; i < n; ++i) {
    const double dx = static_cast<double>(x[i]) - x[i - 1];
    const double dy = static_cast<double>(y[i]) - y[i - 1];
    squares += dx * dx + dy * dy;
    products += dx * dxBefore + dy * dyBefore;
    dxBefore = dx;
    dyBefore = dy;
  }
  // Per-axis means over both axes: n - 1 steps and n - 2 neighbouring step products each.
  const double meanSquare = squares / (2.0 * (n - 1));
  const double meanProduct = products / (2.0 * (n - 2));
  const double R = settings.blur;
  m.D = meanSquare / (2 * lagUnit) + meanProduct / lagUnit;
  const double variance = R * meanSquare + (2 * R - 1) * meanProduct;
  m.sigma = variance > 0 ? std::sqrt(variance) : (std::isnan(variance) ? kNaN : 0.0);
  m.alpha = TrackAlpha(x, y, n, settings, curve);
  return m;
}
