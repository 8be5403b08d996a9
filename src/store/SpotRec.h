#pragma once
// One track: header values, per-track results and the per-frame arrays.
#include <cstdint>

#include "store/FrameArray.h"

// Spare floats after the last frame, so filters and shifts may read a little past it.
inline constexpr int32_t kSpareFrames = 5;
// Longest track the store keeps; longer tracks are clipped on reading.
inline constexpr int32_t kMaxPoints = 10000;
// Records of the store, and the count past which reading stops.
inline constexpr int32_t kStoreCapacity = 100005;
inline constexpr int32_t kMaxTracks = 100000;
// Joint or stopping stretches a track remembers.
inline constexpr int kMaxSegments = 6;

// Everything of a track but its frames: what a command that only changes flags, header
// values or per-track results may change, copied as a whole.
struct SpotHeader {
  uint8_t Selected = 0;
  uint8_t Valid = 0;
  uint8_t FastFlag = 0;
  uint8_t SecondHalf = 0;
  int32_t TimeToBind = 0;
  int32_t PairOffset = 0;
  int32_t NPoints = 0;
  int32_t PosX = 0;
  int32_t PosY = 0;
  int32_t FirstFrame = 0;
  int32_t StepIndex = 0;
  int32_t Partner = 0;
  int32_t FramesBefore = 0;
  int32_t FramesAfter = 0;
  int32_t SegStart[kMaxSegments] = {};
  int32_t SegLen[kMaxSegments] = {};  // SegLen[0] doubles as StopCount
  float HdrValue = 0;
  float STest = 0;
  float AverInt = 0;
  float Dlat = 0;
  float AverVel = 0;
  float IntBefore = 0;
  float IntAfter = 0;
  float LineSlope = 0;
  // Beside the described values: the covariance-based D (µm² per time unit) and
  // localisation error (µm) of the track, and the exponent of its own MSD (NaN where
  // undefined: fewer than 3 points, or fewer than 3 lags for alpha).
  float Dcve = 0;
  float SigmaCve = 0;
  float Alpha = 0;

  int32_t StopCount() const { return SegLen[0]; }
};

struct SpotRec : SpotHeader {
  FrameArray Int;
  FrameArray X;
  FrameArray Y;

  // Frames every loop may read: NPoints, never below 0 (a negative count means no
  // points) and never past the end of any of the three arrays or past kMaxPoints.
  int32_t ReadablePoints() const;

  // Releases the three arrays and allocates each with NPoints + spare zeroed floats
  // (from `slabs` when given).
  bool AllocateFrames(int32_t nPoints, FrameSlabs* slabs = nullptr);
};
