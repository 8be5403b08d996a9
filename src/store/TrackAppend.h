#pragma once
// Adding one file's tracks at the end of the store, the one way every reader does it:
// the record at NSpots is filled, marked as loaded (Valid = 1, Partner = -1,
// FastFlag = 0), its per-track values are computed by the caller's callback, the first
// ceil(k/2) of the file's k tracks so far get SecondHalf = 0 and the rest 1, and NSpots
// grows by one. Past kMaxTracks tracks the file stops ("Data Overflow"), and no record
// past the store's capacity is ever filled.
#include <cstdint>
#include <functional>

#include "store/TrackStore.h"

class FileTrackAppender {
 public:
  explicit FileTrackAppender(TrackStore& store) : store_(store) {}

  // The record the next track goes into; null when the store is full to its capacity.
  SpotRec* Next() { return store_.NSpots < kStoreCapacity ? &store_[store_.NSpots] : nullptr; }

  // Marks the record Next() gave as loaded, runs `trackAdded` on it and counts it. False
  // once the store holds more than kMaxTracks tracks: reading stops there.
  bool Commit(const std::function<void(SpotRec&)>& trackAdded);

  // Tracks of this file added so far.
  int32_t Added() const { return added_; }

 private:
  TrackStore& store_;
  int32_t added_ = 0;
};
