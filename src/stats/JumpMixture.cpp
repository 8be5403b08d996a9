#include "stats/JumpMixture.h"

#include <nlopt.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "stats/JumpLengths.h"
#include "stats/SliceSurvival.h"
#include "stats/ThreadPool.h"

namespace {

constexpr int32_t kK = kMixtureMaxStates;
constexpr int64_t kPieceJumps = 8192;
constexpr double kMinusInf = -std::numeric_limits<double>::infinity();

void CutIntoPieces(JumpClasses& c) {
  c.pieces.clear();
  for (int32_t k = 0; k < c.Classes(); ++k)
    for (int64_t from = c.first[k]; from < c.first[k + 1]; from += kPieceJumps)
      c.pieces.push_back({k, from, std::min(c.first[k + 1], from + kPieceJumps)});
}

// log(1 - exp(-u)) for u > 0: the log of the share of a state's jumps below the cut.
double LogKept(double u) { return u > 0 ? std::log(-std::expm1(-u)) : kMinusInf; }

double LogSumExp(const double* v, int32_t n) {
  double m = kMinusInf;
  for (int32_t i = 0; i < n; ++i) m = std::max(m, v[i]);
  if (m == kMinusInf) return m;
  double s = 0;
  for (int32_t i = 0; i < n; ++i) s += std::exp(v[i] - m);
  return m + std::log(s);
}

// logShare[c * K + i] = log of state i's share of the jumps of class c that the fit sees:
// F_i alone, or, with the slice correction or the cut at maxR2, F_i S_i(end) T_i(lag)
// over the sum of those, S the survival in the slice and T the share of a state's jumps
// below the cut. The fractions F thus stay those of all jumps the states make.
void LogShares(const JumpClasses& classes, const MixtureSetup& setup, const MixtureModel& m,
               std::vector<double>& logShare) {
  const int32_t K = m.K, C = classes.Classes();
  logShare.assign(static_cast<size_t>(C) * K, 0.0);
  double logF[kK];
  for (int32_t i = 0; i < K; ++i) logF[i] = m.F[i] > 0 ? std::log(m.F[i]) : kMinusInf;
  const bool slab = setup.survival && K > 1 && setup.survival->MaxFrames() >= classes.maxEnd;
  const bool cut = setup.maxR2 > 0 && K > 1;
  std::vector<double> logS[kK];
  if (slab)
    for (int32_t i = 0; i < K; ++i) {
      logS[i].resize(static_cast<size_t>(setup.survival->MaxFrames()) + 1);
      setup.survival->LogSurvival(m.D[i], logS[i].data());
    }
  for (int32_t c = 0; c < C; ++c) {
    double* out = &logShare[static_cast<size_t>(c) * K];
    for (int32_t i = 0; i < K; ++i) {
      out[i] = logF[i];
      if (slab) out[i] += logS[i][classes.end[c]];
      if (cut) out[i] += LogKept(setup.maxR2 / (4 * (m.D[i] * classes.lag[c] * setup.dT + m.s)));
    }
    if (!slab && !cut) continue;
    const double norm = LogSumExp(out, K);
    // A class no state can reach (every share underflows) keeps the plain fractions.
    for (int32_t i = 0; i < K; ++i) out[i] = norm > kMinusInf ? out[i] - norm : logF[i];
  }
}

// --- the M step's objectives

// The part of minus the expected log-likelihood that depends on D and sigma², from the
// per-lag, per-state sums: sum of W log a + X / (4 a) + W log(kept share).
struct SpreadTerms {
  int32_t K = 1, lags = 0;
  const double* W = nullptr;  // [lag * K + i], lag from 1
  const double* X = nullptr;
  double dT = 0, maxR2 = 0;

  double Value(const double* D, double s, double* dD, double* ds) const {
    double value = 0;
    if (dD) std::fill(dD, dD + K, 0.0);
    if (ds) *ds = 0;
    for (int32_t l = 1; l <= lags; ++l) {
      const double t = l * dT;
      for (int32_t i = 0; i < K; ++i) {
        const double w = W[l * K + i], x = X[l * K + i];
        if (w <= 0) continue;
        const double a = D[i] * t + s;
        double term = w * std::log(a) + x / (4 * a), slope = w / a - x / (4 * a * a);
        if (maxR2 > 0) {
          const double u = maxR2 / (4 * a);
          term += w * LogKept(u);
          slope -= w * (u / a) / std::expm1(u);
        }
        value += term;
        if (dD) dD[i] += slope * t;
        if (ds) *ds += slope;
      }
    }
    return value;
  }
};

struct SpreadProblem {
  SpreadTerms terms;
  double Dscale = 1, sScale = 1;
  bool fitSigma = true;
  double sFixed = 0;
};

double SpreadObjective(unsigned n, const double* y, double* grad, void* data) {
  const SpreadProblem& p = *static_cast<const SpreadProblem*>(data);
  const int32_t K = p.terms.K;
  double D[kK], dD[kK], ds = 0;
  for (int32_t i = 0; i < K; ++i) D[i] = y[i] * p.Dscale;
  const double s = p.fitSigma ? y[K] * p.sScale : p.sFixed;
  const double value = p.terms.Value(D, s, grad ? dD : nullptr, grad ? &ds : nullptr);
  if (grad) {
    for (int32_t i = 0; i < K; ++i) grad[i] = dD[i] * p.Dscale;
    if (n > static_cast<unsigned>(K)) grad[K] = ds * p.sScale;
  }
  return std::isfinite(value) ? value : std::numeric_limits<double>::max();
}

// With the slice correction or the cut the shares depend on D and sigma² too, so
// fractions, D and sigma² are found together (fractions as stick-breaking shares, each
// in [0, 1]).
struct JointProblem {
  SpreadProblem spread;
  const JumpClasses* classes = nullptr;
  const MixtureSetup* setup = nullptr;
  const double* Wc = nullptr;  // [class * K + i]
  std::vector<double> logShare;
};

void SticksToFractions(const double* v, int32_t K, double* F) {
  double left = 1;
  for (int32_t i = 0; i + 1 < K; ++i) {
    F[i] = left * v[i];
    left -= F[i];
  }
  F[K - 1] = std::max(left, 0.0);
}

void FractionsToSticks(const double* F, int32_t K, double* v) {
  double left = 1;
  for (int32_t i = 0; i + 1 < K; ++i) {
    v[i] = left > 1e-300 ? std::clamp(F[i] / left, 0.0, 1.0) : 0.5;
    left -= F[i];
  }
}

double JointObjective(unsigned, const double* y, double*, void* data) {
  JointProblem& p = *static_cast<JointProblem*>(data);
  const int32_t K = p.spread.terms.K;
  MixtureModel m;
  m.K = K;
  SticksToFractions(y, K, m.F);
  for (int32_t i = 0; i < K; ++i) m.D[i] = y[K - 1 + i] * p.spread.Dscale;
  m.s = p.spread.fitSigma ? y[2 * K - 1] * p.spread.sScale : p.spread.sFixed;
  double value = p.spread.terms.Value(m.D, m.s, nullptr, nullptr);
  LogShares(*p.classes, *p.setup, m, p.logShare);
  for (size_t j = 0; j < p.logShare.size(); ++j)
    if (p.Wc[j] > 0) value -= p.Wc[j] * p.logShare[j];
  return std::isfinite(value) ? value : std::numeric_limits<double>::max();
}

void RunNlopt(nlopt_algorithm algorithm, unsigned n, nlopt_func f, void* data, const double* lo,
              const double* hi, const double* step, double* y) {
  nlopt_opt opt = nlopt_create(algorithm, n);
  if (!opt) return;
  nlopt_set_lower_bounds(opt, lo);
  nlopt_set_upper_bounds(opt, hi);
  nlopt_set_min_objective(opt, f, data);
  nlopt_set_xtol_rel(opt, 1e-10);
  nlopt_set_maxeval(opt, 3000);
  if (step) nlopt_set_initial_step(opt, step);
  for (unsigned j = 0; j < n; ++j) y[j] = std::clamp(y[j], lo[j], hi[j]);
  const double start = f(n, y, nullptr, data);
  double best = start;
  std::vector<double> trial(y, y + n);
  // NLopt leaves its best point even when it stops early (roundoff, evaluation limit);
  // it is taken when it is no worse than the start, so the EM step never loses ground.
  nlopt_optimize(opt, trial.data(), &best);
  bool finite = std::isfinite(best);
  for (double v : trial) finite &= std::isfinite(v);
  if (finite && best <= start) std::copy(trial.begin(), trial.end(), y);
  nlopt_destroy(opt);
}

// --- SQUAREM on the scaled parameter vector

struct Packed {
  int32_t n = 0;
  double v[2 * kK + 1] = {};
};

}  // namespace

JumpClasses GroupJumps(const JumpSet& jumps, bool byEnd, double maxR2) {
  JumpClasses c;
  const int64_t N = std::min({jumps.size(), static_cast<int64_t>(jumps.track.size()),
                              static_cast<int64_t>(jumps.lag.size()),
                              static_cast<int64_t>(jumps.endPoint.size())});
  const int32_t lags = std::clamp(jumps.maxLag, 1, kMaxJumpLag);
  // A set not made by CollectJumps may hold anything: such jumps are left out.
  auto kept = [&](int64_t j) {
    const double r2 = jumps.squared[j];
    return jumps.lag[j] >= 1 && jumps.lag[j] <= lags && jumps.track[j] >= 0 &&
           jumps.track[j] < jumps.tracksGiven && jumps.endPoint[j] >= 0 && r2 >= 0 &&
           std::isfinite(r2) && (maxR2 <= 0 || r2 <= maxR2);
  };
  // Past this end point the survival only keeps decaying at its last rate: such jumps
  // share the last class.
  constexpr int32_t kEndCap = 4096;
  auto endOf = [&](int64_t j) { return byEnd ? std::min(jumps.endPoint[j], kEndCap) : 0; };
  int32_t maxEnd = 0;
  for (int64_t j = 0; j < N; ++j)
    if (kept(j)) maxEnd = std::max(maxEnd, endOf(j));
  c.maxEnd = maxEnd;
  const int64_t ends = int64_t{maxEnd} + 1;
  auto key = [&](int64_t j) { return (jumps.lag[j] - 1) * ends + endOf(j); };
  // Counting sort by class keeps the given order within a class.
  std::vector<int64_t> count(static_cast<size_t>(lags * ends) + 1, 0);
  for (int64_t j = 0; j < N; ++j)
    if (kept(j)) ++count[static_cast<size_t>(key(j)) + 1];
  std::vector<int64_t> classOf(count.size(), -1);
  int64_t total = 0;
  for (size_t k = 1; k < count.size(); ++k) {
    if (count[k] == 0) continue;
    classOf[k - 1] = c.Classes();
    c.lag.push_back(static_cast<int32_t>((k - 1) / ends) + 1);
    c.end.push_back(static_cast<int32_t>((k - 1) % ends));
    c.first.push_back(total);
    const int64_t n = count[k];
    count[k] = total;  // becomes the write position
    total += n;
  }
  c.first.push_back(total);
  c.r2.resize(static_cast<size_t>(total));
  c.track.resize(static_cast<size_t>(total));
  for (int64_t j = 0; j < N; ++j) {
    if (!kept(j)) continue;
    const int64_t at = count[static_cast<size_t>(key(j)) + 1]++;
    c.r2[at] = jumps.squared[j];
    c.track[at] = jumps.track[j];
  }
  CutIntoPieces(c);
  return c;
}

JumpClasses Subsample(const JumpClasses& all, int64_t stride) {
  JumpClasses c;
  c.lag = all.lag;
  c.end = all.end;
  c.maxEnd = all.maxEnd;
  stride = std::max<int64_t>(stride, 1);
  for (int32_t k = 0; k < all.Classes(); ++k) {
    c.first.push_back(c.Jumps());
    for (int64_t j = all.first[k]; j < all.first[k + 1]; j += stride) {
      c.r2.push_back(all.r2[j]);
      c.track.push_back(all.track[j]);
    }
  }
  c.first.push_back(c.Jumps());
  CutIntoPieces(c);
  return c;
}

double StateJumpDensity(double r, double a, double maxR2) {
  if (!(r >= 0) || !(a > 0) || (maxR2 > 0 && r * r > maxR2)) return 0;
  const double k = 1 / (4 * a);
  const double kept = maxR2 > 0 ? -std::expm1(-maxR2 * k) : 1.0;
  return kept > 0 ? 2 * r * k * std::exp(-r * r * k) / kept : 0;
}

void MixtureFitter::ClassLogShares(const MixtureModel& model, std::vector<double>& logShare) const {
  LogShares(classes_, setup_, model, logShare);
}

namespace {

struct PieceSums {
  double ll = 0, n = 0, W[kK] = {}, X[kK] = {};
};

// Per class: the states that take part, their k = 1 / (4 a), the log of their weight in
// the density of r² (share x k / kept share), and the state of largest a, factored out
// of every jump's sum so that one exponential fewer is needed and the sum never
// underflows.
struct ClassTerms {
  int32_t n = 0;
  int32_t idx[kK];
  double k[kK], logc[kK];
  int32_t top = 0;
  double ratio[kK], dk[kK];  // relative to top
  bool factored = true;
};

ClassTerms MakeTerms(const MixtureModel& m, double t, const MixtureSetup& setup,
                     const double* logShare) {
  ClassTerms c;
  double bestA = -1;
  for (int32_t i = 0; i < m.K; ++i) {
    if (logShare[i] == kMinusInf) continue;
    const double a = m.D[i] * t + m.s;
    const double k = 1 / (4 * a);
    const double logKept = setup.maxR2 > 0 ? LogKept(setup.maxR2 * k) : 0.0;
    c.idx[c.n] = i;
    c.k[c.n] = k;
    c.logc[c.n] = logShare[i] + std::log(k) - logKept;
    if (a > bestA) {
      bestA = a;
      c.top = c.n;
    }
    ++c.n;
  }
  for (int32_t j = 0; j < c.n; ++j) {
    c.ratio[j] = std::exp(c.logc[j] - c.logc[c.top]);
    c.dk[j] = c.k[j] - c.k[c.top];
    if (!(c.ratio[j] < 1e280)) c.factored = false;
  }
  return c;
}

template <bool Weighted>
void SumPiece(const JumpClasses& cl, const JumpClasses::Piece& p, const ClassTerms& c,
              const int32_t* weights, PieceSums& out) {
  double ll = 0, n = 0, W[kK] = {}, X[kK] = {};
  const int32_t top = c.top;
  for (int64_t j = p.from; j < p.to; ++j) {
    double w = 1;
    if constexpr (Weighted) {
      w = weights[cl.track[j]];
      if (w == 0) continue;
    }
    const double x = cl.r2[j];
    double v[kK];
    double f = 0, logBase = 0;
    if (c.factored) {
      // f = sum of ratio_j exp(-x dk_j), at least 1 (the top state's own term).
      for (int32_t s = 0; s < c.n; ++s) {
        v[s] = s == top ? 1.0 : c.ratio[s] * std::exp(-x * c.dk[s]);
        f += v[s];
      }
      logBase = c.logc[top] - x * c.k[top];
    } else {
      double e[kK], m = kMinusInf;
      for (int32_t s = 0; s < c.n; ++s) m = std::max(m, e[s] = c.logc[s] - x * c.k[s]);
      for (int32_t s = 0; s < c.n; ++s) f += v[s] = std::exp(e[s] - m);
      logBase = m;
    }
    const double inv = 1 / f;
    ll += w * (logBase + std::log(f));
    n += w;
    for (int32_t s = 0; s < c.n; ++s) {
      const double g = w * v[s] * inv;
      W[s] += g;
      X[s] += g * x;
    }
  }
  out.ll = ll;
  out.n = n;
  for (int32_t s = 0; s < c.n; ++s) {
    out.W[c.idx[s]] = W[s];
    out.X[c.idx[s]] = X[s];
  }
}

}  // namespace

void MixtureFitter::EStep(const MixtureModel& model, const int32_t* trackWeights,
                          ThreadPool* pool, Sums& sums) const {
  const int32_t K = model.K, C = classes_.Classes();
  std::vector<double> logShare;
  ClassLogShares(model, logShare);
  std::vector<ClassTerms> terms(static_cast<size_t>(C));
  for (int32_t c = 0; c < C; ++c)
    terms[c] = MakeTerms(model, classes_.lag[c] * setup_.dT, setup_, &logShare[size_t(c) * K]);

  const int64_t P = static_cast<int64_t>(classes_.pieces.size());
  std::vector<PieceSums> piece(static_cast<size_t>(P));
  auto run = [&](int64_t from, int64_t to, unsigned) {
    for (int64_t q = from; q < to; ++q) {
      const JumpClasses::Piece& p = classes_.pieces[q];
      if (trackWeights)
        SumPiece<true>(classes_, p, terms[p.cls], trackWeights, piece[q]);
      else
        SumPiece<false>(classes_, p, terms[p.cls], nullptr, piece[q]);
    }
  };
  if (pool && pool->Threaded() && P > 1)
    pool->ParallelFor(0, P, 1, run);
  else
    run(0, P, 0);

  sums.logLikelihood = 0;
  sums.n.assign(static_cast<size_t>(C), 0.0);
  sums.W.assign(static_cast<size_t>(C) * K, 0.0);
  sums.X.assign(static_cast<size_t>(C) * K, 0.0);
  for (int64_t q = 0; q < P; ++q) {  // fixed order: the same sums on any number of threads
    const PieceSums& s = piece[q];
    const int32_t c = classes_.pieces[q].cls;
    sums.logLikelihood += s.ll;
    sums.n[c] += s.n;
    for (int32_t i = 0; i < K; ++i) {
      sums.W[size_t(c) * K + i] += s.W[i];
      sums.X[size_t(c) * K + i] += s.X[i];
    }
  }
}

void MixtureFitter::MStep(const Sums& sums, MixtureModel& m) const {
  const int32_t K = m.K, C = classes_.Classes();
  int32_t lags = 0;
  for (int32_t c = 0; c < C; ++c) lags = std::max(lags, classes_.lag[c]);
  std::vector<double> W(static_cast<size_t>(lags + 1) * K, 0.0), X(W.size(), 0.0);
  double total = 0, perState[kK] = {};
  for (int32_t c = 0; c < C; ++c) {
    total += sums.n[c];
    for (int32_t i = 0; i < K; ++i) {
      W[size_t(classes_.lag[c]) * K + i] += sums.W[size_t(c) * K + i];
      X[size_t(classes_.lag[c]) * K + i] += sums.X[size_t(c) * K + i];
      perState[i] += sums.W[size_t(c) * K + i];
    }
  }
  if (!(total > 0)) return;

  SpreadProblem spread;
  spread.terms = {K, lags, W.data(), X.data(), setup_.dT, setup_.maxR2};
  spread.Dscale = setup_.aRef / setup_.dT;
  spread.sScale = setup_.aRef;
  spread.fitSigma = setup_.fitSigma;
  spread.sFixed = m.s;
  const bool joint = (setup_.survival || setup_.maxR2 > 0) && K > 1;

  // Variables: [sticks (joint only)], D / Dscale, [sigma² / sScale].
  double y[2 * kK + 1], lo[2 * kK + 1], hi[2 * kK + 1], step[2 * kK + 1];
  int32_t n = 0;
  if (joint) {
    FractionsToSticks(m.F, K, y);
    for (; n < K - 1; ++n) {
      lo[n] = 0;
      hi[n] = 1;
      step[n] = 0.02;
    }
  } else {
    for (int32_t i = 0; i < K; ++i) m.F[i] = perState[i] / total;
  }
  for (int32_t i = 0; i < K; ++i, ++n) {
    y[n] = m.D[i] / spread.Dscale;
    lo[n] = 0;
    hi[n] = setup_.DMax / spread.Dscale;
    step[n] = 0.1 * y[n] + 1e-3;
  }
  if (setup_.fitSigma) {
    y[n] = m.s / spread.sScale;
    lo[n] = setup_.sMin / spread.sScale;
    hi[n] = setup_.sMax / spread.sScale;
    step[n] = 0.1 * y[n] + 1e-4;
    ++n;
  }

  if (joint) {
    JointProblem p{spread, &classes_, &setup_, sums.W.data(), {}};
    RunNlopt(NLOPT_LN_BOBYQA, static_cast<unsigned>(n), JointObjective, &p, lo, hi, step, y);
    SticksToFractions(y, K, m.F);
  } else {
    RunNlopt(NLOPT_LD_LBFGS, static_cast<unsigned>(n), SpreadObjective, &spread, lo, hi, nullptr,
             y);
  }
  const int32_t d0 = joint ? K - 1 : 0;
  for (int32_t i = 0; i < K; ++i) m.D[i] = std::clamp(y[d0 + i] * spread.Dscale, 0.0, setup_.DMax);
  if (setup_.fitSigma) m.s = std::clamp(y[d0 + K] * spread.sScale, setup_.sMin, setup_.sMax);
}

namespace {

Packed Pack(const MixtureModel& m, const MixtureSetup& setup) {
  Packed p;
  for (int32_t i = 0; i < m.K; ++i) p.v[p.n++] = m.F[i];
  for (int32_t i = 0; i < m.K; ++i) p.v[p.n++] = m.D[i] * setup.dT / setup.aRef;
  p.v[p.n++] = m.s / setup.aRef;
  return p;
}

// Back into a model, pulled into the bounds (an extrapolated step may leave them).
MixtureModel Unpack(const Packed& p, int32_t K, const MixtureSetup& setup, double sFixed) {
  MixtureModel m;
  m.K = K;
  double sum = 0;
  for (int32_t i = 0; i < K; ++i) sum += m.F[i] = std::max(p.v[i], 0.0);
  for (int32_t i = 0; i < K; ++i) m.F[i] = sum > 0 ? m.F[i] / sum : 1.0 / K;
  for (int32_t i = 0; i < K; ++i)
    m.D[i] = std::clamp(p.v[K + i] * setup.aRef / setup.dT, 0.0, setup.DMax);
  m.s = setup.fitSigma ? std::clamp(p.v[2 * K] * setup.aRef, setup.sMin, setup.sMax) : sFixed;
  for (int32_t i = 0; i < K; ++i)
    if (!std::isfinite(m.D[i])) m.D[i] = 0;
  if (!std::isfinite(m.s)) m.s = setup.sMin;
  return m;
}

double RelativeMove(const Packed& from, const Packed& to) {
  double worst = 0;
  for (int32_t j = 0; j < from.n; ++j)
    worst = std::max(worst, std::abs(to.v[j] - from.v[j]) / std::max(std::abs(from.v[j]), 1e-3));
  return worst;
}

}  // namespace

double MixtureFitter::Fit(MixtureModel& model, const int32_t* trackWeights, ThreadPool* pool,
                          const Limits& limits) const {
  const int32_t K = model.K;
  const double sFixed = model.s;
  Sums sums;
  // One EM step from m: its log-likelihood, and the model it leads to.
  auto step = [&](const MixtureModel& m, MixtureModel& next) {
    EStep(m, trackWeights, pool, sums);
    next = m;
    MStep(sums, next);
    return sums.logLikelihood;
  };
  MixtureModel m0 = Unpack(Pack(model, setup_), K, setup_, sFixed), m1, m2, m3;
  double llBefore = kMinusInf, ll = kMinusInf;
  bool known = false;  // ll belongs to m0
  for (int32_t cycle = 0; cycle < limits.cycles; ++cycle) {
    const double llStart = step(m0, m1);
    // Each cycle ends at least as high as it started, so a small rise means the top.
    if (llStart - llBefore < limits.gain) {
      ll = llStart;
      known = true;
      break;
    }
    llBefore = llStart;
    const double ll1 = step(m1, m2);
    const Packed p0 = Pack(m0, setup_), p1 = Pack(m1, setup_), p2 = Pack(m2, setup_);
    Packed r, v, x;
    r.n = v.n = x.n = p0.n;
    double rn = 0, vn = 0;
    for (int32_t j = 0; j < p0.n; ++j) {
      r.v[j] = p1.v[j] - p0.v[j];
      v.v[j] = p2.v[j] - p1.v[j] - r.v[j];
      rn += r.v[j] * r.v[j];
      vn += v.v[j] * v.v[j];
    }
    MixtureModel next = m2;
    if (vn > 0 && rn > 0) {
      const double alpha = std::min(-std::sqrt(rn / vn), -1.0);
      for (int32_t j = 0; j < p0.n; ++j)
        x.v[j] = p0.v[j] - 2 * alpha * r.v[j] + alpha * alpha * v.v[j];
      const MixtureModel jumped = Unpack(x, K, setup_, sFixed);
      const double llJumped = step(jumped, m3);
      // EM never loses likelihood; the extrapolation may, and is then dropped.
      if (std::isfinite(llJumped) && llJumped >= ll1) next = m3;
    }
    const bool done = RelativeMove(p0, Pack(next, setup_)) < limits.move;
    m0 = next;
    if (done) break;
  }
  if (!known) {
    EStep(m0, trackWeights, pool, sums);
    ll = sums.logLikelihood;
  }
  model = m0;
  return ll;
}
