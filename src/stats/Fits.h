#pragma once
// Least-squares straight lines. Both leave the slope in `FitSlope` and return the intercept.
#include <cstdint>

double LinearFit(const float* x, const float* y, int32_t n, float& FitSlope);

// Weights act as repeat counts in the sums of squares (a weight of 2.3 enters a
// point three times) while the means use the exact weights. Writes the fitted line
// into fitted[0 .. n).
float WeightedLinearFit(const float* x, const float* y, const float* w, float* fitted, int32_t n,
                        float& FitSlope);
