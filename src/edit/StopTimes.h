#pragma once
// "Save StopTimes": one line per track with a stop (or, after "Find Dual Tracks", a
// joint stretch), in the line layout of the binding-time exports.
#include <cstdint>
#include <ostream>
#include <string>

struct SpotRec;
struct TrackStore;

// time, AverInt, "0.0", AverInt, count, "0.0", "0.0", "10.0", "10.0", PosX, PosY: the
// time (in s) truncated to 0.001, AverInt as its integer part, the rest as integers.
std::string BindingTimeLine(double seconds, const SpotRec& track, int32_t count);

// An empty line, then a line for every track, valid or not, whose SegLen[0] is not 0,
// with its longest stretch as the count and that many frames as the time.
void WriteStopTimes(std::ostream& out, const TrackStore& spots, double dT);
