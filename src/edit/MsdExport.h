#pragma once
// "Save Individ MSD-dT (TXT)": the MSD curve of every valid track, one line per track
// under a line of lag times.
#include <ostream>

#include "store/KeepGoing.h"

struct TrackStore;
struct MsdScratch;

// Lags written at most per track, and points of a track that are used at most.
inline constexpr int kMsdExportLags = 254;
inline constexpr int kMsdExportPoints = 2000;

// The lag of one frame is dT itself (the time-unit scale is not applied).
// False when `keepGoing` stopped it part-way.
bool WriteTrackMSDs(std::ostream& out, const TrackStore& spots, double dT, bool independentPairs,
                    MsdScratch& scratch, const KeepGoing& keepGoing = {});
