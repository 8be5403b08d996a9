#pragma once
// A single falling exponential fitted from the peak of a curve on, for dwell and
// distance time courses.
#include <cstdint>

// Scans the decay constant tau from 0.2 to 3 times a start value (the X of the point
// nearest half the curve's span) in steps of 0.01 times it, with the amplitude fixed
// at the peak; returns the tau of least mean square error and writes the model into
// fitted[0 .. n) (the peak value before the peak). Returns 0 and leaves `fitted`
// untouched when fewer than 7 points follow the peak, or when the start value is 0
// and the scan could never advance. `fitted` must not alias `x` or `y`.
double ExpDecayFit(const float* x, const float* y, int32_t n, float* fitted);

// Mean of (y[i] - model[i])^2 over i = from .. n - 1.
double MeanSqError(const float* y, const float* model, int32_t n, int32_t from);
