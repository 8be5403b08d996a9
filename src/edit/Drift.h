#pragma once
// Correct For Drift: the field's drift between consecutive frames is the mean step of
// every track present in both; the steps summed along the frames give a path that is
// subtracted from every point.
#include <cstdint>

#include "store/TrackStore.h"

// One slot per frame number.
inline constexpr int32_t kDriftFrames = 10000;

// Refilled on every run; nothing reads them between runs.
struct DriftTables {
  double DriftX[kDriftFrames];
  double DriftY[kDriftFrames];
  float DriftCount[kDriftFrames];
};

// Fills DriftX/DriftY with the summed mean steps of frames 0 .. f (the path that
// CorrectForDrift subtracts from a point in frame f) and DriftCount with the number of
// steps from frame f to f + 1. Reads every track of the store, active or not.
void ComputeDriftPath(const TrackStore& store, DriftTables& tables);

// Corrects every track of the store, active or not. The point in frame f loses the
// summed mean steps of frames 0 .. f inclusive, i.e. including the step from its own
// frame to the next (a deliberate one-step lead). Steps from frame 10000 on end a
// track's contribution and steps from negative frames are skipped; points whose frame
// lies outside 0 .. 9999 have no slot and stay as they are. Intensities, Dlat and
// AverVel are untouched. Returns the number of points left uncorrected that way.
int64_t CorrectForDrift(TrackStore& store, DriftTables& tables);
