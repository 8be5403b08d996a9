// The kernels on 4-float SSE2 vectors, the x86-64 baseline (a plain-loop fallback
// elsewhere).
#include "stats/VectorKernels.h"

#if defined(__SSE2__)
#include <emmintrin.h>

#include "stats/VectorKernelsImpl.h"

namespace {

struct Sse2 {
  using V = __m128;
  static constexpr int32_t W = 4;
  static V Zero() { return _mm_setzero_ps(); }
  static V Splat(float v) { return _mm_set1_ps(v); }
  static V Load(const float* p) { return _mm_loadu_ps(p); }
  static void Store(float* p, V v) { _mm_storeu_ps(p, v); }
  static V Add(V a, V b) { return _mm_add_ps(a, b); }
  static V Sub(V a, V b) { return _mm_sub_ps(a, b); }
  static V Mul(V a, V b) { return _mm_mul_ps(a, b); }
  // Lanes j < lanes (0 < lanes < W) from p, the others 0; nothing past them is read.
  static V LoadFirst(const float* p, int32_t lanes) {
    return _mm_setr_ps(p[0], lanes > 1 ? p[1] : 0.0f, lanes > 2 ? p[2] : 0.0f, 0.0f);
  }
  // Lanes j >= lanes set to +0.
  static V KeepFirst(V v, int32_t lanes) {
    const __m128i index = _mm_setr_epi32(0, 1, 2, 3);
    const __m128i keep = _mm_cmpgt_epi32(_mm_set1_epi32(lanes), index);
    return _mm_and_ps(v, _mm_castsi128_ps(keep));
  }
};

}  // namespace

void MsdOverlappingSse2(const float* x, const float* y, int32_t n, int32_t K, float* MSD) {
  MsdOverlapping<Sse2>(x, y, n, K, MSD);
}

DropChoice ScanDropsSse2(const float* in, int32_t n, int32_t w) { return ScanDrops<Sse2>(in, n, w); }

#else

// Without SSE2 the plain loops serve.
void MsdOverlappingSse2(const float* x, const float* y, int32_t n, int32_t K, float* MSD) {
  for (int32_t k = 1; k < K; ++k) {
    float sum = 0;
    for (int32_t i = 0; i + k < n; ++i) {
      const float dx = x[i] - x[i + k];
      const float dy = y[i] - y[i + k];
      sum += dx * dx + dy * dy;
    }
    MSD[k] = sum / (n - k);
  }
}

DropChoice ScanDropsSse2(const float* in, int32_t n, int32_t w) {
  DropChoice scan{0.0f, 1, 0.0f, 0.0f};
  for (int32_t k = w; w > 0 && k < n - w; ++k) {
    float sb = 0, sa = 0;
    for (int32_t t = k - w; t < k; ++t) sb += in[t];
    for (int32_t t = k; t < k + w; ++t) sa += in[t];
    if (sb - sa > scan.best) scan = {sb - sa, k, sb, sa};
  }
  return scan;
}

#endif
