#pragma once
// The two motion filters of the FILTER menu. Both walk a track in steps of VelocityStep
// frames and leave their verdict in the track record; the selection pass reads it.
#include <cstdint>

#include "stats/TrackValues.h"

struct SpotRec;
struct Settings;
struct TrackStore;

// Rewrites SegStart/SegLen of one track: each stop of at least MinNumDataPoints slow steps
// that ends in a faster step, up to five. SegLen[0] (StopCount) is cleared again when the
// track never had MinNumDataPoints fast steps in a row.
void FindStops(SpotRec& track, const Settings& settings, const PairRules& rules);
// 1 when the track has MinNumDataPoints fast steps in a row somewhere, else 0.
uint8_t FastMovingFlag(const SpotRec& track, const Settings& settings, const PairRules& rules);

// The same over every track of the store, valid or not.
void StoppingFilter(TrackStore& store, const Settings& settings, const PairRules& rules);
void FastMovingFilter(TrackStore& store, const Settings& settings, const PairRules& rules);
