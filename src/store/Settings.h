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

  // Beside the described settings: the estimators of the Estimators menu.
  int32_t PooledFitLags = 4;        // pooled MSD: D and offset over lags 1 .. this
  int32_t AlphaLags = 10;           // alpha over lags 1 .. this (a track: at most n/4)
  int32_t BootstrapResamples = 1000;
  double MotionBlur = 1.0 / 6;      // R of the camera: 0 stroboscopic, 1/6 continuous
  int32_t JumpLags = 3;             // jump lengths at lags 1 .. this, fitted jointly
  int32_t JumpsPerTrack = 4;        // the first jumps of each track; 0: all
  int32_t JumpShownLag = 1;         // the lag the jump histogram shows
  int32_t JumpStates = 0;           // the state model shown: 0 by BIC, else 1 .. 3
  double FocalDepth = 0;            // µm, axial detection range; 0: no correction
  double MaxJump = 0;               // µm, longest jump fitted; 0: no limit
  double JumpSigma = -1;            // µm, the localisation error given; < 0: fitted
  int32_t JumpResamples = 50;       // bootstrap resamples of the jump-state fit

  // The lag unit of every per-track computation, in the current time unit.
  double LagUnit() const { return dT * TimeScale; }
  // The time of `frames` frames, multiplied in this order ((frames x dT) x TimeScale):
  // stored results depend on the rounding of each product.
  double FramesTime(double frames) const { return frames * dT * TimeScale; }
};
