#pragma once
// Per-track values of many tracks at once on the worker threads, and the QVI load that
// computes them while it goes on reading. Each track's values depend on that track
// alone and land in its own record, so the store ends exactly as one-by-one computing
// leaves it.
#include <cstdint>
#include <functional>
#include <memory>

#include "stats/ThreadPool.h"
#include "stats/TrackValues.h"
#include "store/QviReader.h"
#include "store/Settings.h"
#include "store/TrackStore.h"

class MsdCurveCache;

// Work arrays for each worker of a pool.
class WorkerScratch {
 public:
  explicit WorkerScratch(const ThreadPool& pool);
  // False when memory was short; callers then compute on their own thread.
  bool Ready() const { return scratch_ != nullptr; }
  BatchScratch& operator[](unsigned worker) { return scratch_[worker]; }

 private:
  std::unique_ptr<BatchScratch[]> scratch_;
};

// ComputeTrackValues (or, with mobilityOnly, RecomputeMobility) for the tracks
// [first, end) of the store, spread over the pool; small ranges and a shortage of memory
// for the workers' scratch run on the calling thread with `scratch`. With `curves`, each
// track's MSD curve is kept there as it is computed.
void ComputeTrackValuesParallel(TrackStore& store, int32_t first, int32_t end,
                                const Settings& settings, const PairRules& rules,
                                ThreadPool& pool, MsdScratch& scratch, bool mobilityOnly = false,
                                MsdCurveCache* curves = nullptr);

// When a long load stops for `pause` (progress reports): first after `first` seconds
// (no one sees progress sooner), then every `every` seconds.
struct LoadPauses {
  std::function<void()> pause;
  double first = 0.5;
  double every = 0.2;
};

// The rest of the file into the store, exactly as QviReader::ReadTracks reads it, while
// the pool computes the per-track values of the tracks read so far. Values are computed
// for every track ReadTracks hands over, including one it drops again when memory runs
// out, as reading one by one does. At each pause the workers are let run dry before
// `pause` is called on this thread (whatever it does, no worker is touching the store
// meanwhile).
QviStop ReadTracksParallel(QviReader& reader, TrackStore& store, const Settings& settings,
                           const PairRules& rules, ThreadPool& pool, MsdScratch& scratch,
                           const LoadPauses& pauses = {}, MsdCurveCache* curves = nullptr);

// The plain path kept for comparison: each track's values with the scalar loops, on this
// thread, as soon as the track is read.
QviStop ReadTracksReference(QviReader& reader, TrackStore& store, const Settings& settings,
                            const PairRules& rules, MsdScratch& scratch);
