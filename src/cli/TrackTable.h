#pragma once
// The per-track table of kinetra-batch --table: one line per track in store order, units
// in the header.
#include <string>

#include "store/TrackStore.h"

// `dlatUnit` and `timeUnit` are the units the values are in ("µm2/s", "s").
std::string TrackTableText(const TrackStore& store, const std::string& dlatUnit,
                           const std::string& timeUnit, bool csv);
