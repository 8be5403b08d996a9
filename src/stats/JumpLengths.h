#pragma once
// Jump lengths of tracks at a few lags, the raw material of the diffusive-state fit.
// Jumps follow the independent-pairs rule: at lag k a track gives the jumps between
// points 0 and k, k and 2k, ... so no two jumps of one track at one lag share a step.
#include <cstdint>
#include <vector>

// One track's positions in µm, point i at frame FirstFrame + i (no gaps).
struct TrackPoints {
  const float* X = nullptr;
  const float* Y = nullptr;
  int32_t NPoints = 0;
};

inline constexpr int32_t kMaxJumpLag = 8;

struct JumpOptions {
  int32_t maxLag = 3;         // lags 1 .. maxLag frames (clamped to 1 .. kMaxJumpLag)
  int32_t jumpsPerTrack = 4;  // the first J jumps of each track at each lag; 0 = all
};

// Every jump in the order the tracks were given, lag by lag within a track.
struct JumpSet {
  int32_t maxLag = 0;
  std::vector<float> squared;   // r², µm²
  std::vector<int32_t> track;   // index of the track among those given
  std::vector<uint8_t> lag;     // frames
  std::vector<int32_t> endPoint;  // index of the jump's last point in its track
  int64_t perLag[kMaxJumpLag + 1] = {};  // jumps at each lag
  int32_t tracksGiven = 0;
  int32_t tracksUsed = 0;  // tracks that gave at least one jump

  int64_t size() const { return static_cast<int64_t>(squared.size()); }
};

// Jumps whose length is not finite (a NaN or infinite coordinate) are left out; tracks
// with a null array or fewer than two points give none.
JumpSet CollectJumps(const TrackPoints* tracks, int32_t count, const JumpOptions& options);
