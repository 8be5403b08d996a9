#include <gtest/gtest.h>

#include "EstimatorTracks.h"
#include "stats/ThreadPool.h"

// The 95 % bootstrap interval of the pooled D holds the simulated truth in about 95 of
// 100 independent experiments; 90 leaves room for chance (P(< 90) is about 1 %).
TEST(PooledMsdSlow, BootstrapIntervalCoversTheTruth) {
  int covered = 0;
  for (uint64_t seed = 1; seed <= 100; ++seed) {
    const std::vector<SimTrack> tracks = Diffusing(1000 + seed, 500);
    const PooledMsdResult r = PooledMsd(Arrays(tracks).data(), 500, 0.03,
                                        {.seed = seed}, ThreadPool::Shared());
    covered += r.dInterval.low <= 0.1 && 0.1 <= r.dInterval.high;
  }
  EXPECT_GE(covered, 90);
}
