#pragma once
// The vector kernels behind CalcTrackMSD and FindIntensityDrop, written once over an
// "Ops" type that supplies a vector of W floats (SSE2: 4, AVX2: 8, AVX-512: 16). Each file that
// includes this instantiates the kernels for its own instruction set.
//
// Lanes always hold different sums (different lags, different window positions), never
// parts of one sum: every sum still adds its terms one at a time in the order of the
// plain loop, with the same float roundings, so the results are the plain loop's bit for
// bit. Nothing here is fused (the build uses -ffp-contract=off) or reassociated.
//
// Only <cstdint> and VectorKernels.h (plain declarations) are used, on purpose: a file
// that compiles this for a wider instruction set must not compile any shared inline code
// along with it, and everything here has internal linkage.
#include <cstdint>

#include "stats/VectorKernels.h"

namespace {

// Overlapping-pair MSD for the lags [k0, k0 + G*W), one lag per lane, all lags of the
// block sharing the loads of x[i] and y[i]. msd[j] receives the mean of lag k0 + j (lags
// of the block at or beyond n get a meaningless value). No float is read outside
// x[0 .. n) and y[0 .. n).
template <class Ops, int G>
void MsdBlock(const float* x, const float* y, int32_t n, int32_t k0, float* msd) {
  using V = typename Ops::V;
  constexpr int32_t W = Ops::W;
  V acc[G];
  for (int g = 0; g < G; ++g) acc[g] = Ops::Zero();
  int32_t i = 0;
  // Every lane of the block has a pair at i: no masking.
  for (const int32_t full = n - (k0 + G * W - 1); i < full; ++i) {
    const V xi = Ops::Splat(x[i]);
    const V yi = Ops::Splat(y[i]);
    for (int g = 0; g < G; ++g) {
      const V dx = Ops::Sub(xi, Ops::Load(x + i + k0 + g * W));
      const V dy = Ops::Sub(yi, Ops::Load(y + i + k0 + g * W));
      acc[g] = Ops::Add(acc[g], Ops::Add(Ops::Mul(dx, dx), Ops::Mul(dy, dy)));
    }
  }
  // The last pairs: lane j of group g (lag kg + j) has a pair at i while j < n - i - kg.
  // Lanes past their last pair add +0, which leaves a sum of non-negative terms as it was.
  for (; i + k0 < n; ++i) {
    const V xi = Ops::Splat(x[i]);
    const V yi = Ops::Splat(y[i]);
    for (int g = 0; g < G; ++g) {
      const int32_t lanes = n - i - (k0 + g * W);
      if (lanes <= 0) break;  // later groups have larger lags still
      V dx, dy;
      if (lanes >= W) {
        dx = Ops::Sub(xi, Ops::Load(x + i + k0 + g * W));
        dy = Ops::Sub(yi, Ops::Load(y + i + k0 + g * W));
        acc[g] = Ops::Add(acc[g], Ops::Add(Ops::Mul(dx, dx), Ops::Mul(dy, dy)));
      } else {
        dx = Ops::Sub(xi, Ops::LoadFirst(x + i + k0 + g * W, lanes));
        dy = Ops::Sub(yi, Ops::LoadFirst(y + i + k0 + g * W, lanes));
        const V term = Ops::KeepFirst(Ops::Add(Ops::Mul(dx, dx), Ops::Mul(dy, dy)), lanes);
        acc[g] = Ops::Add(acc[g], term);
      }
    }
  }
  // Each lag's sum over its pair count, n - lag.
  for (int g = 0; g < G; ++g)
    Ops::Store(msd + g * W, Ops::Div(acc[g], Ops::CountDown(n - (k0 + g * W))));
}

// MSD[k] = (sum over overlapping pairs of lag k) / pairs for k = 1 .. K-1 (the sum in
// float, divided by the pair count as a float, as the plain loop does).
template <class Ops>
void MsdOverlapping(const float* x, const float* y, int32_t n, int32_t K, float* MSD) {
  constexpr int32_t W = Ops::W;
  constexpr int32_t kGroups = 4;  // four independent sums in flight hide the add latency
  float block[kGroups * W];
  for (int32_t k0 = 1; k0 < K; k0 += kGroups * W) {
    const int32_t lags = K - k0 < kGroups * W ? K - k0 : kGroups * W;
    switch ((lags + W - 1) / W) {
      case 1: MsdBlock<Ops, 1>(x, y, n, k0, block); break;
      case 2: MsdBlock<Ops, 2>(x, y, n, k0, block); break;
      case 3: MsdBlock<Ops, 3>(x, y, n, k0, block); break;
      default: MsdBlock<Ops, 4>(x, y, n, k0, block); break;
    }
    for (int32_t j = 0; j < lags; ++j) MSD[k0 + j] = block[j];  // only lags below K
  }
}

// The intensity-drop scan: for k = w .. n-w-1 (rising), Sb = in[k-w] + ... + in[k-1] and
// Sa = in[k] + ... + in[k+w-1], each added in frame order; keeps the first k whose
// Sb - Sa is strictly larger than the best so far (which starts at 0, with k = 1).
// Sa at k is the very sum Sb is at k + w (same terms, same order), so each window sum is
// formed once, into window[j] for the window starting at j; lanes hold neighbouring
// windows. The choice is then made lane by lane in order.
inline void KeepIfLarger(DropChoice& scan, int32_t k, float sb, float sa) {
  const float d = sb - sa;
  if (d > scan.best) {
    scan.best = d;
    scan.kept = k;
    scan.sumBefore = sb;
    scan.sumAfter = sa;
  }
}

template <class Ops>
DropChoice ScanDrops(const float* in, int32_t n, int32_t w, float* window) {
  using V = typename Ops::V;
  constexpr int32_t W = Ops::W;
  DropChoice scan{0.0f, 1, 0.0f, 0.0f};
  if (w <= 0 || n - w <= w) return scan;  // no position to try
  const int32_t windows = n - w;  // starts 0 .. n-w-1; the last reads in[n-2]
  int32_t j = 0;
  // Four vectors of windows at a time: each sum waits for its previous add, so several
  // side by side keep the adder busy.
  for (; j + 4 * W <= windows; j += 4 * W) {
    V s0 = Ops::Zero(), s1 = Ops::Zero(), s2 = Ops::Zero(), s3 = Ops::Zero();
    for (int32_t t = 0; t < w; ++t) {
      s0 = Ops::Add(s0, Ops::Load(in + j + t));
      s1 = Ops::Add(s1, Ops::Load(in + j + W + t));
      s2 = Ops::Add(s2, Ops::Load(in + j + 2 * W + t));
      s3 = Ops::Add(s3, Ops::Load(in + j + 3 * W + t));
    }
    Ops::Store(window + j, s0);
    Ops::Store(window + j + W, s1);
    Ops::Store(window + j + 2 * W, s2);
    Ops::Store(window + j + 3 * W, s3);
  }
  auto vectorOfWindows = [&](int32_t from) {
    V sum = Ops::Zero();
    for (int32_t t = 0; t < w; ++t) sum = Ops::Add(sum, Ops::Load(in + from + t));
    Ops::Store(window + from, sum);
  };
  for (; j + W <= windows; j += W) vectorOfWindows(j);
  if (j < windows && windows >= W) {
    // The last vector ends at the last window; the sums it forms again come out the same.
    vectorOfWindows(windows - W);
  } else {
    for (; j < windows; ++j) {
      float sum = 0;
      for (int32_t t = 0; t < w; ++t) sum += in[j + t];
      window[j] = sum;
    }
  }
  int32_t k = w;
  float before[W], after[W];
  for (; k + W <= windows; k += W) {
    const V sb = Ops::Load(window + k - w);
    const V sa = Ops::Load(window + k);
    // Most positions beat nothing: only look lane by lane when one does.
    if (!Ops::AnyAbove(Ops::Sub(sb, sa), scan.best)) continue;
    Ops::Store(before, sb);
    Ops::Store(after, sa);
    for (int32_t lane = 0; lane < W; ++lane) KeepIfLarger(scan, k + lane, before[lane], after[lane]);
  }
  for (; k < windows; ++k) KeepIfLarger(scan, k, window[k - w], window[k]);
  return scan;
}

// One term of the average-velocity sum, as the plain loop forms it.
inline double VelocityTerm(float dx, float dy, float T, bool leftNegative) {
  const double q = __builtin_sqrt(static_cast<double>(dx * dx + dy * dy)) / T;
  return leftNegative && dx < 0 && q == q ? -q : q;
}

}  // namespace
