// Frames cut from slabs behave like heap frames: zeroed, separate, owned by one array,
// and given back from any thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "store/FrameArray.h"
#include "store/FrameSlabs.h"

TEST(FrameSlabs, ArraysAreZeroedAlignedAndApartAcrossManySlabs) {
  std::vector<FrameArray> arrays(20000);
  {
    FrameSlabs slabs;
    // 20000 x ~1 kB spans more than one slab, so slab changes are crossed too.
    for (size_t i = 0; i < arrays.size(); ++i) {
      const int32_t count = 1 + static_cast<int32_t>(i * 37 % 300);
      ASSERT_TRUE(arrays[i].Allocate(count, &slabs));
      const float* f = arrays[i].data();
      EXPECT_TRUE(reinterpret_cast<std::uintptr_t>(f) % 64 == 0 &&
                  std::all_of(f, f + count, [](float v) { return v == 0.0f; })) << i;
      std::fill(arrays[i].data(), arrays[i].data() + count, static_cast<float>(i));
    }
  }  // the allocator goes first: the arrays keep their slabs alive
  for (size_t i = 0; i < arrays.size(); ++i) {
    const float* f = arrays[i].data();
    ASSERT_TRUE(std::all_of(f, f + arrays[i].size(), [&](float v) { return v == i; })) << i;
  }
  // Released from two threads at once, each slab exactly once when its last array goes.
  std::thread other([&] { for (size_t i = 0; i < arrays.size(); i += 2) arrays[i].Release(); });
  for (size_t i = 1; i < arrays.size(); i += 2) arrays[i].Release();
  other.join();
}

TEST(FrameSlabs, LongRequestsAndCopiesComeFromTheHeap) {
  FrameSlabs slabs;
  EXPECT_TRUE(!slabs.Allocate(FrameSlabs::kLargestRequest + 1) && !slabs.Allocate(0));

  FrameArray long_, cut;
  ASSERT_TRUE(long_.Allocate(FrameSlabs::kLargestRequest + 1, &slabs));  // heap fallback
  EXPECT_EQ(long_.size(), FrameSlabs::kLargestRequest + 1);
  ASSERT_TRUE(cut.Allocate(10, &slabs));
  cut[9] = 4.5f;
  FrameArray copy = cut;  // a deep copy on the heap; releasing one leaves the other
  FrameArray moved = std::move(cut);
  EXPECT_EQ(cut.data(), nullptr);
  moved.Release();
  EXPECT_EQ(copy[9], 4.5f);
  copy = long_;  // reallocation from the heap frees the old heap copy
  EXPECT_EQ(copy.size(), long_.size());
}
