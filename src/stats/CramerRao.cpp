#include "stats/CramerRao.h"

#include <cmath>
#include <limits>
#include <numbers>

// The N steps of one axis are Gaussian with a tridiagonal (moving-average) covariance:
//   var = 2 D t (1 - 2R) + 2 s2,  cov of neighbours = 2 R D t - s2   (s2 = sigma², t = lag)
// Every tridiagonal Toeplitz matrix of size N has the eigenvectors sin(i j pi / (N + 1)),
// so the covariance and its derivatives by D and s2 share them; with eigenvalues
// lambda_j = var + 2 cov cos(j pi / (N + 1)) the Fisher information of (D, s2) is
//   I_ab = 1/2 sum_j (d_a lambda_j)(d_b lambda_j) / lambda_j²     per axis.
// s2 rather than sigma is the second parameter, so the bound stays finite at sigma = 0.
double CramerRaoRelativeSD(int32_t points, const CramerRaoSettings& s, bool sigmaKnown) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const int64_t steps = int64_t{points} - 1;
  if (steps < (sigmaKnown ? 1 : 2) || !(s.D > 0) || !(s.lagUnit > 0) || s.dimensions < 1)
    return kNaN;
  const double t = s.lagUnit, s2 = s.sigma * s.sigma, R = s.blur;
  const double variance = 2 * s.D * t * (1 - 2 * R) + 2 * s2;
  const double covariance = 2 * R * s.D * t - s2;
  double iDD = 0, iDS = 0, iSS = 0;
  for (int64_t j = 1; j <= steps; ++j) {
    const double c = std::cos(static_cast<double>(j) * std::numbers::pi / static_cast<double>(steps + 1));
    const double lambda = variance + 2 * covariance * c;
    if (!(lambda > 0)) return kNaN;
    const double dD = 2 * t * (1 - 2 * R) + 4 * R * t * c;
    const double dS = 2 - 2 * c;
    iDD += dD * dD / (lambda * lambda);
    iDS += dD * dS / (lambda * lambda);
    iSS += dS * dS / (lambda * lambda);
  }
  const double axes = 0.5 * s.dimensions;
  iDD *= axes;
  iDS *= axes;
  iSS *= axes;
  const double varianceOfD = sigmaKnown ? 1 / iDD : iSS / (iDD * iSS - iDS * iDS);
  return std::sqrt(varianceOfD) / s.D;
}
