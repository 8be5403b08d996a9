#include "edit/RunningFilters.h"

#include <algorithm>

#include "edit/TrackPoints.h"

void RunningMedian(const float* source, float* destination, int32_t n, int32_t w) {
  if (w < 1 || w > kMaxFilterWindow) return;
  const int32_t h = w / 2;
  float window[kMaxFilterWindow];
  for (int32_t j = h; j < n - h; ++j) {
    for (int32_t a = 0; a < w; ++a) window[a] = source[j - h + a];
    for (int32_t a = 0; a < w; ++a)
      for (int32_t b = w - 1; b > a; --b)
        if (window[a] > window[b]) std::swap(window[a], window[b]);
    destination[j] = window[h];
  }
}

namespace {

// The points a filter may touch: those of the track that fit the scratch arrays.
int32_t FilterPoints(const SpotRec& track) {
  return std::min(track.ReadablePoints(), kFilterScratchFloats);
}

void MedianOfArray(FrameArray& values, int32_t n, int32_t w, float* copy) {
  std::copy(values.data(), values.data() + n, copy);
  RunningMedian(copy, values.data(), n, w);
}

void AverageOfArray(FrameArray& values, int32_t n, int32_t w, float* sums) {
  const int32_t h = w / 2;
  for (int32_t j = h; j < n - h; ++j) {
    float sum = 0;
    for (int32_t k = j - h; k <= j + h; ++k) sum += values[k];
    sums[j] = sum;
  }
  const float width = static_cast<float>(w);
  for (int32_t j = h; j < n - h; ++j) values[j] = sums[j] / width;
}

// `filter` over the intensity, X and Y of every track with points, each array by itself.
template <class Filter>
void FilterEveryTrack(TrackStore& store, int32_t w, const KeepGoing& keepGoing, Filter filter) {
  if (w < 1 || w > kMaxFilterWindow) return;
  for (int32_t i = 0; i < store.NSpots && GoOn(keepGoing, i, store.NSpots); ++i) {
    SpotRec& t = store[i];
    const int32_t n = FilterPoints(t);
    if (n == 0) continue;
    for (FrameArray* frames : {&t.Int, &t.X, &t.Y}) filter(*frames, n);
  }
}

}  // namespace

void RunningMedianAll(TrackStore& store, int32_t w, FilterScratch& scratch,
                      const KeepGoing& keepGoing) {
  FilterEveryTrack(store, w, keepGoing,
                   [&](FrameArray& frames, int32_t n) { MedianOfArray(frames, n, w, scratch.Copy); });
}

void RunningAverage(TrackStore& store, int32_t w, FilterScratch& scratch,
                    const KeepGoing& keepGoing) {
  FilterEveryTrack(store, w, keepGoing,
                   [&](FrameArray& frames, int32_t n) { AverageOfArray(frames, n, w, scratch.Sums); });
}
