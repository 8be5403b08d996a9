#include "stats/MultiGaussFit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

double SumOfSquares(const double* y, const double* f, int32_t n) {
  double sum = 0;
  for (int32_t i = 0; i < n; ++i) {
    const double d = y[i] - f[i];
    sum += d * d;
  }
  return sum;
}

void Clamp(const LmProblem& problem, double* p) {
  for (int32_t j = 0; j < problem.m; ++j) {
    if (problem.lower && p[j] < problem.lower[j]) p[j] = problem.lower[j];
    if (problem.upper && p[j] > problem.upper[j]) p[j] = problem.upper[j];
  }
}

}  // namespace

bool SolveSymmetric(double* A, double* b, int32_t k) {
  // A = L L^T, L kept in the lower triangle.
  for (int32_t j = 0; j < k; ++j) {
    double d = A[j * k + j];
    for (int32_t s = 0; s < j; ++s) d -= A[j * k + s] * A[j * k + s];
    if (!(d > 0) || !std::isfinite(d)) return false;
    const double l = std::sqrt(d);
    A[j * k + j] = l;
    for (int32_t i = j + 1; i < k; ++i) {
      double v = A[i * k + j];
      for (int32_t s = 0; s < j; ++s) v -= A[i * k + s] * A[j * k + s];
      A[i * k + j] = v / l;
    }
  }
  for (int32_t i = 0; i < k; ++i) {
    double v = b[i];
    for (int32_t s = 0; s < i; ++s) v -= A[i * k + s] * b[s];
    b[i] = v / A[i * k + i];
  }
  for (int32_t i = k - 1; i >= 0; --i) {
    double v = b[i];
    for (int32_t s = i + 1; s < k; ++s) v -= A[s * k + i] * b[s];
    b[i] = v / A[i * k + i];
  }
  return true;
}

LmResult LevenbergMarquardt(const LmProblem& problem, double* p) {
  LmResult result;
  const int32_t n = problem.n, m = problem.m;
  if (n <= 0 || m <= 0 || !problem.evaluate || !problem.y) return result;
  std::vector<double> f(n), trialF(n), J(static_cast<size_t>(n) * m), A(static_cast<size_t>(m) * m),
      M(static_cast<size_t>(m) * m), g(m), delta(m), trial(m);
  std::vector<int32_t> nonZero(m);

  Clamp(problem, p);
  problem.evaluate(p, f.data(), J.data());
  double cost = SumOfSquares(problem.y, f.data(), n);
  result.Cost = cost;
  if (!std::isfinite(cost)) return result;

  double lambda = 1e-3;
  for (int32_t iteration = 0; iteration < problem.maxIterations; ++iteration) {
    result.Iterations = iteration + 1;
    // Normal equations J^T J and J^T r; most rows touch only a few parameters.
    std::fill(A.begin(), A.end(), 0.0);
    std::fill(g.begin(), g.end(), 0.0);
    for (int32_t i = 0; i < n; ++i) {
      const double* row = &J[static_cast<size_t>(i) * m];
      int32_t count = 0;
      for (int32_t j = 0; j < m; ++j)
        if (row[j] != 0) nonZero[count++] = j;
      const double r = problem.y[i] - f[i];
      for (int32_t a = 0; a < count; ++a) {
        const int32_t ja = nonZero[a];
        g[ja] += row[ja] * r;
        for (int32_t b = a; b < count; ++b) A[ja * m + nonZero[b]] += row[ja] * row[nonZero[b]];
      }
    }
    double maxDiagonal = 0;
    for (int32_t j = 0; j < m; ++j) {
      for (int32_t k = j + 1; k < m; ++k) A[k * m + j] = A[j * m + k];
      maxDiagonal = std::max(maxDiagonal, A[j * m + j]);
    }
    // A parameter the data do not see still gets a little damping, so the system stays solvable.
    const double floorDiagonal = maxDiagonal > 0 ? maxDiagonal * 1e-12 : 1e-30;

    bool improved = false;
    double gain = 0;
    while (lambda <= 1e12) {
      M = A;
      for (int32_t j = 0; j < m; ++j)
        M[j * m + j] += lambda * std::max(A[j * m + j], floorDiagonal) + floorDiagonal;
      delta = g;
      if (SolveSymmetric(M.data(), delta.data(), m)) {
        for (int32_t j = 0; j < m; ++j) trial[j] = p[j] + delta[j];
        Clamp(problem, trial.data());
        problem.evaluate(trial.data(), trialF.data(), nullptr);
        const double trialCost = SumOfSquares(problem.y, trialF.data(), n);
        if (std::isfinite(trialCost) && trialCost < cost) {
          gain = (cost - trialCost) / cost;
          std::copy(trial.begin(), trial.end(), p);
          cost = trialCost;
          lambda = std::max(lambda / 3, 1e-15);
          improved = true;
          break;
        }
      }
      lambda *= 4;
    }
    if (!improved) {
      result.Converged = true;  // no step lowers the cost any more
      break;
    }
    problem.evaluate(p, f.data(), J.data());
    if (cost == 0 || gain < 1e-12) {
      result.Converged = true;
      break;
    }
  }
  result.Cost = cost;
  return result;
}

// --- Gaussians on multiples of one step

namespace {

// Peaks reach this many widths into their neighbours' bins; beyond that they add nothing.
constexpr double kReach = 8.0;
// Peaks wider than this share of the step merge into a smooth curve that fits any
// histogram, and the step is no longer seen: the width stays below it.
constexpr double kMaxRelativeWidth = 0.45;
constexpr double kMinRelativeWidth = 0.01;
constexpr double kInvSqrt2 = 0.70710678118654752440;
constexpr double kInvSqrt2Pi = 0.39894228040143267794;

double Phi(double z) { return 0.5 * std::erfc(-z * kInvSqrt2); }
double Density(double z) { return kInvSqrt2Pi * std::exp(-0.5 * z * z); }

// The bins a peak centred at `centre` reaches, clipped to [0, nBins).
void PeakBins(double centre, double width, double binWidth, int32_t nBins, int32_t& lo,
              int32_t& hi) {
  const double first = std::floor((centre - kReach * width) / binWidth);
  const double last = std::floor((centre + kReach * width) / binWidth);
  lo = first < 0 ? 0 : (first >= nBins ? nBins : static_cast<int32_t>(first));
  hi = last < 0 ? -1 : (last >= nBins ? nBins - 1 : static_cast<int32_t>(last));
}

int32_t PeaksFor(double range, double step, double width) {
  const double k = std::floor((range + 3 * width) / step) + 1;
  if (!(k >= 2)) return 2;
  return k > kMaxGaussPeaks ? kMaxGaussPeaks : static_cast<int32_t>(k);
}

// The share of peak k that falls in [x0, x1), and its derivatives by the step and the
// width. Peaks k >= 1 are Gaussians at k * step. Distances are lengths in the plane,
// so the zero-step peak of a 2-D Gaussian spread is a Rayleigh curve of the same width.
double PeakMass(int32_t k, double step, double width, double x0, double x1, double* byStep,
                double* byWidth) {
  if (k == 0) {
    const double e0 = std::exp(-x0 * x0 / (2 * width * width));
    const double e1 = std::exp(-x1 * x1 / (2 * width * width));
    if (byStep) *byStep = 0;
    if (byWidth) *byWidth = (e0 * x0 * x0 - e1 * x1 * x1) / (width * width * width);
    return e0 - e1;
  }
  const double centre = k * step;
  const double z0 = (x0 - centre) / width, z1 = (x1 - centre) / width;
  const double d0 = Density(z0), d1 = Density(z1);
  if (byStep) *byStep = k * (d0 - d1) / width;
  if (byWidth) *byWidth = (z0 * d0 - z1 * d1) / width;
  return Phi(z1) - Phi(z0);
}

struct StepModel {
  const double* y;
  int32_t n;
  double w;
  int32_t peaks;

  // p = {step, width / step, area 0, area 1, ...}: the width is held relative to the
  // step, so that a bound on it keeps the peaks apart.
  void Evaluate(const double* p, double* f, double* J) const {
    const int32_t m = peaks + 2;
    std::fill(f, f + n, 0.0);
    if (J) std::fill(J, J + static_cast<size_t>(n) * m, 0.0);
    const double step = p[0], width = p[1] * p[0];
    for (int32_t k = 0; k < peaks; ++k) {
      const double centre = k * step, area = p[2 + k];
      int32_t lo, hi;
      PeakBins(centre, width, w, n, lo, hi);
      for (int32_t i = lo; i <= hi; ++i) {
        double byStep, byWidth;
        const double mass =
            PeakMass(k, step, width, i * w, (i + 1) * w, J ? &byStep : nullptr, J ? &byWidth : nullptr);
        f[i] += area * mass;
        if (J) {
          double* row = J + static_cast<size_t>(i) * m;
          row[0] += area * byStep;
          row[1] += area * byWidth;
          row[2 + k] = mass;
        }
      }
    }
    if (!J) return;
    // Rows were filled for (step, width); turn them into (step, width / step).
    for (int32_t i = 0; i < n; ++i) {
      double* row = J + static_cast<size_t>(i) * m;
      const double byWidth = row[1];
      row[0] += byWidth * p[1];
      row[1] = byWidth * step;
    }
  }
};

// Least-squares areas (kept non-negative) for a fixed step and width; returns the cost.
double BestAreas(const StepModel& model, double step, double width, double* areas,
                 std::vector<double>& columns, std::vector<int32_t>& lo, std::vector<int32_t>& hi) {
  const int32_t K = model.peaks, n = model.n;
  const double w = model.w;
  columns.assign(static_cast<size_t>(K) * n, 0.0);
  lo.assign(K, 0);
  hi.assign(K, -1);
  for (int32_t k = 0; k < K; ++k) {
    PeakBins(k * step, width, w, n, lo[k], hi[k]);
    for (int32_t i = lo[k]; i <= hi[k]; ++i)
      columns[static_cast<size_t>(k) * n + i] =
          PeakMass(k, step, width, i * w, (i + 1) * w, nullptr, nullptr);
  }
  std::vector<double> normal(static_cast<size_t>(K) * K, 0.0), rhs(K, 0.0);
  for (int32_t k = 0; k < K; ++k) {
    const double* ck = &columns[static_cast<size_t>(k) * n];
    for (int32_t i = lo[k]; i <= hi[k]; ++i) rhs[k] += ck[i] * model.y[i];
    for (int32_t l = k; l < K; ++l) {
      const double* cl = &columns[static_cast<size_t>(l) * n];
      double s = 0;
      for (int32_t i = std::max(lo[k], lo[l]); i <= std::min(hi[k], hi[l]); ++i) s += ck[i] * cl[i];
      normal[k * K + l] = normal[l * K + k] = s;
    }
  }
  double maxDiagonal = 0;
  for (int32_t k = 0; k < K; ++k) maxDiagonal = std::max(maxDiagonal, normal[k * K + k]);
  const double ridge = maxDiagonal > 0 ? maxDiagonal * 1e-10 : 1e-30;

  // Peaks whose best area comes out negative are held at 0 and the rest solved again.
  std::vector<char> active(K, 1);
  std::vector<int32_t> index;
  std::vector<double> sub, b;
  for (int32_t round = 0; round <= K; ++round) {
    index.clear();
    for (int32_t k = 0; k < K; ++k)
      if (active[k]) index.push_back(k);
    const int32_t s = static_cast<int32_t>(index.size());
    std::fill(areas, areas + K, 0.0);
    if (s == 0) break;
    sub.assign(static_cast<size_t>(s) * s, 0.0);
    b.assign(s, 0.0);
    for (int32_t a = 0; a < s; ++a) {
      b[a] = rhs[index[a]];
      for (int32_t c = 0; c < s; ++c) sub[a * s + c] = normal[index[a] * K + index[c]];
      sub[a * s + a] += ridge;
    }
    if (!SolveSymmetric(sub.data(), b.data(), s)) break;
    bool negative = false;
    for (int32_t a = 0; a < s; ++a) {
      if (b[a] < 0) {
        active[index[a]] = 0;
        negative = true;
      } else {
        areas[index[a]] = b[a];
      }
    }
    if (!negative) break;
  }

  std::vector<double> f(n, 0.0);
  for (int32_t k = 0; k < K; ++k)
    for (int32_t i = lo[k]; i <= hi[k]; ++i) f[i] += areas[k] * columns[static_cast<size_t>(k) * n + i];
  return SumOfSquares(model.y, f.data(), n);
}

struct Candidate {
  double step, width, cost;  // cost: the information score of the fit
};

}  // namespace

bool FitMultiGauss(const float* bins, int32_t nBins, double binWidth, MultiGaussResult& result) {
  result = MultiGaussResult{};
  if (!bins || nBins <= 0 || !(binWidth > 0) || !std::isfinite(binWidth)) return false;
  double total = 0;
  int32_t filled = 0;
  for (int32_t i = 0; i < nBins; ++i) {
    if (!std::isfinite(bins[i]) || bins[i] < 0) return false;
    total += bins[i];
    if (bins[i] > 0) ++filled;
  }
  if (!(total > 0) || filled < 3) return false;

  // Fit up to where 99.5 % of the distances are counted, and a few bins more.
  int32_t nFit = nBins;
  double running = 0;
  for (int32_t i = 0; i < nBins; ++i) {
    running += bins[i];
    if (running >= 0.995 * total) {
      nFit = std::min(nBins, i + 4);
      break;
    }
  }
  if (nFit < 6) return false;
  // Fine bins over a long range are merged, so the fit never sees more than
  // kMaxGaussFitBins of them; the model is continuous, so the step is unaffected.
  const int32_t merge = (nFit + kMaxGaussFitBins - 1) / kMaxGaussFitBins;
  const double width = binWidth * merge;
  const int32_t nMerged = (nFit + merge - 1) / merge;
  const double range = nMerged * width;
  const double minStep = std::max(2 * width, range / (kMaxGaussPeaks - 2));
  const double maxStep = range / 2;
  if (!(minStep < maxStep)) return false;

  std::vector<double> y(nMerged, 0.0);
  for (int32_t i = 0; i < nMerged * merge && i < nBins; ++i) y[i / merge] += bins[i];
  double sumY2 = 0;
  for (double v : y) sumY2 += v * v;

  // Residuals below this are rounding noise: equal for every candidate.
  const double costFloor = sumY2 * 1e-12 + std::numeric_limits<double>::min();
  // Bayesian information of a fit: a finer comb always fits a little better, so
  // each peak it adds has to pay for itself.
  const auto score = [&](double cost, int32_t peaks) {
    return nMerged * std::log(std::max(cost, costFloor) / nMerged) +
           (peaks + 2) * std::log(static_cast<double>(nMerged));
  };

  // Coarse scan: for each step the best of a few widths, areas by least squares.
  static constexpr double kWidthFractions[] = {0.06, 0.1, 0.15, 0.22, 0.3, 0.4};
  std::vector<Candidate> scan;
  std::vector<double> columns, areas(kMaxGaussPeaks);
  std::vector<int32_t> lo, hi;
  for (double step = minStep; step <= maxStep * 1.0000001; step *= 1.015) {
    Candidate best{step, 0, std::numeric_limits<double>::infinity()};
    for (double fraction : kWidthFractions) {
      const double peakWidth = fraction * step;
      const StepModel model{y.data(), nMerged, width, PeaksFor(range, step, peakWidth)};
      const double cost = score(BestAreas(model, step, peakWidth, areas.data(), columns, lo, hi),
                                model.peaks);
      if (cost < best.cost) best = {step, peakWidth, cost};
    }
    scan.push_back(best);
  }

  // Refine the best local minima of the scan.
  std::vector<Candidate> minima;
  for (size_t s = 0; s < scan.size(); ++s) {
    const bool left = s == 0 || scan[s].cost <= scan[s - 1].cost;
    const bool right = s + 1 == scan.size() || scan[s].cost <= scan[s + 1].cost;
    if (left && right) minima.push_back(scan[s]);
  }
  std::sort(minima.begin(), minima.end(),
            [](const Candidate& a, const Candidate& b) { return a.cost < b.cost; });
  if (minima.size() > 4) minima.resize(4);

  double bestScore = std::numeric_limits<double>::infinity();
  for (const Candidate& start : minima) {
    const StepModel model{y.data(), nMerged, width, PeaksFor(range, start.step, start.width)};
    const int32_t m = model.peaks + 2;
    std::vector<double> p(m), lower(m, 0.0), upper(m, std::numeric_limits<double>::infinity());
    p[0] = start.step;
    p[1] = start.width / start.step;
    BestAreas(model, start.step, start.width, p.data() + 2, columns, lo, hi);
    lower[0] = minStep * 0.8;
    upper[0] = maxStep * 1.25;
    lower[1] = kMinRelativeWidth;
    upper[1] = kMaxRelativeWidth;
    LmProblem problem;
    problem.n = nMerged;
    problem.m = m;
    problem.y = y.data();
    problem.lower = lower.data();
    problem.upper = upper.data();
    problem.maxIterations = 100;
    problem.evaluate = [&model](const double* q, double* f, double* J) { model.Evaluate(q, f, J); };
    const LmResult fit = LevenbergMarquardt(problem, p.data());
    if (!std::isfinite(fit.Cost) || !std::isfinite(p[0]) || !std::isfinite(p[1])) continue;
    const double fitScore = score(fit.Cost, model.peaks);
    if (fitScore < bestScore) {
      bestScore = fitScore;
      result.Step = p[0];
      result.Width = p[1] * p[0];
      result.NPeaks = model.peaks;
      std::fill(result.Area, result.Area + kMaxGaussPeaks, 0.0);
      std::copy(p.begin() + 2, p.end(), result.Area);
      result.FitBins = std::min(nMerged * merge, nBins);
      result.Cost = fit.Cost;
    }
  }
  return std::isfinite(bestScore) && result.Step > 0 && result.Width > 0;
}

double MultiGaussBinValue(const MultiGaussResult& fit, int32_t bin, double binWidth) {
  if (!(fit.Step > 0) || !(fit.Width > 0)) return 0;
  double value = 0;
  for (int32_t k = 0; k < fit.NPeaks && k < kMaxGaussPeaks; ++k) {
    const double centre = k * fit.Step;
    if ((bin + 1) * binWidth < centre - kReach * fit.Width ||
        bin * binWidth > centre + kReach * fit.Width)
      continue;
    value += fit.Area[k] *
             PeakMass(k, fit.Step, fit.Width, bin * binWidth, (bin + 1) * binWidth, nullptr, nullptr);
  }
  return value;
}
