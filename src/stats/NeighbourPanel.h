#pragma once
// How far each selected track lies from its nearest selected neighbour.
#include <cstdint>

#include "stats/Analysis.h"

// The squared distance a track keeps when no other selected track exists.
inline constexpr float kNoNeighbour = 1e15f;

// Centre of every track of the store, selected or not: mean X and Y over its points
// plus the header position PosX, PosY taken in units of 0.1 µm. A track without
// points has NaN centres. Both arrays hold at least NSpots floats.
void TrackCentres(const TrackStore& spots, float* cx, float* cy);

// For every selected track, in track order, the smallest squared centre distance to
// any other selected track (kNoNeighbour when there is none; NaN centres never win).
// The plain search over all pairs; `squared` holds at least NSpots floats. Returns
// the number of values written.
int32_t NearestNeighbourDistancesQuadratic(const TrackStore& spots, const float* cx,
                                           const float* cy, float* squared);

// "Distance to Neighb. Distr": the distribution of nearest-neighbour distances.
void CalcNeighbDistDist(AnalysisContext& context, TQVgraph& graph);
