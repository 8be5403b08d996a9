#include "stats/PooledMsd.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <new>

#include "stats/LagMsd.h"
#include "stats/LineFit.h"
#include "stats/ResampleSums.h"
#include "stats/ThreadPool.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int32_t kMaxResamples = 100000;

// The used tracks, ordered by length (stably): per lag the track's sum of squared
// displacements (its MSD as CalcTrackMSD forms it, times its pair count). Tracks of one
// length share their pair counts and sit side by side, so a resample's pair totals
// follow from how many of its draws fall into each stretch of equal lengths.
struct TrackTable {
  int32_t width = 0;  // lags 1 .. width
  int32_t used = 0;
  std::vector<double> rows;          // used x width
  std::vector<int32_t> groupPoints;  // points of the tracks of each stretch, rising
  std::vector<int32_t> groupEnd;     // one past each stretch's last track
  bool independentPairs = false;

  const double* Row(int32_t i) const { return rows.data() + static_cast<size_t>(i) * width; }
  int32_t GroupBegin(size_t g) const { return g == 0 ? 0 : groupEnd[g - 1]; }
  int64_t Pairs(size_t g, int32_t lag) const {
    return LagPairs(groupPoints[g], lag, independentPairs);
  }
};

int32_t TableWidth(const PooledMsdSettings& s) {
  return std::clamp(std::max({s.lags, s.fitLags, s.alphaLags, 1}), 1, kMaxPooledLags);
}

// Fills `row` for one track; false when the track is not used.
bool TrackRow(const TrackXY& t, int32_t width, bool independentPairs, double* row) {
  const int32_t n = ClampPoints(t.n);
  if (n < 2 || !t.x || !t.y) return false;
  for (int32_t k = 1; k <= width; ++k) {
    if (k >= n) {
      row[k - 1] = 0;
      continue;
    }
    const float msd = LagMsdFrom(t.curve, t.x, t.y, n, k, independentPairs);
    if (!std::isfinite(msd)) return false;
    row[k - 1] = static_cast<double>(msd) * LagPairs(n, k, independentPairs);
  }
  return true;
}

// Rows of every track (on the pool when given), then the used ones sorted by length
// (a counting sort, stable) into the table.
void BuildTable(const TrackXY* tracks, int32_t count, const PooledMsdSettings& s,
                ThreadPool* pool, TrackTable& table) {
  table.width = TableWidth(s);
  table.independentPairs = s.independentPairs;
  const size_t width = static_cast<size_t>(table.width);
  std::vector<double> rows(static_cast<size_t>(count) * width);
  std::vector<uint8_t> usable(static_cast<size_t>(count));
  auto fill = [&](int64_t from, int64_t to, unsigned) {
    for (int64_t i = from; i < to; ++i)
      usable[static_cast<size_t>(i)] =
          TrackRow(tracks[i], table.width, s.independentPairs, rows.data() + i * width);
  };
  if (pool)
    pool->ParallelFor(0, count, 2048, fill);
  else
    fill(0, count, 0);

  std::vector<int32_t> next(static_cast<size_t>(kMaxPoints) + 1, 0);  // tracks per length
  for (int32_t i = 0; i < count; ++i)
    if (usable[static_cast<size_t>(i)]) ++next[static_cast<size_t>(ClampPoints(tracks[i].n))];
  for (int32_t n = 0; n <= kMaxPoints; ++n) {
    const int32_t tracksOfLength = next[static_cast<size_t>(n)];
    next[static_cast<size_t>(n)] = table.used;  // first place of this length
    if (tracksOfLength == 0) continue;
    table.used += tracksOfLength;
    table.groupPoints.push_back(n);
    table.groupEnd.push_back(table.used);
  }
  table.rows.resize(static_cast<size_t>(table.used) * width);
  for (int32_t i = 0; i < count; ++i) {
    if (!usable[static_cast<size_t>(i)]) continue;
    const size_t to = static_cast<size_t>(next[static_cast<size_t>(ClampPoints(tracks[i].n))]++);
    std::memcpy(table.rows.data() + to * width, rows.data() + static_cast<size_t>(i) * width,
                width * sizeof(double));
  }
}

// The estimates from per-lag sums of squared displacements and pair totals.
struct Estimate {
  double D = kNaN, offset = kNaN, alpha = kNaN;
};

Estimate Finish(const double* sums, const int64_t* pairs, int32_t width, double lagUnit,
                const PooledMsdSettings& s, double* msd) {
  for (int32_t k = 0; k < width; ++k) msd[k] = pairs[k] > 0 ? sums[k] / pairs[k] : kNaN;
  Estimate e;
  // Longer lags have pairs only where shorter ones do: the usable lags are a prefix.
  LineSums line;
  for (int32_t k = 1; k <= std::min(s.fitLags, width) && !std::isnan(msd[k - 1]); ++k)
    line.Add(k * lagUnit, msd[k - 1]);
  if (line.Points() >= 2) {
    const Line fit = line.Fit();
    e.D = fit.slope / 4;
    e.offset = fit.intercept;
  }
  LineSums logLine;
  for (int32_t k = 1; k <= std::min(s.alphaLags, width) && msd[k - 1] > 0; ++k)
    logLine.Add(std::log(k * lagUnit), std::log(msd[k - 1]));
  if (logLine.Points() >= 3) e.alpha = logLine.Fit().slope;
  return e;
}

// Pair totals of a resample from how often it drew each length group.
void PairTotals(const TrackTable& t, const int64_t* groupDraws, int64_t* pairs) {
  for (int32_t k = 1; k <= t.width; ++k) {
    int64_t total = 0;
    for (size_t g = 0; g < t.groupPoints.size(); ++g) total += groupDraws[g] * t.Pairs(g, k);
    pairs[k - 1] = total;
  }
}

// What every resample leaves: its curve and its two estimates.
struct Resamples {
  std::vector<double> msd;  // count x width
  std::vector<double> D, alpha;
};

// One resample with the plain loops: draw, count, sum track by track in order.
void ResamplePlain(const TrackTable& t, int32_t r, double lagUnit, const PooledMsdSettings& s,
                   Resamples& out) {
  const size_t used = static_cast<size_t>(t.used), width = static_cast<size_t>(t.width);
  std::vector<int32_t> counts(used, 0);
  ResampleStream stream(s.seed, static_cast<uint64_t>(r));
  for (size_t d = 0; d < used; ++d) ++counts[stream.Below(static_cast<uint32_t>(used))];
  std::vector<int64_t> groupDraws(t.groupPoints.size(), 0);
  for (size_t g = 0; g < t.groupPoints.size(); ++g)
    for (int32_t i = t.GroupBegin(g); i < t.groupEnd[g]; ++i) groupDraws[g] += counts[static_cast<size_t>(i)];
  std::vector<double> sums(width, 0.0);
  std::vector<int64_t> pairs(width);
  for (size_t i = 0; i < used; ++i) {
    const double c = counts[i];
    const double* row = t.Row(static_cast<int32_t>(i));
    for (size_t k = 0; k < width; ++k) sums[k] = sums[k] + c * row[k];
  }
  PairTotals(t, groupDraws.data(), pairs.data());
  const Estimate e = Finish(sums.data(), pairs.data(), t.width, lagUnit, s,
                            out.msd.data() + static_cast<size_t>(r) * width);
  out.D[static_cast<size_t>(r)] = e.D;
  out.alpha[static_cast<size_t>(r)] = e.alpha;
}

// Work space of one worker for a block of kResampleLanes resamples, sized before the
// workers start so that they allocate nothing.
struct BlockScratch {
  std::vector<uint8_t> counts;      // used x lanes, interleaved
  std::vector<int64_t> groupDraws;  // lanes x groups
  std::vector<double> sums;         // width x lanes
  std::vector<double> laneSums;     // width
  std::vector<int64_t> pairs;       // width

  explicit BlockScratch(const TrackTable& t)
      : counts(static_cast<size_t>(t.used) * kResampleLanes),
        groupDraws(kResampleLanes * t.groupPoints.size()),
        sums(static_cast<size_t>(t.width) * kResampleLanes),
        laneSums(static_cast<size_t>(t.width)),
        pairs(static_cast<size_t>(t.width)) {}
};

// Resamples [first, first + lanes) side by side: the draws counted in bytes, then one
// pass of WeightedRowSums. A count past 255 (chance about e^-1/256! per track: never
// seen) is caught and the block is redone with the plain loops, which give the same bits.
void ResampleBlock(const TrackTable& t, int32_t first, int32_t lanes, double lagUnit,
                   const PooledMsdSettings& s, BlockScratch& b, Resamples& out) {
  const size_t used = static_cast<size_t>(t.used), width = static_cast<size_t>(t.width);
  const size_t groups = t.groupPoints.size();
  std::fill(b.counts.begin(), b.counts.end(), uint8_t{0});
  const bool counted = CountDraws(s.seed, static_cast<uint64_t>(first), lanes,
                                  static_cast<uint32_t>(used), b.counts.data());
  if (!counted) {
    for (int32_t lane = 0; lane < lanes; ++lane) ResamplePlain(t, first + lane, lagUnit, s, out);
    return;
  }
  for (size_t g = 0; g < groups; ++g) {
    int64_t draws[kResampleLanes] = {};
    for (int32_t i = t.GroupBegin(g); i < t.groupEnd[g]; ++i)
      for (int lane = 0; lane < kResampleLanes; ++lane)
        draws[lane] += b.counts[static_cast<size_t>(i) * kResampleLanes + static_cast<size_t>(lane)];
    for (int lane = 0; lane < kResampleLanes; ++lane)
      b.groupDraws[static_cast<size_t>(lane) * groups + g] = draws[lane];
  }
  WeightedRowSums(b.counts.data(), t.rows.data(), t.used, t.width, b.sums.data());
  for (int32_t lane = 0; lane < lanes; ++lane) {
    for (size_t k = 0; k < width; ++k) b.laneSums[k] = b.sums[k * kResampleLanes + lane];
    PairTotals(t, b.groupDraws.data() + static_cast<size_t>(lane) * groups, b.pairs.data());
    const size_t r = static_cast<size_t>(first + lane);
    const Estimate e = Finish(b.laneSums.data(), b.pairs.data(), t.width, lagUnit, s,
                              out.msd.data() + r * width);
    out.D[r] = e.D;
    out.alpha[r] = e.alpha;
  }
}

// Percentile interval (linear between order statistics) and SD of the finite values.
Interval Percentiles(std::vector<double> values, double confidence, double* sd = nullptr) {
  values.erase(std::remove_if(values.begin(), values.end(),
                              [](double v) { return !std::isfinite(v); }),
               values.end());
  Interval interval;
  const size_t m = values.size();
  if (m < 2 || !(confidence > 0 && confidence < 1)) return interval;
  std::sort(values.begin(), values.end());
  auto quantile = [&](double p) {
    const double at = p * static_cast<double>(m - 1);
    const size_t below = static_cast<size_t>(at);
    const double above = below + 1 < m ? values[below + 1] : values[below];
    return values[below] + (at - static_cast<double>(below)) * (above - values[below]);
  };
  interval.low = quantile((1 - confidence) / 2);
  interval.high = quantile((1 + confidence) / 2);
  if (sd) {
    double mean = 0, squares = 0;
    for (double v : values) mean += v;
    mean /= static_cast<double>(m);
    for (double v : values) squares += (v - mean) * (v - mean);
    *sd = std::sqrt(squares / static_cast<double>(m - 1));
  }
  return interval;
}

PooledMsdResult Run(const TrackXY* tracks, int32_t count, double lagUnit,
                    const PooledMsdSettings& s, ThreadPool* pool) {
  PooledMsdResult result;
  if (!tracks || count < 0) count = 0;
  if (!(lagUnit > 0) || !std::isfinite(lagUnit)) {
    result.error = "The time interval must be a positive number";
    return result;
  }
  try {
    TrackTable table;
    BuildTable(tracks, count, s, pool, table);
    const int32_t width = table.width;
    const size_t used = static_cast<size_t>(table.used);
    result.tracksUsed = table.used;

    // The estimate from all tracks once each.
    std::vector<double> sums(static_cast<size_t>(width), 0.0), msd(static_cast<size_t>(width));
    std::vector<int64_t> pairs(static_cast<size_t>(width));
    std::vector<int64_t> groupDraws(table.groupPoints.size());
    for (size_t g = 0; g < groupDraws.size(); ++g)
      groupDraws[g] = table.groupEnd[g] - table.GroupBegin(g);
    for (size_t i = 0; i < used; ++i) {
      const double* row = table.Row(static_cast<int32_t>(i));
      for (int32_t k = 0; k < width; ++k) sums[k] = sums[k] + row[k];
    }
    PairTotals(table, groupDraws.data(), pairs.data());
    const Estimate e = Finish(sums.data(), pairs.data(), width, lagUnit, s, msd.data());
    result.D = e.D;
    result.offset = e.offset;
    result.sigma = e.offset > 0 ? std::sqrt(e.offset / 4) : (std::isnan(e.offset) ? kNaN : 0.0);
    result.alpha = e.alpha;
    result.lag1Pairs = pairs[0];
    result.lags.resize(static_cast<size_t>(width));
    for (int32_t k = 1; k <= width; ++k) {
      PooledLag& lag = result.lags[static_cast<size_t>(k - 1)];
      lag.time = k * lagUnit;
      lag.msd = msd[static_cast<size_t>(k - 1)];
      lag.pairs = pairs[static_cast<size_t>(k - 1)];
      for (size_t g = 0; g < table.groupPoints.size(); ++g)
        if (table.Pairs(g, k) > 0)
          lag.tracks += static_cast<int32_t>(groupDraws[g]);
    }

    const int32_t R = table.used > 0 ? std::clamp(s.resamples, 0, kMaxResamples) : 0;
    if (R == 0) return result;
    Resamples out;
    out.msd.assign(static_cast<size_t>(R) * static_cast<size_t>(width), kNaN);
    out.D.assign(static_cast<size_t>(R), kNaN);
    out.alpha.assign(static_cast<size_t>(R), kNaN);
    if (pool) {
      std::vector<BlockScratch> scratch(pool->Slots(), BlockScratch(table));
      std::atomic<bool> shortOfMemory{false};  // only the never-seen overflow path allocates
      const int64_t blocks = (R + kResampleLanes - 1) / kResampleLanes;
      pool->ParallelFor(0, blocks, 1, [&](int64_t from, int64_t to, unsigned worker) {
        try {
          for (int64_t block = from; block < to; ++block) {
            const int32_t first = static_cast<int32_t>(block) * kResampleLanes;
            ResampleBlock(table, first, std::min(kResampleLanes, R - first), lagUnit, s,
                          scratch[worker], out);
          }
        } catch (const std::bad_alloc&) {
          shortOfMemory = true;
        }
      });
      if (shortOfMemory) throw std::bad_alloc();
    } else {
      for (int32_t r = 0; r < R; ++r) ResamplePlain(table, r, lagUnit, s, out);
    }

    result.resamples = R;
    result.dInterval = Percentiles(out.D, s.confidence);
    result.alphaInterval = Percentiles(out.alpha, s.confidence);
    std::vector<double> column(static_cast<size_t>(R));
    for (int32_t k = 0; k < width; ++k) {
      for (int32_t r = 0; r < R; ++r)
        column[static_cast<size_t>(r)] =
            out.msd[static_cast<size_t>(r) * static_cast<size_t>(width) + static_cast<size_t>(k)];
      PooledLag& lag = result.lags[static_cast<size_t>(k)];
      lag.interval = Percentiles(column, s.confidence, &lag.sd);
    }
  } catch (const std::bad_alloc&) {
    PooledMsdResult failed;
    failed.error = "Can not allocate memory for the pooled MSD";
    return failed;
  }
  return result;
}

}  // namespace

PooledMsdResult PooledMsd(const TrackXY* tracks, int32_t count, double lagUnit,
                          const PooledMsdSettings& settings, ThreadPool& pool) {
  return Run(tracks, count, lagUnit, settings, &pool);
}

PooledMsdResult PooledMsdReference(const TrackXY* tracks, int32_t count, double lagUnit,
                                   const PooledMsdSettings& settings) {
  return Run(tracks, count, lagUnit, settings, nullptr);
}
