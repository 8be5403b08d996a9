// The MSD and intensity-drop kernels on 16-float AVX-512 vectors, used only when the
// processor has AVX-512F (the shorter loops stay with AVX2). Only this file is compiled
// for AVX-512, and it includes no code it could share with the others.
#include "stats/VectorKernels.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>

#pragma GCC push_options
#pragma GCC target("avx512f")

#include "stats/VectorKernelsImpl.h"

namespace {

struct Avx512 {
  using V = __m512;
  static constexpr int32_t W = 16;
  static V Zero() { return _mm512_setzero_ps(); }
  static V Splat(float v) { return _mm512_set1_ps(v); }
  static V Load(const float* p) { return _mm512_loadu_ps(p); }
  static void Store(float* p, V v) { _mm512_storeu_ps(p, v); }
  static V Add(V a, V b) { return _mm512_add_ps(a, b); }
  static V Sub(V a, V b) { return _mm512_sub_ps(a, b); }
  static V Mul(V a, V b) { return _mm512_mul_ps(a, b); }
  static V Div(V a, V b) { return _mm512_div_ps(a, b); }
  // start, start - 1, ..., start - 15 as floats (exact below 2^24). The zero-masked
  // conversion: GCC 12 warns about the undefined vector inside the plain one.
  static V CountDown(int32_t start) {
    return _mm512_maskz_cvtepi32_ps(0xFFFF, _mm512_sub_epi32(
        _mm512_set1_epi32(start),
        _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)));
  }
  // Some lane is larger than `limit` (NaN lanes are not).
  static bool AnyAbove(V v, float limit) {
    return _mm512_cmp_ps_mask(v, _mm512_set1_ps(limit), _CMP_GT_OQ) != 0;
  }
  static __mmask16 FirstLanes(int32_t lanes) {
    return lanes >= W ? static_cast<__mmask16>(0xFFFF)
                      : static_cast<__mmask16>((1u << (lanes > 0 ? lanes : 0)) - 1u);
  }
  // Lanes j < lanes from p, the others 0; the masked load never touches the others.
  static V LoadFirst(const float* p, int32_t lanes) {
    return _mm512_maskz_loadu_ps(FirstLanes(lanes), p);
  }
  // Lanes j >= lanes set to +0.
  static V KeepFirst(V v, int32_t lanes) { return _mm512_maskz_mov_ps(FirstLanes(lanes), v); }
};

}  // namespace

void MsdOverlappingAvx512(const float* x, const float* y, int32_t n, int32_t K, float* MSD) {
  MsdOverlapping<Avx512>(x, y, n, K, MSD);
}

DropChoice ScanDropsAvx512(const float* in, int32_t n, int32_t w, float* window) {
  return ScanDrops<Avx512>(in, n, w, window);
}

#pragma GCC pop_options

bool CpuHasAvx512() {
  __builtin_cpu_init();  // may run before the library's own start-up code
  return __builtin_cpu_supports("avx512f");
}

#else

void MsdOverlappingAvx512(const float* x, const float* y, int32_t n, int32_t K, float* MSD) {
  MsdOverlappingAvx2(x, y, n, K, MSD);
}
DropChoice ScanDropsAvx512(const float* in, int32_t n, int32_t w, float* window) {
  return ScanDropsAvx2(in, n, w, window);
}
bool CpuHasAvx512() { return false; }

#endif
