#pragma once
#include <string>

#include "store/TrackStore.h"

// Writes the valid, selected tracks in store order as planar blocks. The marker of
// every block is 2016 when `format2016`, else 0; header value and reserved word are 0.
// False when the file cannot be created (nothing is written then).
bool WriteSelectedTracks(const std::string& path, const TrackStore& store, bool format2016);
