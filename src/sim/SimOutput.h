#pragma once
// Simulated tracks out to a QVI file or straight into a track store.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "sim/Simulator.h"
#include "store/TrackStore.h"

enum class SimFileLayout {
  Format2016,  // planar blocks with the marker 2016 (the default)
  ZeroMarker,  // planar blocks with the marker 0
  Old,         // interleaved blocks
};

// Writes the tracks in order. Files that are not of the 2016 layout are read with
// positions relative to the header position (PosX x 0.1 µm + X), so there each X and Y
// is stored relative to it. False (and the file possibly incomplete) when the file
// cannot be created or written.
bool WriteSimulatedQvi(const std::string& path, const std::vector<SimTrack>& tracks,
                       SimFileLayout layout = SimFileLayout::Format2016);

// Appends the tracks at store.NSpots the way the file reader adds a file's tracks:
// frames copied (absolute positions, as from a 2016-layout file), NPoints clipped to
// kMaxPoints, Valid = 1, Partner = -1, FastFlag = 0, SecondHalf by the first-half rule,
// then `trackAdded` (where the caller computes the per-track values). Stops after the
// track that takes the store past kMaxTracks, or before the capacity, or when memory
// for a track's frames cannot be had. Returns the number of tracks added.
int32_t AddSimulatedTracks(TrackStore& store, const std::vector<SimTrack>& tracks,
                           const std::function<void(SpotRec&)>& trackAdded);
