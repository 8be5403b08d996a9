#include "stats/DecayFit.h"

#include <cmath>

double MeanSqError(const float* y, const float* model, int32_t n, int32_t from) {
  double sum = 0;
  for (int32_t i = from; i < n; ++i) {
    const float d = y[i] - model[i];
    sum += d * d;
  }
  return sum / (n - from);
}

double ExpDecayFit(const float* x, const float* y, int32_t n, float* fitted) {
  // Peak and floor; the last point is left out, and of equal maxima the last wins.
  float yMax = -10000;
  float yMin = 1e12f;
  int32_t p = 0;
  for (int32_t i = 0; i < n - 1; ++i) {
    if (y[i] >= yMax) {
      yMax = y[i];
      p = i;
    }
    if (y[i] < yMin) yMin = y[i];
  }
  if (n - p < 7) return 0;
  const float xPeak = x[p];

  // Start value: the raw X of the point nearest half the span (not the midpoint
  // between floor and peak, and not measured from the peak).
  const double half = (yMax - yMin) * 0.5;
  double nearest = 1e14;
  double t0 = 0;
  for (int32_t i = 0; i < n - 1; ++i) {
    const double distance = std::fabs(half - y[i]);
    if (distance < nearest) {
      nearest = distance;
      t0 = x[i];
    }
  }

  const double A = yMax;
  const double step = 0.01 * t0;
  // With t0 = 0 tau would never advance.
  if (0.2 * t0 <= 3 * t0 && !(step > 0)) return 0;

  // `fitted` serves as the model buffer; only p .. n - 1 is compared.
  double bestError = 1e17;
  double bestTau = 0;
  for (double tau = 0.2 * t0; tau <= 3 * t0; tau += step) {
    for (int32_t i = p; i < n; ++i)
      fitted[i] = static_cast<float>(A * std::exp(-(x[i] - xPeak) / tau));
    const double error = MeanSqError(y, fitted, n, p);
    if (error < bestError) {
      bestError = error;
      bestTau = tau;
    }
  }

  for (int32_t i = 0; i < p; ++i) fitted[i] = static_cast<float>(A);
  for (int32_t i = p; i < n; ++i)
    fitted[i] = static_cast<float>(A * std::exp(-(x[i] - xPeak) / bestTau));
  return bestTau;
}
