#pragma once
// The population MSD pooled over displacement pairs: per lag the mean over every pair of
// every given track (each pair counts once, so long tracks weigh by their pairs), with
// D and the localisation error from a line over the first lags, the anomalous exponent
// alpha from a log-log line, and intervals from a bootstrap over tracks.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

class ThreadPool;

// One track as the estimators take it. `curve` is optional: the MSD curve CalcTrackMSD
// left for the track under the same pair rule (curve[k] for k = 1 .. n/2 - 1), used
// instead of computing those lags again.
struct TrackXY {
  const float* x = nullptr;
  const float* y = nullptr;
  int32_t n = 0;
  const float* curve = nullptr;
};

struct PooledMsdSettings {
  int32_t fitLags = 4;     // D and offset from MSD = 4 D t + offset over lags 1 .. fitLags
  int32_t alphaLags = 10;  // alpha from log MSD against log t over lags 1 .. alphaLags
  int32_t lags = 0;        // lags in the curve (at most kMaxPooledLags); 0: the larger of the two
  int32_t resamples = 1000;  // bootstrap resamples of the tracks; 0: no intervals
  uint64_t seed = 1;
  double confidence = 0.95;  // of every interval
  bool independentPairs = false;  // the "Independent Pairs Only" rule of CalcTrackMSD
};

// Lags a curve may have; bounds the per-track table (8 bytes per track and lag).
inline constexpr int32_t kMaxPooledLags = 200;

struct Interval {
  double low = std::numeric_limits<double>::quiet_NaN();
  double high = std::numeric_limits<double>::quiet_NaN();
};

struct PooledLag {
  double time = 0;  // lag x lag unit
  double msd = std::numeric_limits<double>::quiet_NaN();  // µm², NaN without pairs
  int64_t pairs = 0;
  int32_t tracks = 0;  // tracks with at least one pair at this lag
  Interval interval;   // bootstrap percentile interval of msd
  double sd = std::numeric_limits<double>::quiet_NaN();  // bootstrap SD of msd
};

struct PooledMsdResult {
  std::vector<PooledLag> lags;  // lags 1, 2, ...: lags[k - 1]
  double D = std::numeric_limits<double>::quiet_NaN();       // slope / 4, µm² per time unit
  double offset = std::numeric_limits<double>::quiet_NaN();  // intercept, µm²
  double sigma = std::numeric_limits<double>::quiet_NaN();   // sqrt(offset / 4), 0 if offset <= 0
  double alpha = std::numeric_limits<double>::quiet_NaN();
  Interval dInterval, alphaInterval;
  int32_t tracksUsed = 0;  // tracks with a pair at lag 1 and finite MSDs at every lag
  int64_t lag1Pairs = 0;
  int32_t resamples = 0;   // done
  std::string error;       // not empty when nothing could be computed (memory)
};

// `lagUnit` is dT x TimeScale. Tracks with fewer than 2 points, or with a non-finite MSD
// at any lag of the curve (NaN coordinates), are left out. D needs two lags with pairs
// and alpha three; otherwise they are NaN. The result depends on the tracks, their order
// and the settings only, never on the pool.
PooledMsdResult PooledMsd(const TrackXY* tracks, int32_t count, double lagUnit,
                          const PooledMsdSettings& settings, ThreadPool& pool);
// The same with the plain loops on this thread, for comparison; the same bits.
PooledMsdResult PooledMsdReference(const TrackXY* tracks, int32_t count, double lagUnit,
                                   const PooledMsdSettings& settings);
