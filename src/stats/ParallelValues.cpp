#include "stats/ParallelValues.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <utility>

#include "stats/MsdCurveCache.h"

namespace {

using Clock = std::chrono::steady_clock;

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

// Chunks of tracks handed from the reading thread to consumer tasks on the pool, in the
// order they were read.
class ChunkPipeline {
 public:
  using Work = std::function<void(int32_t, int32_t, unsigned)>;
  ChunkPipeline(ThreadPool& pool, Work work) : pool_(pool), work_(std::move(work)) {}

  // Opens the pipeline (if closed) and adds `consumers` consumer tasks.
  void Start(unsigned consumers) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      closed_ = false;
    }
    for (unsigned c = 0; c < consumers; ++c)
      pool_.Submit([this](unsigned worker) { Consume(worker); });
  }
  void Push(int32_t from, int32_t to) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      chunks_.emplace_back(from, to);
    }
    more_.notify_one();
  }
  // Closes the pipeline: returns when every chunk is done and every consumer has left,
  // so the pool is idle (and free for other work) until the next Start.
  void Stop() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      closed_ = true;
    }
    more_.notify_all();
    pool_.Wait();
  }

 private:
  void Consume(unsigned worker) {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      more_.wait(lock, [this] { return closed_ || !chunks_.empty(); });
      if (chunks_.empty()) return;  // closed and nothing left
      const auto [from, to] = chunks_.front();
      chunks_.pop_front();
      lock.unlock();
      work_(from, to, worker);
      lock.lock();
    }
  }

  ThreadPool& pool_;
  Work work_;
  std::mutex mutex_;
  std::condition_variable more_;  // a chunk came, or the pipeline closed
  std::deque<std::pair<int32_t, int32_t>> chunks_;
  bool closed_ = false;
};

// Whether a pause is due.
class PauseTimer {
 public:
  explicit PauseTimer(const LoadPauses& pauses)
      : pauses_(pauses), next_(Clock::now() + Seconds(pauses.first)) {}
  bool Due() const { return pauses_.pause && Clock::now() >= next_; }
  void Pause() {
    pauses_.pause();
    next_ = Clock::now() + Seconds(pauses_.every);
  }

 private:
  static Clock::duration Seconds(double s) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(s));
  }
  const LoadPauses& pauses_;
  Clock::time_point next_;
};

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
                           const LoadPauses& pauses, MsdCurveCache* curves) {
  WorkerScratch workers(pool);
  PauseTimer timer(pauses);
  if (!workers.Ready() || !pool.Threaded()) {
    // Short of memory or threads for the workers: compute each track here as it comes.
    return reader.ReadTracks(store, [&](SpotRec& track) {
      ComputeTrackValues(track, settings, rules, scratch);
      KeepCurve(curves, store, static_cast<int32_t>(&track - &store[0]), rules, scratch);
      if (timer.Due()) timer.Pause();
    });
  }

  // While this thread reads, one worker fewer than the pool has computes: the reading
  // is the one part that cannot be shared out, and a worker competing with it for a
  // processor would only hold it up. Once the file is read, every worker joins in.
  const unsigned whileReading = pool.Slots() > 1 ? pool.Slots() - 1 : 1;
  const unsigned afterReading = pool.Slots() - whileReading;
  ChunkPipeline pipeline(pool, [&store, &settings, &rules, &workers, curves](
                                   int32_t from, int32_t to, unsigned worker) {
    ComputeRange(store, from, to, settings, rules, workers[worker], false, curves);
  });
  pipeline.Start(whileReading);

  const int32_t first = store.NSpots;
  int32_t handed = first;  // tracks [first, handed) have been read
  int32_t queued = first;  // tracks [first, queued) have been given to the workers
  int64_t pendingWork = 0;
  const QviStop stop = reader.ReadTracks(store, [&](SpotRec& track) {
    // The reader hands over the records in store order, each before it is counted.
    handed = static_cast<int32_t>(&track - &store[0]) + 1;
    pendingWork += TrackWork(track);
    if (pendingWork < kChunkWork) return;
    pipeline.Push(queued, handed);
    queued = handed;
    pendingWork = 0;
    if (timer.Due()) {
      // Every worker helps to run the queue dry, so no processor idles meanwhile.
      pipeline.Start(afterReading);
      pipeline.Stop();
      timer.Pause();
      pipeline.Start(whileReading);
    }
  });
  if (queued < handed) pipeline.Push(queued, handed);
  pipeline.Start(afterReading);
  pipeline.Stop();
  return stop;
}

QviStop ReadTracksReference(QviReader& reader, TrackStore& store, const Settings& settings,
                            const PairRules& rules, MsdScratch& scratch) {
  reader.UseHeapFrames();
  return reader.ReadTracks(store, [&](SpotRec& track) {
    ComputeTrackValuesReference(track, settings, rules, scratch);
  });
}
