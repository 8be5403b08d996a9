#pragma once
// Per-track mobility without fitting the MSD: the covariance-based estimator of the
// diffusion coefficient and the localisation error (Vestergaard, Blainey & Flyvbjerg,
// Phys. Rev. E 89, 022726, 2014), both axes pooled, and the track's anomalous exponent
// from its own MSD. Plain loops over one track, no allocation: cheap enough to run for
// every track while a file loads.
#include <cstdint>

struct TrackMobilitySettings {
  // Motion-blur coefficient R of the camera: 0 for stroboscopic illumination, 1/6 for
  // continuous illumination over the whole frame interval.
  double blur = 0;
  int32_t alphaLags = 10;  // alpha over lags 1 .. min(alphaLags, n / 4)
  bool independentPairs = false;  // pair rule of the MSD behind alpha
};

struct TrackMobility {
  double D;      // µm² per time unit; may come out negative on a short noisy track
  double sigma;  // localisation error per axis, µm; 0 when its square comes out negative
  double alpha;  // NaN with fewer than 3 lags, or an MSD of 0 on one of them
};

// D and sigma from n >= 3 points (NaN otherwise, or with NaN coordinates); `lagUnit` is
// dT x TimeScale. `curve`, when given, is the track's MSD curve as CalcTrackMSD left it
// under the same pair rule (curve[k] for k = 1 .. n/2 - 1) and spares computing it.
TrackMobility EstimateTrackMobility(const float* x, const float* y, int32_t n, double lagUnit,
                                    const TrackMobilitySettings& settings,
                                    const float* curve = nullptr);
