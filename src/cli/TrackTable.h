#pragma once
#include <ostream>

#include "store/TrackStore.h"

// One tab-separated line per track in store order, floats with 9 significant digits
// so that they read back to the same float.
void WriteTrackTable(std::ostream& out, const TrackStore& store);
