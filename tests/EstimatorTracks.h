#pragma once
// Simulated populations for the estimator tests, and their arrays as the estimators take them.
#include <vector>

#include "sim/Simulator.h"
#include "stats/PooledMsd.h"

inline std::vector<SimTrack> Diffusing(uint64_t seed, int32_t tracks, double alpha = 1,
                                       double noise = 0, bool blur = false) {
  PopulationPlan plan;
  plan.seed = seed;
  plan.tracks = tracks;
  plan.points = 200;
  plan.D = 0.1;
  plan.alpha = alpha;
  plan.localisationNoise = noise;
  plan.blur = blur;
  return MakePopulation(plan);
}

inline std::vector<TrackXY> Arrays(const std::vector<SimTrack>& tracks) {
  std::vector<TrackXY> arrays;
  for (const SimTrack& t : tracks) arrays.push_back({t.X.data(), t.Y.data(), t.NPoints});
  return arrays;
}
