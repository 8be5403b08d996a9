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

DropChoice ScanDropsAvx2(const float* in, int32_t n, int32_t w) { return ScanDrops<Avx2>(in, n, w); }

#pragma GCC pop_options

bool CpuHasAvx2() {
  __builtin_cpu_init();  // may run before the library's own start-up code
  return __builtin_cpu_supports("avx2");
}

#else

void MsdOverlappingAvx2(const float* x, const float* y, int32_t n, int32_t K, float* MSD) {
  MsdOverlappingSse2(x, y, n, K, MSD);
}
DropChoice ScanDropsAvx2(const float* in, int32_t n, int32_t w) { return ScanDropsSse2(in, n, w); }
bool CpuHasAvx2() { return false; }

#endif
