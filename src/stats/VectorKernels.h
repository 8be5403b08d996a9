#pragma once
// Vector versions of the per-track loops, one per instruction set; TrackValues picks one
// at run time. Each gives the plain loop's results bit for bit (see VectorKernelsImpl.h).
#include <cstdint>

// The intensity-drop position chosen by the scan (a plain aggregate: nothing here may
// generate code, since the AVX2 and AVX-512 files include it too).
struct DropChoice {
  float best;       // largest Sb - Sa found, 0 when none beat 0
  int32_t kept;     // its position k, 1 when none beat 0
  float sumBefore;  // Sb and Sa there
  float sumAfter;
};

// MSD[k] for k = 1 .. K-1 over every overlapping pair of lag k (K <= n/2).
void MsdOverlappingSse2(const float* x, const float* y, int32_t n, int32_t K, float* MSD);
void MsdOverlappingAvx2(const float* x, const float* y, int32_t n, int32_t K, float* MSD);
void MsdOverlappingAvx512(const float* x, const float* y, int32_t n, int32_t K, float* MSD);

// The first largest window drop over positions w .. n-w-1; `window` has room for n - w
// floats (the window sums).
DropChoice ScanDropsSse2(const float* in, int32_t n, int32_t w, float* window);
DropChoice ScanDropsAvx2(const float* in, int32_t n, int32_t w, float* window);
DropChoice ScanDropsAvx512(const float* in, int32_t n, int32_t w, float* window);

// Dk[k] = MSD[k] x 0.25 / (k x lag) for k = 1 .. K-1: the product k x lag in float, the
// rest in double, the result rounded to float.
void DkFromMsdSse2(const float* MSD, int32_t K, float lag, float* Dk);
void DkFromMsdAvx2(const float* MSD, int32_t K, float lag, float* Dk);

// The terms of the average-velocity sum over steps of s frames taken at every frame:
// q[i] = sqrt(dx² + dy²) / T for i = 0 .. steps-1, with dx = x[i+s] - x[i] and dy alike
// (floats; the root and the quotient in double). With `leftNegative` a step with dx < 0
// gets -q (a NaN keeps its sign, so adding -q is exactly subtracting q).
void VelocityTermsSse2(const float* x, const float* y, int32_t steps, int32_t s, float T,
                       bool leftNegative, double* q);
void VelocityTermsAvx2(const float* x, const float* y, int32_t steps, int32_t s, float T,
                       bool leftNegative, double* q);

// True when this processor runs the AVX2 (AVX-512) versions.
bool CpuHasAvx2();
bool CpuHasAvx512();
