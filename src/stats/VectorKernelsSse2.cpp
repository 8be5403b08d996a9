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
  static V Div(V a, V b) { return _mm_div_ps(a, b); }
  // start, start - 1, ..., start - 3 as floats (exact below 2^24).
  static V CountDown(int32_t start) {
    return _mm_cvtepi32_ps(_mm_sub_epi32(_mm_set1_epi32(start), _mm_setr_epi32(0, 1, 2, 3)));
  }
  // Some lane is larger than `limit` (NaN lanes are not).
  static bool AnyAbove(V v, float limit) {
    return _mm_movemask_ps(_mm_cmpgt_ps(v, _mm_set1_ps(limit))) != 0;
  }
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

DropChoice ScanDropsSse2(const float* in, int32_t n, int32_t w, float* window) {
  return ScanDrops<Sse2>(in, n, w, window);
}

void DkFromMsdSse2(const float* MSD, int32_t K, float lag, float* Dk) {
  const __m128 lags = _mm_set1_ps(lag);
  const __m128d quarter = _mm_set1_pd(0.25);
  int32_t k = 1;
  for (; k + 4 <= K; k += 4) {
    const __m128 time = _mm_mul_ps(_mm_cvtepi32_ps(_mm_setr_epi32(k, k + 1, k + 2, k + 3)), lags);
    const __m128 msd = _mm_loadu_ps(MSD + k);
    const __m128d low = _mm_div_pd(_mm_mul_pd(_mm_cvtps_pd(msd), quarter), _mm_cvtps_pd(time));
    const __m128d high = _mm_div_pd(_mm_mul_pd(_mm_cvtps_pd(_mm_movehl_ps(msd, msd)), quarter),
                                    _mm_cvtps_pd(_mm_movehl_ps(time, time)));
    _mm_storeu_ps(Dk + k, _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high)));
  }
  for (; k < K; ++k) Dk[k] = MSD[k] * 0.25 / (k * lag);
}

namespace {

__m128d Terms(__m128 dx, __m128 f, __m128d T, bool leftNegative) {
  __m128d q = _mm_div_pd(_mm_sqrt_pd(_mm_cvtps_pd(f)), T);
  if (leftNegative) {
    const __m128d left = _mm_cmplt_pd(_mm_cvtps_pd(dx), _mm_setzero_pd());
    const __m128d flip = _mm_and_pd(_mm_and_pd(left, _mm_cmpord_pd(q, q)), _mm_set1_pd(-0.0));
    q = _mm_xor_pd(q, flip);
  }
  return q;
}

}  // namespace

void VelocityTermsSse2(const float* x, const float* y, int32_t steps, int32_t s, float T,
                       bool leftNegative, double* q) {
  const __m128d time = _mm_set1_pd(T);
  int32_t i = 0;
  for (; i + 4 <= steps; i += 4) {
    const __m128 dx = _mm_sub_ps(_mm_loadu_ps(x + i + s), _mm_loadu_ps(x + i));
    const __m128 dy = _mm_sub_ps(_mm_loadu_ps(y + i + s), _mm_loadu_ps(y + i));
    const __m128 f = _mm_add_ps(_mm_mul_ps(dx, dx), _mm_mul_ps(dy, dy));
    _mm_storeu_pd(q + i, Terms(dx, f, time, leftNegative));
    _mm_storeu_pd(q + i + 2, Terms(_mm_movehl_ps(dx, dx), _mm_movehl_ps(f, f), time, leftNegative));
  }
  for (; i < steps; ++i) q[i] = VelocityTerm(x[i + s] - x[i], y[i + s] - y[i], T, leftNegative);
}

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

DropChoice ScanDropsSse2(const float* in, int32_t n, int32_t w, float*) {
  DropChoice scan{0.0f, 1, 0.0f, 0.0f};
  for (int32_t k = w; w > 0 && k < n - w; ++k) {
    float sb = 0, sa = 0;
    for (int32_t t = k - w; t < k; ++t) sb += in[t];
    for (int32_t t = k; t < k + w; ++t) sa += in[t];
    if (sb - sa > scan.best) scan = {sb - sa, k, sb, sa};
  }
  return scan;
}

void DkFromMsdSse2(const float* MSD, int32_t K, float lag, float* Dk) {
  for (int32_t k = 1; k < K; ++k) Dk[k] = MSD[k] * 0.25 / (k * lag);
}

void VelocityTermsSse2(const float* x, const float* y, int32_t steps, int32_t s, float T,
                       bool leftNegative, double* q) {
  for (int32_t i = 0; i < steps; ++i) {
    const float dx = x[i + s] - x[i];
    const float dy = y[i + s] - y[i];
    const double term = __builtin_sqrt(static_cast<double>(dx * dx + dy * dy)) / T;
    q[i] = leftNegative && dx < 0 && term == term ? -term : term;
  }
}

#endif
