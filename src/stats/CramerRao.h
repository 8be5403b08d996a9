#pragma once
// The Cramér-Rao bound on the precision of D from one track: the smallest relative SD
// (SD / D) that any unbiased estimator can reach from the track's steps, with the
// localisation error estimated alongside D or known beforehand.
#include <cstdint>

struct CramerRaoSettings {
  double D = 0.1;       // µm² per time unit
  double sigma = 0;     // localisation error per axis, µm
  double lagUnit = 0.03;
  double blur = 0;      // motion-blur coefficient R (0 .. 1/4)
  int32_t dimensions = 2;  // independent axes
};

// For a track of `points` points (points - 1 steps per axis). NaN with fewer than 2
// points (3 when sigma is estimated), or when the steps have no variance.
double CramerRaoRelativeSD(int32_t points, const CramerRaoSettings& settings, bool sigmaKnown);
