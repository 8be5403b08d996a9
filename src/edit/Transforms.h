#pragma once
// Moves whole tracks in the plane so that they can be compared or pooled.
#include <cstdint>
#include <optional>

struct TrackStore;

// Mirrors every track that ends at a smaller X than it starts, then shifts and turns each
// one so that its straight-line fit lies on the X axis. Each track keeps its fitted slope
// in LineSlope. Returns the slope of the last fit (none for an empty store), which the
// main window keeps as its FitSlope. Velocities are the caller's.
std::optional<float> RotateTracksLeftToRight(TrackStore& store);

// Aligns the tracks onto one another: repeatedly the longest track not yet used becomes the
// reference, marked in SecondHalf, and every unmarked track is shifted by its mean offset
// from it (points paired by index). Finally every Y is raised by 1.0.
void FitTracksTogether(TrackStore& store);
