#include "store/FrameSlabs.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define KINETRA_POISON(address, bytes) ASAN_POISON_MEMORY_REGION(address, bytes)
#define KINETRA_UNPOISON(address, bytes) ASAN_UNPOISON_MEMORY_REGION(address, bytes)
#else
#define KINETRA_POISON(address, bytes) ((void)(address), (void)(bytes))
#define KINETRA_UNPOISON(address, bytes) ((void)(address), (void)(bytes))
#endif

namespace {

// Slabs are aligned to their size, so an array finds its slab's header from its own
// address. 16 MB: eight huge pages, and little held back by a few long-lived tracks.
constexpr int64_t kSlabBytes = int64_t{16} << 20;
// Arrays start on cache lines. Under the address sanitizer a poisoned gap follows each
// array, so reads past its end are still caught.
constexpr int64_t kAlign = 64;
#if defined(__SANITIZE_ADDRESS__)
constexpr int64_t kGap = 64;
#else
constexpr int64_t kGap = 0;
#endif

struct SlabHeader {
  // Arrays not yet released, plus one while the slab is still being cut.
  std::atomic<int64_t> holds;
};
constexpr int64_t kHeaderBytes = (sizeof(SlabHeader) + kAlign - 1) / kAlign * kAlign;

SlabHeader* HeaderOf(const void* address) {
  const auto bits = reinterpret_cast<std::uintptr_t>(address);
  return reinterpret_cast<SlabHeader*>(bits & ~static_cast<std::uintptr_t>(kSlabBytes - 1));
}

#if defined(__linux__)

char* MapSlab() {
  // Twice the size, then the ends cut off, leaves a slab aligned to its size.
  void* mapped = mmap(nullptr, 2 * kSlabBytes, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  char* start = static_cast<char*>(mapped);
  const auto bits = reinterpret_cast<std::uintptr_t>(start);
  const auto aligned = (bits + kSlabBytes - 1) & ~static_cast<std::uintptr_t>(kSlabBytes - 1);
  char* slab = start + (aligned - bits);
  if (slab > start) munmap(start, static_cast<size_t>(slab - start));
  char* end = slab + kSlabBytes;
  if (end < start + 2 * kSlabBytes) munmap(end, static_cast<size_t>(start + 2 * kSlabBytes - end));
#if defined(MADV_HUGEPAGE)
  madvise(slab, kSlabBytes, MADV_HUGEPAGE);  // a hint: without it the slab works the same
#endif
  KINETRA_POISON(slab + kHeaderBytes, kSlabBytes - kHeaderBytes);
  return slab;
}

void UnmapSlab(SlabHeader* header) {
  KINETRA_UNPOISON(header, kSlabBytes);
  header->~SlabHeader();
  munmap(header, kSlabBytes);
}

#else

char* MapSlab() { return nullptr; }  // every array then comes from the heap
void UnmapSlab(SlabHeader*) {}

#endif

void Drop(SlabHeader* header) {
  if (header->holds.fetch_sub(1, std::memory_order_acq_rel) == 1) UnmapSlab(header);
}

}  // namespace

FrameSlabs::~FrameSlabs() {
  if (slab_) Drop(HeaderOf(slab_));
}

float* FrameSlabs::Allocate(int32_t count) {
  if (count <= 0 || count > kLargestRequest) return nullptr;
  const int64_t bytes = (int64_t{count} * int64_t{sizeof(float)} + kGap + kAlign - 1) / kAlign * kAlign;
  if (!slab_ || used_ + bytes > kSlabBytes) {
    char* fresh = MapSlab();
    if (!fresh) return nullptr;
    new (fresh) SlabHeader{1};
    if (slab_) Drop(HeaderOf(slab_));
    slab_ = fresh;
    used_ = kHeaderBytes;
  }
  char* floats = slab_ + used_;
  used_ += bytes;
  HeaderOf(slab_)->holds.fetch_add(1, std::memory_order_relaxed);
  KINETRA_UNPOISON(floats, static_cast<size_t>(count) * sizeof(float));
  return reinterpret_cast<float*>(floats);  // never handed out before: still zero
}

void FrameSlabs::Release(float* floats, int32_t count) {
  KINETRA_POISON(floats, static_cast<size_t>(count) * sizeof(float));
  Drop(HeaderOf(floats));
}
