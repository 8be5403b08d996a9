#pragma once
// Bulk memory for the frames of tracks read from a file. Reading 10^5 tracks allocates
// 3 x 10^5 small arrays; taken one by one from the heap they cost as much time as the
// read itself, mostly in first-touch page faults. Here they are cut front to back from
// large zeroed slabs (backed by huge pages where the system offers them), and a slab
// goes back to the system once every array cut from it has been released.
#include <cstdint>

class FrameSlabs {
 public:
  FrameSlabs() = default;
  ~FrameSlabs();
  FrameSlabs(const FrameSlabs&) = delete;
  FrameSlabs& operator=(const FrameSlabs&) = delete;

  // `count` zeroed floats, or nullptr when the slab memory is short or the request is
  // larger than slabs serve (the caller then uses the heap). One thread at a time.
  float* Allocate(int32_t count);
  // Gives back floats from Allocate; any thread.
  static void Release(float* floats, int32_t count);

  // Requests up to this many floats are served; longer tracks are few, and their own
  // heap allocations cost little next to their arithmetic.
  static constexpr int32_t kLargestRequest = 4096;

 private:
  char* slab_ = nullptr;  // the slab being cut, with one hold of our own on it
  int64_t used_ = 0;      // bytes of it handed out, its header included
};
