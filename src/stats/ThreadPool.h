#pragma once
// A fixed set of worker threads for work that splits across tracks. Every piece of work
// writes its results by index (the track's record, a chunk's slot), so which worker runs
// what, and when, never shows in the results.
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class ThreadPool {
 public:
  // Starts one worker running `body`; throws std::system_error when the system refuses
  // the thread (as std::thread does under a low process limit).
  using ThreadStarter = std::function<std::thread(std::function<void()> body)>;

  // `threads` workers; 0 = one per hardware thread. Workers the system refuses are done
  // without: with none at all the pool runs every task on the calling thread. `start`
  // (default: std::thread) lets tests refuse threads at will.
  explicit ThreadPool(unsigned threads = 0, const ThreadStarter& start = {});
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  // The process-wide pool, sized to the machine, started at first use.
  static ThreadPool& Shared();

  // Worker indexes run from 0 to Slots() - 1; per-worker scratch needs that many slots.
  unsigned Slots() const { return workers_.empty() ? 1u : static_cast<unsigned>(workers_.size()); }
  // False when the system refused every thread (tasks then run inside Submit).
  bool Threaded() const { return !workers_.empty(); }

  // Queues `task`; it runs on a worker and is given that worker's index. A task may wait
  // for others queued before it only while some worker is left free to run them. Not to
  // be called from inside a task.
  void Submit(std::function<void(unsigned worker)> task);
  // Returns when every task queued so far has finished.
  void Wait();

  // Runs fn(chunkBegin, chunkEnd, worker) over [begin, end) cut into chunks of `grain`
  // items (the last may be shorter), and returns when all are done. The chunk bounds
  // depend on begin, end and grain only, so per-chunk partial results indexed by
  // (chunkBegin - begin) / grain combine the same way on any machine. Not to be called
  // from inside a task.
  void ParallelFor(int64_t begin, int64_t end, int64_t grain,
                   const std::function<void(int64_t, int64_t, unsigned)>& fn);

 private:
  void WorkerLoop(unsigned index);

  std::vector<std::thread> workers_;
  std::mutex mutex_;
  std::condition_variable wake_;  // a task was queued, or the pool is stopping
  std::condition_variable idle_;  // the last outstanding task finished
  std::deque<std::function<void(unsigned)>> queue_;
  int64_t outstanding_ = 0;  // queued or running
  bool stopping_ = false;
};
