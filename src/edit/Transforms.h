#pragma once
// Moves whole tracks in the plane so that they can be compared or pooled.
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

struct TrackStore;

// Mirrors every track that ends at a smaller X than it starts, then shifts and turns each
// one so that its straight-line fit lies on the X axis. Each track keeps its fitted slope
// in LineSlope. Returns the slope of the last fit (none for an empty store), which the
// main window keeps as its FitSlope. Velocities are the caller's.
std::optional<float> RotateTracksLeftToRight(TrackStore& store);

// Aligns the tracks onto one another: repeatedly the longest track not yet used becomes the
// reference, marked in SecondHalf, and every unmarked track is shifted by its mean offset
// from it (points paired by index). Finally every Y is raised by 1.0. Leaves every float
// exactly as the plain passes do, mostly without going through the points (see
// FitTracksTogether.cpp). `progress`, when given, is called between stretches of passes
// with the share of the work done; when it returns false the passes stop, the store is
// left part-way and the result is false (the caller puts its copy back).
bool FitTracksTogether(TrackStore& store, const std::function<bool(double)>& progress = {});
// The plain passes: each shifts every unmarked track point by point.
void FitTracksTogetherReference(TrackStore& store);
// The tracks in the order they become references: most points first, the lower index
// among equals; tracks without points never are one.
std::vector<int32_t> AlignmentOrder(const TrackStore& store);
// The last step of Fit Tracks Together: every Y of every track gains 1.0.
void RaiseY(TrackStore& store);
