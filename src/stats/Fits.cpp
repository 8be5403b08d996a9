#include "stats/Fits.h"

#include <cmath>

double LinearFit(const float* x, const float* y, int32_t n, float& FitSlope) {
  float sumX = 0, sumY = 0;
  for (int32_t i = 0; i < n; ++i) {
    sumX += x[i];
    sumY += y[i];
  }
  const float mx = static_cast<float>(static_cast<long double>(sumX) / n);
  const float my = static_cast<float>(static_cast<long double>(sumY) / n);
  float sxy = 0, sxx = 0;
  for (int32_t i = 0; i < n; ++i) {
    sxy += (x[i] - mx) * (y[i] - my);
    sxx += (x[i] - mx) * (x[i] - mx);
  }
  FitSlope = sxy / sxx;
  return my - FitSlope * mx;
}

// How often a point of weight w enters the sums of squares: once for every whole
// j = 0, 1, ... below w. Weights beyond this cap (or infinite) are capped so the
// loop always ends; real weights are track counts, far below it.
static long long RepeatCount(float w) {
  constexpr double kCap = 1e7;
  if (!(w > 0)) return 0;
  const double c = std::ceil(static_cast<double>(w));
  return static_cast<long long>(c > kCap ? kCap : c);
}

float WeightedLinearFit(const float* x, const float* y, const float* w, float* fitted, int32_t n,
                        float& FitSlope) {
  double W = 0, swx = 0, swy = 0;
  for (int32_t i = 0; i < n; ++i) {
    W += w[i];
    swx += static_cast<double>(w[i]) * x[i];
    swy += static_cast<double>(w[i]) * y[i];
  }
  const double mx = swx / W;
  const double my = swy / W;
  double sxy = 0, sxx = 0;
  for (int32_t i = 0; i < n; ++i) {
    const double dx = x[i] - mx;
    const double dy = y[i] - my;
    for (long long j = RepeatCount(w[i]); j > 0; --j) {
      sxy += dx * dy;
      sxx += dx * dx;
    }
  }
  FitSlope = static_cast<float>(sxy / sxx);
  const float b = static_cast<float>(my - FitSlope * mx);
  for (int32_t i = 0; i < n; ++i) fitted[i] = FitSlope * x[i] + b;
  return b;
}
