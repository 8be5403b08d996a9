#pragma once
// Centred running median and running mean over w frames, applied in place to the
// intensity, X and Y of every track, each array by itself. Only points j with
// h <= j < n - h change (h = w / 2); a track of n <= 2h points stays as it is.
#include <cstdint>

#include "store/KeepGoing.h"
#include "store/TrackStore.h"

// Floats of each scratch array: room for any track the store can hold.
inline constexpr int32_t kFilterScratchFloats = 100006;
// Widest window the filters take.
inline constexpr int32_t kMaxFilterWindow = 15;

struct FilterScratch {
  float Copy[kFilterScratchFloats];  // the median reads its windows from here
  float Sums[kFilterScratchFloats];  // the mean's window sums, by point
};

// destination[j] = median of source[j - h .. j + h] for h <= j < n - h, the window sorted
// by the exchange sort; other slots untouched. source and destination must not overlap.
// Nothing happens for a width outside 1 .. kMaxFilterWindow.
void RunningMedian(const float* source, float* destination, int32_t n, int32_t w);

// RunningMedian over intensity, X and Y of every track, each copied first.
void RunningMedianAll(TrackStore& store, int32_t w, FilterScratch& scratch,
                      const KeepGoing& keepGoing = {});

// Running mean over intensity, X and Y of every track: window sums in float, in index
// order, all formed before any value of that array is replaced, then divided by w.
void RunningAverage(TrackStore& store, int32_t w, FilterScratch& scratch,
                    const KeepGoing& keepGoing = {});
