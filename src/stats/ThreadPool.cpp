#include "stats/ThreadPool.h"

#include <algorithm>
#include <atomic>
#include <system_error>

ThreadPool::ThreadPool(unsigned threads, const ThreadStarter& start) {
  if (threads == 0) threads = std::max(1u, std::thread::hardware_concurrency());
  workers_.reserve(threads);
  for (unsigned i = 0; i < threads; ++i) {
    std::function<void()> body = [this, i] { WorkerLoop(i); };
    try {
      workers_.push_back(start ? start(std::move(body)) : std::thread(std::move(body)));
    } catch (const std::system_error&) {
      break;  // fewer workers; with none at all, tasks run on the caller
    }
  }
}

ThreadPool::~ThreadPool() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

ThreadPool& ThreadPool::Shared() {
  static ThreadPool pool;
  return pool;
}

void ThreadPool::Submit(std::function<void(unsigned)> task) {
  if (workers_.empty()) {
    task(0);
    return;
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    queue_.push_back(std::move(task));
    ++outstanding_;
  }
  wake_.notify_one();
}

void ThreadPool::Wait() {
  std::unique_lock<std::mutex> lock(mutex_);
  idle_.wait(lock, [this] { return outstanding_ == 0; });
}

void ThreadPool::WorkerLoop(unsigned index) {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
    if (queue_.empty()) return;  // stopping, nothing left
    std::function<void(unsigned)> task = std::move(queue_.front());
    queue_.pop_front();
    lock.unlock();
    task(index);
    lock.lock();
    if (--outstanding_ == 0) idle_.notify_all();
  }
}

void ThreadPool::ParallelFor(int64_t begin, int64_t end, int64_t grain,
                             const std::function<void(int64_t, int64_t, unsigned)>& fn) {
  if (end <= begin) return;
  if (grain < 1) grain = 1;
  const int64_t chunks = (end - begin + grain - 1) / grain;
  // Chunks are handed out in rising order as workers come free; each runs exactly once.
  std::atomic<int64_t> next{0};
  auto drain = [&](unsigned worker) {
    for (int64_t c = next.fetch_add(1); c < chunks; c = next.fetch_add(1)) {
      const int64_t from = begin + c * grain;
      fn(from, std::min(end, from + grain), worker);
    }
  };
  const int64_t tasks = std::min<int64_t>(chunks, Slots());
  for (int64_t t = 0; t < tasks; ++t) Submit(drain);
  Wait();
}
