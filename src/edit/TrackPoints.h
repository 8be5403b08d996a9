#pragma once
// Bounds and walks shared by the editing commands.
#include <algorithm>
#include <cstdint>
#include <limits>

#include "store/KeepGoing.h"
#include "store/SpotRec.h"
#include "store/TrackStore.h"

// a + b, held at the ends of the int32 range instead of overflowing.
inline int32_t SaturatingAdd(int32_t a, int64_t b) {
  const int64_t sum = int64_t{a} + std::clamp<int64_t>(b, std::numeric_limits<int32_t>::min(),
                                                       std::numeric_limits<int32_t>::max());
  return static_cast<int32_t>(std::clamp<int64_t>(sum, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

// Every frame of [0, count) takes the one after it, in all three arrays (the caller keeps
// count + 1 within the arrays).
inline void MoveFramesDownOne(SpotRec& track, int32_t count) {
  for (FrameArray* frames : {&track.Int, &track.X, &track.Y})
    std::copy(frames->data() + 1, frames->data() + 1 + std::max(count, 0), frames->data());
}

// Calls `visit(track)` on every valid track in store order; false when `keepGoing` stopped
// the walk first.
template <class Visit>
bool EachValidTrack(const TrackStore& spots, const KeepGoing& keepGoing, Visit visit) {
  for (int32_t t = 0; t < spots.NSpots; ++t) {
    if (!GoOn(keepGoing, t, spots.NSpots)) return false;
    if (spots[t].Valid) visit(spots[t]);
  }
  return true;
}
