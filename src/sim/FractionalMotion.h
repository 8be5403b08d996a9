#pragma once
// Anomalous diffusion for the simulator: fractional Brownian motion made exactly by
// circulant embedding (Davies & Harte, Biometrika 74, 95, 1987), and motion blur from a
// camera that integrates the position over the whole frame interval.
//
// Convention: MSD(t) = 4 D t^alpha in two dimensions (2 D t^alpha per axis), D in
// µm²/s^alpha, alpha = 2H in (0, 2); alpha = 1 is Brownian motion with MSD = 4 D t.
#include <cstdint>
#include <memory>

#include "sim/Simulator.h"

// Fractional Gaussian noise: `steps` terms of unit variance with the autocovariance
// (|k+1|^2H - 2|k|^2H + |k-1|^2H) / 2, two independent sequences per draw. One object
// per length; making it costs one FFT, each draw one more.
class FractionalNoise {
 public:
  FractionalNoise(int32_t steps, double hurst);
  ~FractionalNoise();
  FractionalNoise(const FractionalNoise&) = delete;
  FractionalNoise& operator=(const FractionalNoise&) = delete;

  // False when the embedding could not be made (memory, or a Hurst exponent outside
  // (0, 1) whose embedding is not positive).
  bool Ready() const;
  int32_t Steps() const { return steps_; }
  // a[0 .. steps) and b[0 .. steps), independent of each other.
  void Draw(SimRandom& random, double* a, double* b);

 private:
  struct Embedding;
  int32_t steps_;
  std::unique_ptr<Embedding> embedding_;
};

struct FractionalMotion {
  double D = 0.1;
  double alpha = 1;
  // >= 2: each frame reports the mean of the position at this many evenly spaced
  // instants over its frame interval (continuous illumination; the blur coefficient is
  // (s² - 1) / (6 s²), 1/6 in the limit); 0 or 1: the position at the frame's instant.
  int32_t blurSubsteps = 0;
};

// Makes tracks of one motion, keeping the noise of the last track length for the next.
class FractionalTrackMaker {
 public:
  FractionalTrackMaker(const FractionalMotion& motion, double dT);
  ~FractionalTrackMaker();
  // Zeroed intensities; the header position is taken from the start. A track whose
  // noise cannot be made (or that would take over 2^22 sub-steps) stands still at its start.
  SimTrack Make(SimRandom& random, const TrackStart& start);

 private:
  FractionalMotion motion_;
  double dT_;
  std::unique_ptr<FractionalNoise> noise_;
};
