#include "stats/SliceSurvival.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

constexpr int32_t kMinLayers = 128, kMaxLayers = 1024;
constexpr int32_t kExactFrames = 256;

// Second antiderivative of the Gaussian step density of SD s: its second difference
// over a layer width is the chance to move from a random point of one layer into
// another layer that far away.
double Psi(double x, double s) {
  const double z = x / s;
  return x * 0.5 * std::erfc(-z * std::numbers::sqrt2 / 2) +
         s * std::exp(-0.5 * z * z) / std::sqrt(2 * std::numbers::pi);
}

}  // namespace

void SliceSurvival(double D, double dT, double depth, int32_t maxFrames, double* survival) {
  if (!survival || maxFrames < 0) return;
  std::fill(survival, survival + maxFrames + 1, 1.0);
  const double s = std::sqrt(2 * D * dT);
  if (!(s > 0) || !std::isfinite(s) || !(depth > 0) || !std::isfinite(depth)) return;

  // Layers thin against the step, so the density within one stays nearly flat.
  const int32_t layers = static_cast<int32_t>(
      std::clamp(std::ceil(3 * depth / s), double{kMinLayers}, double{kMaxLayers}));
  const double h = depth / layers;
  std::vector<double> kernel;  // chance to land d layers away, d = 0, 1, ...
  for (int32_t d = 0; d < layers; ++d) {
    const double k =
        std::max((Psi((d + 1) * h, s) - 2 * Psi(d * h, s) + Psi((d - 1) * h, s)) / h, 0.0);
    if (d > 0 && k < 1e-17 * kernel[0]) break;  // adds nothing to a sum of order 1
    kernel.push_back(k);
  }
  const int32_t reach = static_cast<int32_t>(kernel.size()) - 1;

  std::vector<double> density(layers, 1.0 / layers), next(layers);
  const int32_t exact = std::min(maxFrames, kExactFrames);
  for (int32_t n = 1; n <= exact; ++n) {
    double total = 0;
    for (int32_t j = 0; j < layers; ++j) {
      double v = 0;
      for (int32_t k = std::max(0, j - reach); k <= std::min(layers - 1, j + reach); ++k)
        v += density[k] * kernel[std::abs(j - k)];
      next[j] = v;
      total += v;
    }
    density.swap(next);
    survival[n] = total;
  }
  if (maxFrames > exact) {
    const double rate = exact >= 1 && survival[exact - 1] > 0
                            ? std::clamp(survival[exact] / survival[exact - 1], 0.0, 1.0)
                            : 0.0;
    for (int32_t n = exact + 1; n <= maxFrames; ++n) survival[n] = survival[n - 1] * rate;
  }
}

namespace {

constexpr double kLowestStep = 1e-4;  // step SD over depth at table point 0
constexpr int32_t kPerDecade = 16, kPoints = 5 * kPerDecade + 9;  // up to about 30

}  // namespace

SliceSurvivalTable::SliceSurvivalTable(double dT, double depth, int32_t maxFrames)
    : dT_(dT), depth_(depth), frames_(std::max(maxFrames, 0)) {
  const size_t row = static_cast<size_t>(frames_) + 1;
  table_.assign(row * kPoints, 0.0);
  if (!(dT > 0) || !(depth > 0)) return;
  std::vector<double> s(row);
  for (int32_t g = 0; g < kPoints; ++g) {
    const double step = kLowestStep * std::pow(10.0, static_cast<double>(g) / kPerDecade) * depth;
    SliceSurvival(step * step / (2 * dT), dT, depth, frames_, s.data());
    for (size_t n = 0; n < row; ++n) table_[g * row + n] = s[n] > 0 ? std::log(s[n]) : -745.0;
  }
}

void SliceSurvivalTable::LogSurvival(double D, double* out) const {
  const size_t row = static_cast<size_t>(frames_) + 1;
  std::fill(out, out + row, 0.0);
  if (!(dT_ > 0) || !(depth_ > 0) || !(D > 0)) return;
  const double q = std::sqrt(2 * D * dT_) / depth_;
  const double u = std::log10(q / kLowestStep) * kPerDecade;
  if (!(u > 0)) {  // thinner steps than the table: loss in proportion to the step
    for (size_t n = 0; n < row; ++n) out[n] = table_[n] * (q / kLowestStep);
    return;
  }
  const int32_t g = std::min(static_cast<int32_t>(u), kPoints - 2);
  const double f = std::min(u - g, 1.0);
  // Catmull-Rom through points g - 1 .. g + 2 (ends repeated).
  const int32_t g0 = std::max(g - 1, 0), g3 = std::min(g + 2, kPoints - 1);
  const double w0 = f * ((2 - f) * f - 1) / 2, w1 = (f * f * (3 * f - 5) + 2) / 2,
               w2 = f * ((4 - 3 * f) * f + 1) / 2, w3 = f * f * (f - 1) / 2;
  for (size_t n = 0; n < row; ++n)
    out[n] = std::min(w0 * table_[g0 * row + n] + w1 * table_[g * row + n] +
                          w2 * table_[(g + 1) * row + n] + w3 * table_[g3 * row + n],
                      0.0);
}
