#include "store/SpotRec.h"

#include <algorithm>

bool SpotRec::AllocateFrames(int32_t nPoints, FrameSlabs* slabs) {
  Int.Release();
  X.Release();
  Y.Release();
  const int32_t count = (nPoints < 0 ? 0 : nPoints) + kSpareFrames;
  return Int.Allocate(count, slabs) && X.Allocate(count, slabs) && Y.Allocate(count, slabs);
}

int32_t SpotRec::ReadablePoints() const {
  const int32_t held = std::min({Int.size(), X.size(), Y.size(), kMaxPoints});
  return std::clamp(NPoints, int32_t{0}, std::max(held, int32_t{0}));
}
