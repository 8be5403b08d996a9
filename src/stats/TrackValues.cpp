#include "stats/TrackValues.h"

#include <atomic>
#include <cmath>
#include <limits>

#include "store/Settings.h"
#include "store/SpotRec.h"
#include "stats/VectorKernels.h"

namespace {

// 0 = Reference, 1 = SSE2, 2 = AVX2, -1 = not chosen yet (constant-initialised, so it is
// right even for callers that run before the program's start-up code).
std::atomic<int> gKernels{-1};

int Kernels() {
  int kernels = gKernels.load(std::memory_order_relaxed);
  if (kernels < 0) {
    kernels = CpuHasAvx2() ? 2 : 1;
    gKernels.store(kernels, std::memory_order_relaxed);
  }
  return kernels;
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

double CalcTrackMSD(const float* x, const float* y, int32_t n, float lag, float* Dk, float* MSD,
                    bool independentPairs) {
  const int kernels = Kernels();
  if (kernels == 0) return CalcTrackMSDReference(x, y, n, lag, Dk, MSD, independentPairs);
  if (n > kMaxPoints) n = kMaxPoints;
  const int32_t K = n / 2;
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
  } else if (kernels == 2) {
    MsdOverlappingAvx2(x, y, n, K, MSD);
  } else {
    MsdOverlappingSse2(x, y, n, K, MSD);
  }
  return FinishMsd(K, lag, Dk, MSD);
}

double CalcTrackVelocity(const SpotRec& track, const Settings& settings, const PairRules& rules) {
  const int32_t s = settings.VelocityStep;
  const int32_t n = track.NPoints;
  const float T = static_cast<float>(s * settings.dT * settings.TimeScale);
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

float AverageIntensity(const SpotRec& track) {
  float sum = 0;
  for (int32_t k = 0; k < track.NPoints; ++k) sum += track.Int[k];
  return sum / track.NPoints;
}

namespace {

// IntBefore, IntAfter, STest and StepIndex from the chosen drop position.
void SetIntensityDrop(SpotRec& track, int32_t W, const DropChoice& scan) {
  const int32_t n = track.NPoints;
  const float* in = track.Int.data();
  const int32_t kept = scan.kept;
  const float before = W > 0 ? scan.sumBefore / W : 0.0f;
  const float after = W > 0 ? scan.sumAfter / W : 0.0f;
  const float drop = W > 0 ? scan.best / W : 0.0f;
  // With no frames at all there is nothing to spread around the levels.
  float vb = 0, va = 0;
  if (n > 0) {
    for (int32_t i = 0; i < kept && i < n; ++i) vb += (in[i] - before) * (in[i] - before);
    vb = vb / kept;
    for (int32_t i = kept; i < n; ++i) va += (in[i] - after) * (in[i] - after);
    va = va / (n - kept);
  }
  const float spread = vb + va;
  track.IntBefore = before;
  track.IntAfter = after;
  track.STest = spread > 0 ? drop / std::sqrt(spread) : 0.0f;
  track.StepIndex = kept;
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
  if (kernels == 0) return FindIntensityDropReference(track, W);
  const float* in = track.Int.data();
  const int32_t n = track.NPoints;
  SetIntensityDrop(track, W, kernels == 2 ? ScanDropsAvx2(in, n, W) : ScanDropsSse2(in, n, W));
}

void RecomputeMobility(SpotRec& track, const Settings& settings, const PairRules& rules,
                       MsdScratch& scratch) {
  const float lag = static_cast<float>(settings.dT * settings.TimeScale);
  track.Dlat = static_cast<float>(CalcTrackMSD(track.X.data(), track.Y.data(), track.NPoints, lag,
                                               scratch.Dk, scratch.MSD, rules.IndependentPairs));
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
  const float lag = static_cast<float>(settings.dT * settings.TimeScale);
  track.Dlat = static_cast<float>(CalcTrackMSDReference(track.X.data(), track.Y.data(),
                                                        track.NPoints, lag, scratch.Dk,
                                                        scratch.MSD, rules.IndependentPairs));
  track.AverVel = static_cast<float>(CalcTrackVelocity(track, settings, rules));
  FindIntensityDropReference(track, settings.IntDropWindow);
}
