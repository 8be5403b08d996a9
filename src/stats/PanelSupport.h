#pragma once
// Small guards shared by the time-course, correlation, slope and step panels.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "store/SpotRec.h"
#include "store/TrackStore.h"

// Records of the store an analysis may visit.
inline int32_t StoredTrackCount(const TrackStore& spots) {
  return std::clamp(spots.NSpots, 0, kStoreCapacity);
}

// Frames of a track that may be read: never more than its arrays hold.
inline int32_t ReadablePoints(const SpotRec& track) {
  const int32_t n = std::min({track.NPoints, kMaxPoints, track.X.size(), track.Y.size(),
                              track.Int.size()});
  return n < 0 ? 0 : n;
}

// An axis range that can be drawn: finite and not empty. `first` and `last` are
// replaced by 0 .. 1 when they are not numbers, and widened when equal.
inline void DrawableRange(double& first, double& last) {
  if (!std::isfinite(first) || !std::isfinite(last)) {
    first = 0;
    last = 1;
  }
  if (!(last > first)) last = first + std::max(1.0, std::fabs(first) * 0.01);
}
