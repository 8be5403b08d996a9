// The kernels on 8-float AVX2 vectors, used only when the processor has AVX2. Only this
// file is compiled for AVX2, and it includes no code it could share with the others.
#include "stats/VectorKernels.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>

#pragma GCC push_options
#pragma GCC target("avx2")

#include "stats/VectorKernelsImpl.h"

namespace {

struct Avx2 {
  using V = __m256;
  static constexpr int32_t W = 8;
  static V Zero() { return _mm256_setzero_ps(); }
  static V Splat(float v) { return _mm256_set1_ps(v); }
  static V Load(const float* p) { return _mm256_loadu_ps(p); }
  static void Store(float* p, V v) { _mm256_storeu_ps(p, v); }
  static V Add(V a, V b) { return _mm256_add_ps(a, b); }
  static V Sub(V a, V b) { return _mm256_sub_ps(a, b); }
  static V Mul(V a, V b) { return _mm256_mul_ps(a, b); }
  static V Div(V a, V b) { return _mm256_div_ps(a, b); }
  // start, start - 1, ..., start - 7 as floats (exact below 2^24).
  static V CountDown(int32_t start) {
    return _mm256_cvtepi32_ps(
        _mm256_sub_epi32(_mm256_set1_epi32(start), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)));
  }
  // Some lane is larger than `limit` (NaN lanes are not).
  static bool AnyAbove(V v, float limit) {
    return _mm256_movemask_ps(_mm256_cmp_ps(v, _mm256_set1_ps(limit), _CMP_GT_OQ)) != 0;
  }
  static __m256i FirstLanes(int32_t lanes) {
    return _mm256_cmpgt_epi32(_mm256_set1_epi32(lanes), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
  }
  // Lanes j < lanes from p, the others 0; the masked load never touches the others.
  static V LoadFirst(const float* p, int32_t lanes) { return _mm256_maskload_ps(p, FirstLanes(lanes)); }
  // Lanes j >= lanes set to +0.
  static V KeepFirst(V v, int32_t lanes) {
    return _mm256_and_ps(v, _mm256_castsi256_ps(FirstLanes(lanes)));
  }
};

}  // namespace

void MsdOverlappingAvx2(const float* x, const float* y, int32_t n, int32_t K, float* MSD) {
  MsdOverlapping<Avx2>(x, y, n, K, MSD);
}

DropChoice ScanDropsAvx2(const float* in, int32_t n, int32_t w, float* window) {
  return ScanDrops<Avx2>(in, n, w, window);
}

void DkFromMsdAvx2(const float* MSD, int32_t K, float lag, float* Dk) {
  const __m256 lags = _mm256_set1_ps(lag);
  const __m256d quarter = _mm256_set1_pd(0.25);
  const __m256i step = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  int32_t k = 1;
  for (; k + 8 <= K; k += 8) {
    const __m256 time =
        _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_add_epi32(_mm256_set1_epi32(k), step)), lags);
    const __m256 msd = _mm256_loadu_ps(MSD + k);
    const __m256d low = _mm256_div_pd(_mm256_mul_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(msd)), quarter),
                                      _mm256_cvtps_pd(_mm256_castps256_ps128(time)));
    const __m256d high = _mm256_div_pd(_mm256_mul_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(msd, 1)), quarter),
                                       _mm256_cvtps_pd(_mm256_extractf128_ps(time, 1)));
    _mm256_storeu_ps(Dk + k, _mm256_set_m128(_mm256_cvtpd_ps(high), _mm256_cvtpd_ps(low)));
  }
  for (; k < K; ++k) Dk[k] = MSD[k] * 0.25 / (k * lag);
}

namespace {

__m256d Terms(__m128 dx, __m128 f, __m256d T, bool leftNegative) {
  __m256d q = _mm256_div_pd(_mm256_sqrt_pd(_mm256_cvtps_pd(f)), T);
  if (leftNegative) {
    const __m256d left = _mm256_cmp_pd(_mm256_cvtps_pd(dx), _mm256_setzero_pd(), _CMP_LT_OQ);
    const __m256d number = _mm256_cmp_pd(q, q, _CMP_ORD_Q);
    q = _mm256_xor_pd(q, _mm256_and_pd(_mm256_and_pd(left, number), _mm256_set1_pd(-0.0)));
  }
  return q;
}

}  // namespace

void VelocityTermsAvx2(const float* x, const float* y, int32_t steps, int32_t s, float T,
                       bool leftNegative, double* q) {
  const __m256d time = _mm256_set1_pd(T);
  int32_t i = 0;
  for (; i + 8 <= steps; i += 8) {
    const __m256 dx = _mm256_sub_ps(_mm256_loadu_ps(x + i + s), _mm256_loadu_ps(x + i));
    const __m256 dy = _mm256_sub_ps(_mm256_loadu_ps(y + i + s), _mm256_loadu_ps(y + i));
    const __m256 f = _mm256_add_ps(_mm256_mul_ps(dx, dx), _mm256_mul_ps(dy, dy));
    _mm256_storeu_pd(q + i, Terms(_mm256_castps256_ps128(dx), _mm256_castps256_ps128(f), time,
                                  leftNegative));
    _mm256_storeu_pd(q + i + 4, Terms(_mm256_extractf128_ps(dx, 1), _mm256_extractf128_ps(f, 1),
                                      time, leftNegative));
  }
  for (; i < steps; ++i) q[i] = VelocityTerm(x[i + s] - x[i], y[i + s] - y[i], T, leftNegative);
}

#pragma GCC pop_options

bool CpuHasAvx2() {
  __builtin_cpu_init();  // may run before the library's own start-up code
  return __builtin_cpu_supports("avx2");
}

#else

void MsdOverlappingAvx2(const float* x, const float* y, int32_t n, int32_t K, float* MSD) {
  MsdOverlappingSse2(x, y, n, K, MSD);
}
DropChoice ScanDropsAvx2(const float* in, int32_t n, int32_t w, float* window) {
  return ScanDropsSse2(in, n, w, window);
}
void DkFromMsdAvx2(const float* MSD, int32_t K, float lag, float* Dk) { DkFromMsdSse2(MSD, K, lag, Dk); }
void VelocityTermsAvx2(const float* x, const float* y, int32_t steps, int32_t s, float T,
                       bool leftNegative, double* q) {
  VelocityTermsSse2(x, y, steps, s, T, leftNegative, q);
}
bool CpuHasAvx2() { return false; }

#endif
