#pragma once
// The track-cleaning commands of the Action menu. Each works in place on every record
// of the store, active or not; removing a track only clears its Valid flag. None of
// them refits Dlat or AverVel: the caller does that where coordinates changed.
#include <cstdint>

#include "store/Settings.h"
#include "store/TrackStore.h"

// Drops the first and the last point of every track: FirstFrame + 1, NPoints - 2, the
// points moved down by one. A track of fewer than 2 points is left with a negative
// count, which every loop reads as no points. AverInt stays as it was.
void RemoveEnds(TrackStore& store);

// Work arrays of RemoveDupicates, one slot per record: the tracks active at the start
// of a pass, ordered by PosX, then index, with their header positions side by side.
struct DuplicateScratch {
  uint64_t Keys[kStoreCapacity];
  int32_t Index[kStoreCapacity];
  int32_t PosX[kStoreCapacity];
  int32_t PosY[kStoreCapacity];
  uint8_t Active[kStoreCapacity];  // Valid of every track by index, kept compact for speed
};

// Deactivates the weaker of every two active tracks whose header positions differ by
// less than 6 in both PosX and PosY, pass after pass until a pass finds no close pair.
// Track i meets the close tracks k != i in index order and keeps going after it has
// been cleared itself, so a cleared i still clears any further close k weaker than it;
// on equal (or not comparable) AverInt, i loses. Returns the number of tracks cleared.
int32_t RemoveDupicates(TrackStore& store, DuplicateScratch& scratch);

// Deactivates every track whose intensity jumps, from one frame to the next, from below
// IntThresh by more than IntThresh (both strict). Returns the number cleared.
int32_t RemoveLandings(TrackStore& store, const Settings& settings);

// Deactivates every track longer than MinNumDataPoints whose first MinNumDataPoints
// intensities, summed as an integer truncated at every step, exceed
// MinNumDataPoints x IntThresh. Returns the number cleared.
int32_t RemoveStaticSpots(TrackStore& store, const Settings& settings);

// Moves every track's PosX by the integer part of CriticalDistance x 10.0001 (µm to the
// 0.1 µm unit of PosX). Returns that shift.
int32_t ShiftDown(TrackStore& store, const Settings& settings);

// Moves every track one frame later.
void ShiftOneTimeStep(TrackStore& store);
