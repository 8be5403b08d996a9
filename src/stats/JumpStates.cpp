#include "stats/JumpStates.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "stats/JumpLengths.h"
#include "stats/JumpMixture.h"
#include "stats/SliceSurvival.h"
#include "stats/ThreadPool.h"
#include "store/Numbers.h"

namespace {

// Starts are tried on at most about this many jumps; the best is then refined on all.
constexpr int64_t kStartJumps = 12000;
// A fit stops where a cycle gains less than 1e-3 in log-likelihood, which moves a
// well-determined estimate by a small part of its standard error; only redundant states
// (two splitting one) creep on longer, along a ridge that changes nothing of note.
constexpr MixtureFitter::Limits kStartLimits{1e-5, 1e-3, 200}, kFinalLimits{1e-7, 1e-3, 60},
    kBootstrapLimits{1e-5, 1e-3, 25};
constexpr double kMinSigma2 = 1e-12;  // µm²: a floor that keeps all-zero jumps finite

struct Inputs {
  JumpClasses classes;
  MixtureSetup setup;
  int64_t jumps = 0;
};

MixtureModel SortedBySpeed(MixtureModel m) {
  for (int32_t i = 1; i < m.K; ++i)
    for (int32_t j = i; j > 0 && m.D[j] < m.D[j - 1]; --j) {
      std::swap(m.D[j], m.D[j - 1]);
      std::swap(m.F[j], m.F[j - 1]);
    }
  return m;
}

MixtureModel Model(int32_t K, std::initializer_list<double> F, std::initializer_list<double> D,
                   double s) {
  MixtureModel m;
  m.K = K;
  std::copy(F.begin(), F.end(), m.F);
  std::copy(D.begin(), D.end(), m.D);
  m.s = s;
  return m;
}

// One state from the mean squared jump per lag: a line through mean r² / 4 against t.
MixtureModel OneStateStart(const JumpClasses& c, const MixtureSetup& setup, double fixedS) {
  double st = 0, sa = 0, stt = 0, sta = 0, n = 0;
  for (int32_t k = 0; k < c.Classes(); ++k)
    for (int64_t j = c.first[k]; j < c.first[k + 1]; ++j) {
      const double t = c.lag[k] * setup.dT, a = c.r2[j] / 4.0;
      st += t;
      sa += a;
      stt += t * t;
      sta += t * a;
      n += 1;
    }
  const double det = n * stt - st * st;
  double D = det > 0 ? (n * sta - st * sa) / det : 0, s = n > 0 ? (sa - D * st) / n : 0;
  if (!setup.fitSigma) s = fixedS;
  if (!(D >= 0) || !setup.fitSigma) D = st > 0 ? std::max(sa - n * s, 0.0) / st : 0;
  s = std::clamp(s, setup.sMin, setup.sMax);
  return Model(1, {1}, {std::min(D, setup.DMax)}, s);
}

// The best of several starts on a subsample, refined on every jump.
MixtureModel BestOfStarts(const Inputs& in, const JumpClasses& few, std::vector<MixtureModel> starts,
                          ThreadPool* pool, double& logLikelihood) {
  const MixtureFitter trial(few, in.setup), full(in.classes, in.setup);
  MixtureModel best = starts.front();
  double bestLl = -std::numeric_limits<double>::infinity();
  for (MixtureModel& m : starts) {
    const double ll = trial.Fit(m, nullptr, pool, kStartLimits);
    if (ll > bestLl) {
      bestLl = ll;
      best = m;
    }
  }
  logLikelihood = full.Fit(best, nullptr, pool, kFinalLimits);
  return SortedBySpeed(best);
}

// The model with one state more that describes the jumps exactly as `m` does: its
// fastest state split in two halves.
MixtureModel Split(const MixtureModel& m) {
  MixtureModel more = m;
  more.K = m.K + 1;
  more.F[m.K - 1] = more.F[m.K] = m.F[m.K - 1] / 2;
  more.D[m.K] = m.D[m.K - 1];
  return more;
}

void FillModel(JumpModel& out, const MixtureModel& m, double ll, int64_t jumps, bool sigmaFitted) {
  out.states = m.K;
  for (int32_t i = 0; i < m.K; ++i) {
    out.F[i] = m.F[i];
    out.D[i] = m.D[i];
  }
  out.sigma = std::sqrt(m.s);
  out.logLikelihood = ll;
  out.parameters = 2 * m.K - 1 + (sigmaFitted ? 1 : 0);
  out.bic = out.parameters * std::log(static_cast<double>(jumps)) - 2 * ll;
}

MixtureModel ToMixture(const JumpModel& j) {
  MixtureModel m;
  m.K = j.states;
  for (int32_t i = 0; i < m.K; ++i) {
    m.F[i] = j.F[i];
    m.D[i] = j.D[i];
  }
  m.s = j.sigma * j.sigma;
  return m;
}

// Curves at the shown lag: the classes of that lag, each with its own state shares
// when the slice correction is on.
void FillCurves(JumpModel& out, const Inputs& in, int32_t lag, const std::vector<double>& centres) {
  const MixtureModel m = ToMixture(out);
  const MixtureFitter fitter(in.classes, in.setup);
  std::vector<double> logShare;
  fitter.ClassLogShares(m, logShare);
  double share[kMaxJumpStates] = {}, total = 0;
  for (int32_t c = 0; c < in.classes.Classes(); ++c) {
    if (in.classes.lag[c] != lag) continue;
    const double n = static_cast<double>(in.classes.first[c + 1] - in.classes.first[c]);
    total += n;
    for (int32_t i = 0; i < m.K; ++i) share[i] += n * std::exp(logShare[size_t(c) * m.K + i]);
  }
  out.density.assign(centres.size(), 0.0);
  for (int32_t i = 0; i < kMaxJumpStates; ++i) out.stateDensity[i].clear();
  if (!(total > 0)) return;
  const double t = lag * in.setup.dT;
  for (int32_t i = 0; i < m.K; ++i) {
    out.stateDensity[i].resize(centres.size());
    for (size_t b = 0; b < centres.size(); ++b) {
      const double d =
          share[i] / total * StateJumpDensity(centres[b], m.D[i] * t + m.s, in.setup.maxR2);
      out.stateDensity[i][b] = d;
      out.density[b] += d;
    }
  }
}

// --- bootstrap over tracks

// Uniform index in [0, n) from the engine's bits, without modulo bias and without the
// standard distributions, whose output differs between libraries.
uint64_t UniformIndex(std::mt19937_64& engine, uint64_t n) {
  const uint64_t limit = UINT64_MAX - UINT64_MAX % n;
  uint64_t v;
  do v = engine();
  while (v >= limit);
  return v % n;
}

double Percentile(std::vector<double> v, double q) {
  std::sort(v.begin(), v.end());
  const double at = q * static_cast<double>(v.size() - 1);
  const size_t lo = static_cast<size_t>(at);
  const size_t hi = std::min(lo + 1, v.size() - 1);
  return v[lo] + (at - static_cast<double>(lo)) * (v[hi] - v[lo]);
}

void Bootstrap(JumpFitResult& result, const Inputs& in, int32_t tracksGiven,
               const JumpFitOptions& options) {
  std::vector<int32_t> used;
  {
    std::vector<uint8_t> seen(static_cast<size_t>(tracksGiven), 0);
    for (int32_t t : in.classes.track) seen[t] = 1;
    for (int32_t t = 0; t < tracksGiven; ++t)
      if (seen[t]) used.push_back(t);
  }
  const int32_t B = options.bootstrap;
  if (B <= 0 || used.size() < 2) return;
  const MixtureFitter fitter(in.classes, in.setup);
  // fits[(b * kMaxJumpStates + k) ] holds replicate b's model of k + 1 states.
  std::vector<MixtureModel> fits(static_cast<size_t>(B) * kMaxJumpStates);
  auto replicate = [&](int64_t from, int64_t to, unsigned) {
    std::vector<int32_t> weights(static_cast<size_t>(tracksGiven));
    for (int64_t b = from; b < to; ++b) {
      std::fill(weights.begin(), weights.end(), 0);
      std::mt19937_64 engine(options.seed * 0x9E3779B97F4A7C15ull + static_cast<uint64_t>(b));
      for (size_t draw = 0; draw < used.size(); ++draw)
        ++weights[used[UniformIndex(engine, used.size())]];
      for (int32_t k = 0; k < kMaxJumpStates; ++k) {
        const JumpModel& model = result.models[k];
        if (model.states == 0) continue;
        MixtureModel m = ToMixture(model);
        fitter.Fit(m, weights.data(), nullptr, kBootstrapLimits);
        fits[size_t(b) * kMaxJumpStates + k] = SortedBySpeed(m);
      }
    }
  };
  // In batches, so that progress is told (and a cancel heard) on the calling thread.
  const int64_t batch = options.pool ? 2 * static_cast<int64_t>(options.pool->Slots()) : 1;
  for (int64_t from = 0; from < B; from += batch) {
    const int64_t to = std::min<int64_t>(B, from + batch);
    if (options.pool && options.pool->Threaded())
      options.pool->ParallelFor(from, to, 1, replicate);
    else
      replicate(from, to, 0);
    if (options.progress && !options.progress(0.5 + 0.5 * static_cast<double>(to) / B)) {
      result.cancelled = true;
      return;
    }
  }

  for (int32_t k = 0; k < kMaxJumpStates; ++k) {
    JumpModel& model = result.models[k];
    if (model.states == 0) continue;
    std::vector<double> values(static_cast<size_t>(B));
    auto interval = [&](auto get) {
      for (int32_t b = 0; b < B; ++b) values[b] = get(fits[size_t(b) * kMaxJumpStates + k]);
      return JumpInterval{Percentile(values, 0.025), Percentile(values, 0.975)};
    };
    for (int32_t i = 0; i < model.states; ++i) {
      model.FInterval[i] = interval([i](const MixtureModel& m) { return m.F[i]; });
      model.DInterval[i] = interval([i](const MixtureModel& m) { return m.D[i]; });
    }
    model.sigmaInterval = interval([](const MixtureModel& m) { return std::sqrt(m.s); });
    model.replicates = B;
  }
}

// Three significant figures (whole units from 1000 on), the same in every locale.
std::string Figures(double v) { return FormatFigures(v, 3); }

}  // namespace

std::string JumpNote(const JumpFitResult& r, int32_t states) {
  const std::string counts = std::to_string(r.tracksUsed) + " tracks, " +
                             std::to_string(r.jumpsUsed) + " jumps)";
  if (r.chosen == 0 || states < 1 || states > kMaxJumpStates || r.models[states - 1].states == 0)
    return "no jumps to fit (" + counts;
  const JumpModel& m = r.models[states - 1];
  std::string note;
  for (int32_t i = 0; i < m.states; ++i) {
    const std::string n = std::to_string(i + 1);
    note += "F" + n + "=" + Figures(m.F[i]) + " D" + n + "=" + Figures(m.D[i]) + "\xC2\xB5m2/s; ";
  }
  note += "sigma=" + Figures(m.sigma * 1000) + "nm (" + std::to_string(m.states) +
          (m.states == 1 ? " state" : " states") + (states == r.chosen ? " by BIC, " : ", ") +
          counts;
  return note;
}

JumpFitResult FitJumpStates(const JumpSet& jumps, const JumpFitOptions& options) {
  JumpFitResult result;
  result.shownLag = std::clamp(options.shownLag, 1, std::max(jumps.maxLag, 1));
  const bool timeOk = options.dT > 0 && std::isfinite(options.dT);
  if (!timeOk) result.warning = "the frame interval must be a positive number";

  Inputs in;
  const double maxR2 =
      options.maxJump > 0 && std::isfinite(options.maxJump) ? options.maxJump * options.maxJump : 0;
  const double depth =
      options.focalDepth > 0 && std::isfinite(options.focalDepth) ? options.focalDepth : 0;
  in.classes = GroupJumps(jumps, depth > 0, maxR2);
  in.jumps = timeOk ? in.classes.Jumps() : 0;

  // Counts over the jumps the fit sees.
  std::vector<uint8_t> seen(static_cast<size_t>(std::max(jumps.tracksGiven, 0)), 0);
  double sumA = 0, maxAll = 0;
  bool lagSeen[kMaxJumpLag + 1] = {};
  for (int32_t c = 0; c < in.classes.Classes(); ++c) {
    const int64_t n = in.classes.first[c + 1] - in.classes.first[c];
    if (in.classes.lag[c] == result.shownLag) result.jumpsUsed += n;
    lagSeen[in.classes.lag[c]] |= n > 0;
    for (int64_t j = in.classes.first[c]; j < in.classes.first[c + 1]; ++j) {
      const double r2 = in.classes.r2[j];
      if (in.classes.track[j] >= 0 && in.classes.track[j] < jumps.tracksGiven)
        seen[in.classes.track[j]] = 1;
      sumA += r2 / (4.0 * in.classes.lag[c]);
      maxAll = std::max(maxAll, r2);
    }
  }
  for (uint8_t s : seen) result.tracksUsed += s;
  result.jumpsFitted = in.jumps;
  if (in.jumps == 0) {
    result.note = JumpNote(result, 0);
    return result;
  }

  int32_t lagsWithJumps = 0;
  for (bool s : lagSeen) lagsWithJumps += s;
  MixtureSetup& setup = in.setup;
  setup.dT = options.dT;
  setup.maxR2 = maxR2;
  std::unique_ptr<SliceSurvivalTable> survival;
  if (depth > 0) {
    survival = std::make_unique<SliceSurvivalTable>(options.dT, depth, in.classes.maxEnd);
    setup.survival = survival.get();
  }
  setup.sMin = kMinSigma2;
  setup.aRef = std::max(sumA / static_cast<double>(in.jumps), kMinSigma2);
  setup.sMax = std::max(10 * maxAll, 100 * kMinSigma2);
  setup.DMax = std::max(10 * maxAll / (4 * options.dT), setup.aRef / options.dT);
  setup.fitSigma = !(options.sigma >= 0) && lagsWithJumps >= 2;
  result.sigmaFitted = setup.fitSigma;
  double fixedS = kMinSigma2;
  if (options.sigma >= 0 && std::isfinite(options.sigma))
    fixedS = std::clamp(options.sigma * options.sigma, kMinSigma2, setup.sMax);
  else if (!setup.fitSigma)
    result.warning = "jumps at one lag cannot tell sigma from D: sigma taken as 0";

  ThreadPool* pool = options.pool;
  const int64_t stride = (in.jumps + kStartJumps - 1) / kStartJumps;
  const JumpClasses few = stride > 1 ? Subsample(in.classes, stride) : JumpClasses{};
  const JumpClasses& startData = stride > 1 ? few : in.classes;

  // One state: the line start is close; EM then needs a cycle or two.
  MixtureModel one = OneStateStart(in.classes, setup, fixedS);
  const double ll1 = MixtureFitter(in.classes, setup).Fit(one, nullptr, pool, kFinalLimits);
  FillModel(result.models[0], one, ll1, in.jumps, setup.fitSigma);
  auto stopped = [&](double fraction) {
    result.cancelled = options.progress && !options.progress(fraction);
    return result.cancelled;
  };
  if (stopped(0.1)) return result;

  const double D = std::max(one.D[0], 1e-3 * setup.aRef / setup.dT), s = one.s;
  double ll2 = 0, ll3 = 0;
  MixtureModel two = BestOfStarts(in, startData,
                                  {Model(2, {0.5, 0.5}, {0.02 * D, 1.5 * D}, s),
                                   Model(2, {0.3, 0.7}, {0.005 * D, 1.2 * D}, s),
                                   Model(2, {0.5, 0.5}, {0.2 * D, 2.5 * D}, s),
                                   Model(2, {0.7, 0.3}, {0.5 * D, 4 * D}, s)},
                                  pool, ll2);
  // More states never describe the jumps worse: where the fit stopped short of the
  // fewer states' likelihood, the split model stands in.
  if (!(ll2 >= ll1)) {
    two = Split(one);
    ll2 = ll1;
  }
  FillModel(result.models[1], two, ll2, in.jumps, setup.fitSigma);
  if (stopped(0.25)) return result;

  const double Da = std::max(two.D[0], 1e-4 * D), Db = std::max(two.D[1], Da * 1.5);
  const double Fa = two.F[0], Fb = two.F[1];
  MixtureModel three = BestOfStarts(
      in, startData,
      {Model(3, {Fa, Fb / 2, Fb / 2}, {Da, std::sqrt(Da * Db), Db}, s),
       Model(3, {Fa, Fb / 2, Fb / 2}, {Da, 0.6 * Db, 2 * Db}, s),
       Model(3, {Fa / 2, Fa / 2, Fb}, {0.3 * Da, 2 * Da, Db}, s),
       Model(3, {0.3, 0.3, 0.4}, {0.01 * D, 0.5 * D, 3 * D}, s),
       Model(3, {0.4, 0.3, 0.3}, {0.003 * D, 0.2 * D, 1.5 * D}, s)},
      pool, ll3);
  if (!(ll3 >= ll2)) {
    three = SortedBySpeed(Split(two));
    ll3 = ll2;
  }
  FillModel(result.models[2], three, ll3, in.jumps, setup.fitSigma);
  if (stopped(0.5)) return result;

  // The fewest states unless more lower the BIC.
  result.chosen = 1;
  for (int32_t k = 2; k <= kMaxJumpStates; ++k)
    if (std::isfinite(result.models[k - 1].bic) &&
        result.models[k - 1].bic < result.models[result.chosen - 1].bic)
      result.chosen = k;

  Bootstrap(result, in, jumps.tracksGiven, options);
  if (result.cancelled) return result;
  for (JumpModel& m : result.models) FillCurves(m, in, result.shownLag, options.binCentres);
  result.note = JumpNote(result, result.chosen);
  return result;
}
