#include "stats/TrackValues.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

#include "stats/CovarianceEstimator.h"
#include "store/Settings.h"
#include "store/SpotRec.h"
#include "stats/VectorKernels.h"

namespace {

// A KernelSet as int, or -1 = not chosen yet (constant-initialised, so it is
// right even for callers that run before the program's start-up code).
std::atomic<int> gKernels{-1};

int Kernels() {
  int kernels = gKernels.load(std::memory_order_relaxed);
  if (kernels < 0) {
    kernels = static_cast<int>(CpuHasAvx512() ? KernelSet::Avx512
                               : CpuHasAvx2() ? KernelSet::Avx2
                                              : KernelSet::Sse2);
    gKernels.store(kernels, std::memory_order_relaxed);
  }
  return kernels;
}

constexpr int kReference = static_cast<int>(KernelSet::Reference);
constexpr int kAvx2 = static_cast<int>(KernelSet::Avx2);
constexpr int kAvx512 = static_cast<int>(KernelSet::Avx512);

DropChoice ScanDrops(int kernels, const float* in, int32_t n, int32_t w, float* window) {
  if (kernels >= kAvx512) return ScanDropsAvx512(in, n, w, window);
  if (kernels == kAvx2) return ScanDropsAvx2(in, n, w, window);
  return ScanDropsSse2(in, n, w, window);
}

// Dk[k] = MSD[k] x 0.25 / (k x lag) for k = 1 .. K-1, and the mean of Dk[2 .. K-1].
double FinishMsd(int32_t K, float lag, float* Dk, const float* MSD) {
  for (int32_t k = 1; k < K; ++k) Dk[k] = MSD[k] * 0.25 / (k * lag);
  // Lag 1 is left out of the mean on purpose: it carries most of the localisation noise.
  if (K <= 2) return std::numeric_limits<double>::quiet_NaN();
  double sum = 0;
  for (int32_t k = 2; k < K; ++k) sum += Dk[k];
  return sum / (K - 2);
}

}  // namespace

bool SelectKernels(KernelSet set) {
  if (set == KernelSet::Avx2 && !CpuHasAvx2()) return false;
  if (set == KernelSet::Avx512 && !CpuHasAvx512()) return false;
  gKernels.store(static_cast<int>(set), std::memory_order_relaxed);
  return true;
}

KernelSet ActiveKernels() { return static_cast<KernelSet>(Kernels()); }

double CalcTrackMSDReference(const float* x, const float* y, int32_t n, float lag, float* Dk,
                             float* MSD, bool independentPairs) {
  if (n > kMaxPoints) n = kMaxPoints;
  const int32_t K = n / 2;
  for (int32_t k = 1; k < K; ++k) {
    MSD[k] = 0;
    int32_t pairs = 0;
    const int32_t stride = independentPairs ? k : 1;
    for (int32_t i = 0; i + k < n; i += stride) {
      const float dx = x[i] - x[i + k];
      const float dy = y[i] - y[i + k];
      MSD[k] += dx * dx + dy * dy;  // the sum lives in the float slot: rounded after each pair
      ++pairs;
    }
    MSD[k] = MSD[k] / pairs;
  }
  return FinishMsd(K, lag, Dk, MSD);
}

namespace {

// MSD[k] for k = 1 .. K-1 with the chosen vector kernels (not the plain ones).
void MsdSums(int kernels, const float* x, const float* y, int32_t n, int32_t K, float* MSD,
             bool independentPairs) {
  if (independentPairs) {
    // About n log K pairs in all: the plain loop, with the running sum kept in a register
    // (the same float additions in the same order).
    for (int32_t k = 1; k < K; ++k) {
      float sum = 0;
      int32_t pairs = 0;
      for (int32_t i = 0; i + k < n; i += k) {
        const float dx = x[i] - x[i + k];
        const float dy = y[i] - y[i + k];
        sum += dx * dx + dy * dy;
        ++pairs;
      }
      MSD[k] = sum / pairs;
    }
  } else if (kernels >= kAvx512) {
    MsdOverlappingAvx512(x, y, n, K, MSD);
  } else if (kernels == kAvx2) {
    MsdOverlappingAvx2(x, y, n, K, MSD);
  } else {
    MsdOverlappingSse2(x, y, n, K, MSD);
  }
}

}  // namespace

double CalcTrackMSD(const float* x, const float* y, int32_t n, float lag, float* Dk, float* MSD,
                    bool independentPairs) {
  const int kernels = Kernels();
  if (kernels == kReference) return CalcTrackMSDReference(x, y, n, lag, Dk, MSD, independentPairs);
  if (n > kMaxPoints) n = kMaxPoints;
  const int32_t K = n / 2;
  MsdSums(kernels, x, y, n, K, MSD, independentPairs);
  return FinishMsd(K, lag, Dk, MSD);
}

double CalcTrackVelocity(const SpotRec& track, const Settings& settings, const PairRules& rules) {
  const int32_t s = settings.VelocityStep;
  const int32_t n = track.NPoints;
  const float T = static_cast<float>(settings.FramesTime(s));
  float sum = 0;
  float count = 0;
  const int32_t advance = rules.IndependentPairs ? s : 1;
  if (s < 1) return 0;  // a step of no frames has no velocity (and would never advance)
  // The bound stops one pair short of the last point; stored results depend on it.
  for (int32_t i = 0; i < n - s - 1; i += advance) {
    const float dx = track.X[i + s] - track.X[i];
    const float dy = track.Y[i + s] - track.Y[i];
    const double d = std::sqrt(static_cast<double>(dx * dx + dy * dy));
    if (rules.AbsoluteXspeed && dx < 0)
      sum = sum - d / T;
    else
      sum = sum + d / T;
    count = count + 1;
  }
  if (count == 0) return 0;
  return sum / count;
}

float InstantVelocity(const SpotRec& track, int32_t i, int32_t s, float T, bool absoluteX) {
  const float dx = track.X[i + s] - track.X[i];
  const float dy = track.Y[i + s] - track.Y[i];
  float v = static_cast<float>(std::sqrt(static_cast<double>(dx * dx + dy * dy)) / T);
  if (absoluteX && dx < 0) v = -v;
  return v;
}

float AverageIntensity(const SpotRec& track) {
  float sum = 0;
  for (int32_t k = 0; k < track.NPoints; ++k) sum += track.Int[k];
  return sum / track.NPoints;
}

namespace {

// The levels before and after the chosen drop position.
float LevelBefore(int32_t W, const DropChoice& scan) { return W > 0 ? scan.sumBefore / W : 0.0f; }
float LevelAfter(int32_t W, const DropChoice& scan) { return W > 0 ? scan.sumAfter / W : 0.0f; }

// IntBefore, IntAfter, STest and StepIndex from the chosen drop position and the sums of
// squared deviations from the two levels (before it, and from it on).
void FinishIntensityDrop(SpotRec& track, int32_t W, const DropChoice& scan, float vb, float va) {
  const int32_t n = track.NPoints;
  const int32_t kept = scan.kept;
  const float drop = W > 0 ? scan.best / W : 0.0f;
  // With no frames at all there is nothing to spread around the levels.
  if (n > 0) {
    vb = vb / kept;
    va = va / (n - kept);
  } else {
    vb = va = 0;
  }
  const float spread = vb + va;
  track.IntBefore = LevelBefore(W, scan);
  track.IntAfter = LevelAfter(W, scan);
  track.STest = spread > 0 ? drop / std::sqrt(spread) : 0.0f;
  track.StepIndex = kept;
}

void SetIntensityDrop(SpotRec& track, int32_t W, const DropChoice& scan) {
  const int32_t n = track.NPoints;
  const float* in = track.Int.data();
  const int32_t kept = scan.kept;
  const float before = LevelBefore(W, scan);
  const float after = LevelAfter(W, scan);
  float vb = 0, va = 0;
  for (int32_t i = 0; i < kept && i < n; ++i) vb += (in[i] - before) * (in[i] - before);
  for (int32_t i = kept; i < n; ++i) va += (in[i] - after) * (in[i] - after);
  FinishIntensityDrop(track, W, scan, vb, va);
}

}  // namespace

void FindIntensityDropReference(SpotRec& track, int32_t W) {
  const int32_t n = track.NPoints;
  const float* in = track.Int.data();
  DropChoice scan{0.0f, 1, 0.0f, 0.0f};
  if (W > 0) {
    for (int32_t k = W; k < n - W; ++k) {
      float sb = 0, sa = 0;
      for (int32_t i = k - W; i < k; ++i) sb += in[i];
      for (int32_t i = k; i < k + W; ++i) sa += in[i];
      const float d = sb - sa;
      if (d > scan.best) scan = {d, k, sb, sa};
    }
  }
  SetIntensityDrop(track, W, scan);
}

void FindIntensityDrop(SpotRec& track, int32_t W) {
  const int kernels = Kernels();
  if (kernels == kReference) return FindIntensityDropReference(track, W);
  const float* in = track.Int.data();
  const int32_t n = track.NPoints;
  if (n > kMaxPoints) return FindIntensityDropReference(track, W);
  float window[kMaxPoints];
  SetIntensityDrop(track, W, ScanDrops(kernels, in, n, W, window));
}

void SetCovarianceValues(SpotRec& track, const Settings& settings, const PairRules& rules,
                         const float* MSD) {
  TrackMobilitySettings mobility;
  mobility.blur = settings.MotionBlur;
  mobility.alphaLags = settings.AlphaLags;
  mobility.independentPairs = rules.IndependentPairs;
  const TrackMobility m = EstimateTrackMobility(track.X.data(), track.Y.data(),
                                                track.ReadablePoints(), settings.LagUnit(),
                                                mobility, MSD);
  track.Dcve = static_cast<float>(m.D);
  track.SigmaCve = static_cast<float>(m.sigma);
  track.Alpha = static_cast<float>(m.alpha);
}

void RecomputeMobility(SpotRec& track, const Settings& settings, const PairRules& rules,
                       MsdScratch& scratch) {
  const float lag = static_cast<float>(settings.LagUnit());
  track.Dlat = static_cast<float>(CalcTrackMSD(track.X.data(), track.Y.data(), track.NPoints, lag,
                                               scratch.Dk, scratch.MSD, rules.IndependentPairs));
  SetCovarianceValues(track, settings, rules, scratch.MSD);
  track.AverVel = static_cast<float>(CalcTrackVelocity(track, settings, rules));
}

void ComputeTrackValues(SpotRec& track, const Settings& settings, const PairRules& rules,
                        MsdScratch& scratch) {
  track.AverInt = AverageIntensity(track);
  RecomputeMobility(track, settings, rules, scratch);
  FindIntensityDrop(track, settings.IntDropWindow);
}

void ComputeTrackValuesReference(SpotRec& track, const Settings& settings, const PairRules& rules,
                                 MsdScratch& scratch) {
  track.AverInt = AverageIntensity(track);
  const float lag = static_cast<float>(settings.LagUnit());
  track.Dlat = static_cast<float>(CalcTrackMSDReference(track.X.data(), track.Y.data(),
                                                        track.NPoints, lag, scratch.Dk,
                                                        scratch.MSD, rules.IndependentPairs));
  SetCovarianceValues(track, settings, rules, scratch.MSD);
  track.AverVel = static_cast<float>(CalcTrackVelocity(track, settings, rules));
  FindIntensityDropReference(track, settings.IntDropWindow);
}

namespace {

// Runs step(t, j) for j = 0 .. steps[t]-1 of every chain t, the chains interleaved: each is
// one running sum whose additions must wait for each other, so several side by side
// keep the processor busy while each waits.
template <int G, class Step>
void Interleaved(const int32_t (&steps)[G], Step&& step) {
  int32_t common = steps[0], longest = steps[0];
  for (int t = 1; t < G; ++t) {
    common = std::min(common, steps[t]);
    longest = std::max(longest, steps[t]);
  }
  int32_t j = 0;
  for (; j < common; ++j)
    for (int t = 0; t < G; ++t) step(t, j);
  for (; j < longest; ++j)
    for (int t = 0; t < G; ++t)
      if (j < steps[t]) step(t, j);
}

}  // namespace

void ComputeTrackValuesBatch(SpotRec* const* tracks, int count, const Settings& settings,
                             const PairRules& rules, BatchScratch& scratch) {
  constexpr int G = BatchScratch::kTracks;
  const int kernels = Kernels();
  bool oversized = false;  // longer than the work arrays (the reader never keeps such tracks)
  for (int t = 0; t < count && t < G; ++t) oversized |= tracks[t]->NPoints > kMaxPoints;
  if (kernels == kReference || count < 2 || count > G || oversized) {
    for (int t = 0; t < count; ++t) ComputeTrackValues(*tracks[t], settings, rules, scratch.Msd[t]);
    return;
  }
  const bool avx2 = kernels >= kAvx2;  // the short loops have no AVX-512 versions
  const float lag = static_cast<float>(settings.LagUnit());
  const int32_t s = settings.VelocityStep;
  const float T = static_cast<float>(settings.FramesTime(s));
  const int32_t W = settings.IntDropWindow;

  // The parts that vectorise, track by track; the chains they leave are summed below.
  const float* in[G] = {};
  int32_t frames[G] = {}, K[G] = {}, dkTerms[G] = {}, velTerms[G] = {}, beforeTerms[G] = {},
          afterTerms[G] = {};
  DropChoice drop[G] = {};
  float before[G] = {}, after[G] = {};
  for (int t = 0; t < count; ++t) {
    SpotRec& track = *tracks[t];
    const int32_t n = track.NPoints;
    in[t] = track.Int.data();
    frames[t] = std::max(n, 0);

    K[t] = n / 2;
    MsdScratch& msd = scratch.Msd[t];
    MsdSums(kernels, track.X.data(), track.Y.data(), n, K[t], msd.MSD,
            rules.IndependentPairs);
    if (avx2)
      DkFromMsdAvx2(msd.MSD, K[t], lag, msd.Dk);
    else
      DkFromMsdSse2(msd.MSD, K[t], lag, msd.Dk);
    dkTerms[t] = std::max(K[t] - 2, 0);

    // Steps start at 0, 1, 2, ... (every s-th with independent pairs) below n - s - 1.
    if (s >= 1 && n - s - 1 > 0) {
      const int32_t advance = rules.IndependentPairs ? s : 1;
      const int32_t span = n - s - 1;
      velTerms[t] = (span - 1) / advance + 1;
      const float* x = track.X.data();
      const float* y = track.Y.data();
      double* q = scratch.Terms[t];
      if (advance == 1 && avx2)
        VelocityTermsAvx2(x, y, velTerms[t], s, T, rules.AbsoluteXspeed, q);
      else if (advance == 1)
        VelocityTermsSse2(x, y, velTerms[t], s, T, rules.AbsoluteXspeed, q);
      else
        for (int32_t j = 0, i = 0; j < velTerms[t]; ++j, i += advance) {
          const float dx = x[i + s] - x[i];
          const float dy = y[i + s] - y[i];
          const double term = std::sqrt(static_cast<double>(dx * dx + dy * dy)) / T;
          q[j] = rules.AbsoluteXspeed && dx < 0 && term == term ? -term : term;
        }
    }

    drop[t] = ScanDrops(kernels, in[t], n, W, scratch.Window);
    before[t] = LevelBefore(W, drop[t]);
    after[t] = LevelAfter(W, drop[t]);
    beforeTerms[t] = std::min(drop[t].kept, frames[t]);
    afterTerms[t] = std::max(frames[t] - drop[t].kept, 0);
  }

  float intensity[G] = {};
  Interleaved(frames, [&](int t, int32_t j) { intensity[t] += in[t][j]; });
  double dk[G] = {};
  Interleaved(dkTerms, [&](int t, int32_t j) { dk[t] += scratch.Msd[t].Dk[2 + j]; });
  // sum + d/T in double, kept as a float after every step; a step to the left adds -d/T.
  float velocity[G] = {};
  Interleaved(velTerms, [&](int t, int32_t j) {
    velocity[t] = static_cast<float>(velocity[t] + scratch.Terms[t][j]);
  });
  float vb[G] = {}, va[G] = {};
  Interleaved(beforeTerms, [&](int t, int32_t j) {
    vb[t] += (in[t][j] - before[t]) * (in[t][j] - before[t]);
  });
  Interleaved(afterTerms, [&](int t, int32_t j) {
    const float level = in[t][drop[t].kept + j] - after[t];
    va[t] += level * level;
  });

  for (int t = 0; t < count; ++t) {
    SpotRec& track = *tracks[t];
    track.AverInt = intensity[t] / track.NPoints;
    track.Dlat = static_cast<float>(K[t] <= 2 ? std::numeric_limits<double>::quiet_NaN()
                                              : dk[t] / (K[t] - 2));
    SetCovarianceValues(track, settings, rules, scratch.Msd[t].MSD);
    if (velTerms[t] == 0)
      track.AverVel = 0;
    else
      track.AverVel = static_cast<float>(velocity[t] / static_cast<float>(velTerms[t]));
    FinishIntensityDrop(track, W, drop[t], vb[t], va[t]);
  }
}
