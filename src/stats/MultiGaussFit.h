#pragma once
// A small Levenberg-Marquardt least-squares solver and, built on it, the fit of a
// row of equally spaced Gaussians to a distance histogram (molecular steps).
#include <cstdint>
#include <functional>

// Model values f[0 .. n) at parameters p[0 .. m); when J is not null also the
// Jacobian, row-major: J[i * m + j] = d f[i] / d p[j].
using LmEvaluate = std::function<void(const double* p, double* f, double* J)>;

struct LmProblem {
  int32_t n = 0;  // data points
  int32_t m = 0;  // parameters
  LmEvaluate evaluate;
  const double* y = nullptr;      // the data, n values
  const double* lower = nullptr;  // optional bounds, m values each
  const double* upper = nullptr;
  int32_t maxIterations = 200;
};

struct LmResult {
  double Cost = 0;  // sum of squared residuals at the returned parameters
  int32_t Iterations = 0;
  bool Converged = false;
};

// Minimises sum (y - f(p))^2 starting from p (clamped into the bounds) and leaves
// the best parameters found in p. Never returns parameters worse than the start.
LmResult LevenbergMarquardt(const LmProblem& problem, double* p);

// Solves the symmetric positive definite system A x = b (A is k x k, row-major) by
// Cholesky; A and b are overwritten. False when A is not positive definite.
bool SolveSymmetric(double* A, double* b, int32_t k);

// --- Gaussians centred on multiples of one step
inline constexpr int32_t kMaxGaussPeaks = 60;
// A fit sees at most this many bins; finer ones are merged first.
inline constexpr int32_t kMaxGaussFitBins = 400;

struct MultiGaussResult {
  double Step = 0;   // distance between neighbouring centres
  double Width = 0;  // common standard deviation
  int32_t NPeaks = 0;
  double Area[kMaxGaussPeaks] = {};  // counts under peak k, centred at k * Step
  int32_t FitBins = 0;               // bins 0 .. FitBins - 1 of the histogram took part
  double Cost = 0;
};

// Fits bins[0 .. nBins), bin i covering [i w, (i + 1) w), with a sum of Gaussians
// centred at S, 2 S, ... of one width (at most 0.45 S, so the peaks stay apart) and
// free non-negative areas, plus the zero-step peak: distances are lengths in the
// plane, so pairs that did not step spread as a Rayleigh curve of the same width.
// Bins are integrated, not sampled, so coarse bins do not bias the step. The step
// is scanned from 2 bins up to half the occupied range (finer bins are merged first)
// and refined by Levenberg-Marquardt; of the candidates the one of least Bayesian
// information wins, so a half step (whose odd peaks stay empty) does not beat the
// true one. False when the histogram is too small or too empty to hold two steps.
bool FitMultiGauss(const float* bins, int32_t nBins, double binWidth, MultiGaussResult& result);

// The fitted count of bin i (the model integrated over the bin).
double MultiGaussBinValue(const MultiGaussResult& fit, int32_t bin, double binWidth);
