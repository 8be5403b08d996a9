#include "stats/ParallelValues.h"

#include <chrono>
#include <new>

#include "stats/MsdCurveCache.h"

namespace {

// Rough cost of a track's values in pair additions: the overlapping MSD dominates.
int64_t TrackWork(const SpotRec& track) {
  const int64_t n = track.NPoints > 0 ? track.NPoints : 0;
  return n * n / 4 + 40 * n + 200;
}

// A chunk is worth a task from about this much work on (a millisecond or so).
constexpr int64_t kChunkWork = 3'000'000;

// The curve the track's values were just computed with, into `curves` (if any).
void KeepCurve(MsdCurveCache* curves, const TrackStore& store, int32_t i, const PairRules& rules,
               const MsdScratch& scratch) {
  if (curves) curves->Keep(i, store[i].NPoints, rules.IndependentPairs, scratch.MSD);
}

void ComputeRange(TrackStore& store, int32_t first, int32_t end, const Settings& settings,
                  const PairRules& rules, BatchScratch& scratch, bool mobilityOnly,
                  MsdCurveCache* curves) {
  if (mobilityOnly) {
    for (int32_t i = first; i < end; ++i) {
      RecomputeMobility(store[i], settings, rules, scratch.Msd[0]);
      KeepCurve(curves, store, i, rules, scratch.Msd[0]);
    }
    return;
  }
  SpotRec* batch[BatchScratch::kTracks];
  for (int32_t i = first; i < end; i += BatchScratch::kTracks) {
    int count = 0;
    for (int32_t j = i; j < end && count < BatchScratch::kTracks; ++j) batch[count++] = &store[j];
    ComputeTrackValuesBatch(batch, count, settings, rules, scratch);
    for (int t = 0; t < count; ++t) KeepCurve(curves, store, i + t, rules, scratch.Msd[t]);
  }
}

}  // namespace

WorkerScratch::WorkerScratch(const ThreadPool& pool)
    : scratch_(new (std::nothrow) BatchScratch[pool.Slots()]) {}

void ComputeTrackValuesParallel(TrackStore& store, int32_t first, int32_t end,
                                const Settings& settings, const PairRules& rules,
                                ThreadPool& pool, MsdScratch& scratch, bool mobilityOnly,
                                MsdCurveCache* curves) {
  int64_t work = 0;
  for (int32_t i = first; i < end; ++i) work += TrackWork(store[i]);
  auto oneByOne = [&] {
    for (int32_t i = first; i < end; ++i) {
      if (mobilityOnly)
        RecomputeMobility(store[i], settings, rules, scratch);
      else
        ComputeTrackValues(store[i], settings, rules, scratch);
      KeepCurve(curves, store, i, rules, scratch);
    }
  };
  if (work < 2 * kChunkWork || pool.Slots() < 2) return oneByOne();
  WorkerScratch workers(pool);
  if (!workers.Ready()) return oneByOne();
  // Chunks of about equal work, cut in store order; workers take them as they come free.
  int32_t chunkStart = first;
  int64_t chunkWork = 0;
  for (int32_t i = first; i < end; ++i) {
    chunkWork += TrackWork(store[i]);
    if (chunkWork >= kChunkWork || i + 1 == end) {
      pool.Submit([&store, &settings, &rules, &workers, mobilityOnly, curves, from = chunkStart,
                   to = i + 1](unsigned worker) {
        ComputeRange(store, from, to, settings, rules, workers[worker], mobilityOnly, curves);
      });
      chunkStart = i + 1;
      chunkWork = 0;
    }
  }
  pool.Wait();
}

QviStop ReadTracksParallel(QviReader& reader, TrackStore& store, const Settings& settings,
                           const PairRules& rules, ThreadPool& pool, MsdScratch& scratch,
                           const std::function<void()>& pause, double pauseSeconds,
                           MsdCurveCache* curves) {
  using Clock = std::chrono::steady_clock;
  WorkerScratch workers(pool);
  if (!workers.Ready()) {
    // Short of memory for the workers: compute each track on this thread as it comes.
    auto lastPause = Clock::now();
    return reader.ReadTracks(store, [&](SpotRec& track) {
      ComputeTrackValues(track, settings, rules, scratch);
      KeepCurve(curves, store, static_cast<int32_t>(&track - &store[0]), rules, scratch);
      if (pause && Clock::now() - lastPause >= std::chrono::duration<double>(pauseSeconds)) {
        pause();
        lastPause = Clock::now();
      }
    });
  }

  const int32_t first = store.NSpots;
  int32_t handed = first;  // tracks [first, handed) have been read
  int32_t queued = first;  // tracks [first, queued) have been given to the workers
  int64_t pendingWork = 0;
  auto queue = [&](int32_t to) {
    pool.Submit([&store, &settings, &rules, &workers, curves, from = queued, to](unsigned worker) {
      ComputeRange(store, from, to, settings, rules, workers[worker], false, curves);
    });
    queued = to;
    pendingWork = 0;
  };

  auto lastPause = Clock::now();
  const QviStop stop = reader.ReadTracks(store, [&](SpotRec& track) {
    // The reader hands over the records in store order, each before it is counted.
    handed = static_cast<int32_t>(&track - &store[0]) + 1;
    pendingWork += TrackWork(track);
    if (pendingWork < kChunkWork) return;
    queue(handed);
    if (pause && Clock::now() - lastPause >= std::chrono::duration<double>(pauseSeconds)) {
      pool.Wait();
      pause();
      lastPause = Clock::now();
    }
  });
  if (queued < handed) queue(handed);
  pool.Wait();
  return stop;
}

QviStop ReadTracksReference(QviReader& reader, TrackStore& store, const Settings& settings,
                            const PairRules& rules, MsdScratch& scratch) {
  return reader.ReadTracks(store, [&](SpotRec& track) {
    ComputeTrackValuesReference(track, settings, rules, scratch);
  });
}
