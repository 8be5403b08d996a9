#include "store/SpotRec.h"

bool SpotRec::AllocateFrames(int32_t nPoints, FrameSlabs* slabs) {
  Int.Release();
  X.Release();
  Y.Release();
  const int32_t count = (nPoints < 0 ? 0 : nPoints) + kSpareFrames;
  return Int.Allocate(count, slabs) && X.Allocate(count, slabs) && Y.Allocate(count, slabs);
}
