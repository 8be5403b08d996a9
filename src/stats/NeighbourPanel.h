#pragma once
// How far each selected track lies from its nearest selected neighbour.
#include <cstdint>

#include "stats/Analysis.h"

class ThreadPool;

// The squared distance a track keeps when no other selected track exists.
inline constexpr float kNoNeighbour = 1e15f;

// Centre of every track of the store, selected or not: mean X and Y over its points
// plus the header position PosX, PosY taken in units of 0.1 µm. A track without
// points has NaN centres. Both arrays hold at least NSpots floats. With a pool the
// tracks are shared among its workers (each centre is its own track's sum).
void TrackCentres(const TrackStore& spots, float* cx, float* cy, ThreadPool* pool = nullptr);

// For every selected track, in track order, the smallest squared centre distance to
// any other selected track (kNoNeighbour when there is none; NaN centres never win).
// The plain search over all pairs; `squared` holds at least NSpots floats. Returns
// the number of values written.
int32_t NearestNeighbourDistancesQuadratic(const TrackStore& spots, const float* cx,
                                           const float* cy, float* squared);
// The same values through a uniform grid over the centres: each track searches rings of
// cells around its own until no unvisited cell can hold a closer centre. The distances
// are formed exactly as the plain search forms them and the minimum is the same float.
// With a pool the tracks are shared among its workers. Falls back to the plain search
// when memory for the grid is short.
int32_t NearestNeighbourDistancesGrid(const TrackStore& spots, const float* cx, const float* cy,
                                      float* squared, ThreadPool* pool = nullptr);

// "Distance to Neighb. Distr": the distribution of nearest-neighbour distances.
PanelResults CalcNeighbDistDist(AnalysisContext& context, TQVgraph& graph);
