#pragma once
// The one store of tracks: a fixed array of records allocated once.
#include <cstdint>
#include <memory>

#include "store/SpotRec.h"

struct TrackStore {
  std::unique_ptr<SpotRec[]> Spots;  // kStoreCapacity records
  int32_t NSpots = 0;
  int32_t NSelected = 0;

  // False when the records cannot be had; the store then stays empty.
  bool Allocate();
  bool Allocated() const { return Spots != nullptr; }
  SpotRec& operator[](int32_t i) { return Spots[i]; }
  const SpotRec& operator[](int32_t i) const { return Spots[i]; }
};
