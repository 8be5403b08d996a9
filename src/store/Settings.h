#pragma once
// Analysis settings with their start-up values. Every setting starts from these
// at each start; nothing is persisted.
#include <cstdint>

struct Settings {
  double dT = 0.03;            // s per frame
  double TimeScale = 1.0;      // 1 for seconds, 0.01666666666 for minutes
  double IntStep = 5.0;        // counts
  double DlatBin = 0.02;       // µm²/s
  double VelocityBin = 0.1;    // µm/s
  double DistanceBin = 7.2;    // nm
  double CriticalDistance = 0.2;  // µm
  double DlatThresh = 0.05;    // µm²/s
  double IntThresh = 50.0;     // counts
  int32_t LenThresh = 100;     // points
  double VelThresh = 0.5;      // µm/s
  double LowVelThresh = 1.0;   // µm/s
  double HighVelThresh = 2.0;  // µm/s
  double StestThresh = 1.5;
  int32_t MSDfitLimit = 50;    // intervals
  int32_t VelocityStep = 3;    // frames
  int32_t MinNumDataPoints = 10;
  int32_t StartFrame = 0;
  int32_t IntDropWindow = 10;  // frames
  int32_t PrintZoom = 2;       // printer pixels per screen pixel

  // The lag unit of every per-track computation, in the current time unit.
  double LagUnit() const { return dT * TimeScale; }
  // The time of `frames` frames, multiplied in this order ((frames x dT) x TimeScale):
  // stored results depend on the rounding of each product.
  double FramesTime(double frames) const { return frames * dT * TimeScale; }
};
