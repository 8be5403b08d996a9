#include "store/TrackStore.h"

#include <new>

bool TrackStore::Allocate() {
  Spots.reset(new (std::nothrow) SpotRec[kStoreCapacity]);
  NSpots = 0;
  NSelected = 0;
  return Spots != nullptr;
}
