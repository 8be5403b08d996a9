#include "stats/MsdCurveCache.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <new>

#include "store/SpotRec.h"

namespace {

// CalcTrackMSD reads at most kMaxPoints frames.
int32_t ClippedPoints(int32_t points) { return std::min(points, kMaxPoints); }

// Lags of the curve of a track of `points` frames, slot 0 included.
int32_t CurveLength(int32_t points) { return std::max(ClippedPoints(points) / 2, 1); }

bool SameLag(float a, float b) { return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b); }

}  // namespace

double DlatFromMsd(const float* MSD, int32_t K, float lag) {
  if (K <= 2) return std::numeric_limits<double>::quiet_NaN();
  double sum = 0;
  for (int32_t k = 2; k < K; ++k) {
    const float Dk = MSD[k] * 0.25 / (k * lag);
    sum += Dk;
  }
  return sum / (K - 2);
}

MsdCurveCache::MsdCurveCache() : slots_(new (std::nothrow) Slot[kStoreCapacity]) {}

MsdCurveCache::~MsdCurveCache() = default;

void MsdCurveCache::Keep(int32_t record, int32_t points, bool independentPairs, const float* MSD) {
  if (!slots_ || record < 0 || record >= kStoreCapacity) return;
  Slot& slot = slots_[record];
  slot.generation = 0;
  const int32_t length = CurveLength(points);
  if (slot.capacity < length) {
    slot.curve.reset();
    slot.capacity = 0;
    slot.curve.reset(new (std::nothrow) float[static_cast<size_t>(length)]);
    if (!slot.curve) return;
    slot.capacity = length;
  }
  float* curve = slot.curve.get();
  curve[0] = 0;
  std::copy(MSD + 1, MSD + length, curve + 1);
  slot.points = ClippedPoints(points);
  slot.independentPairs = independentPairs;
  slot.dlatLag.reset();  // formed when first asked for
  slot.generation = generation_;
}

bool MsdCurveCache::Valid(int32_t record) const {
  return slots_ && record >= 0 && record < kStoreCapacity &&
         slots_[record].generation == generation_;
}

const float* MsdCurveCache::Find(int32_t record, int32_t points, bool independentPairs) const {
  if (!Valid(record)) return nullptr;
  const Slot& slot = slots_[record];
  if (slot.points != ClippedPoints(points) || slot.independentPairs != independentPairs)
    return nullptr;
  return slot.curve.get();
}

double MsdCurveCache::Dlat(int32_t record, float lag) {
  Slot& slot = slots_[record];
  if (!slot.dlatLag || !SameLag(*slot.dlatLag, lag)) {
    slot.dlat = DlatFromMsd(slot.curve.get(), slot.points / 2, lag);
    slot.dlatLag = lag;
  }
  return slot.dlat;
}

int64_t MsdCurveCache::SlotBytes() const {
  return slots_ ? static_cast<int64_t>(sizeof(Slot)) * kStoreCapacity : 0;
}

int64_t MsdCurveCache::Bytes() const {
  if (!slots_) return 0;
  int64_t bytes = SlotBytes();
  for (int32_t i = 0; i < kStoreCapacity; ++i)
    bytes += static_cast<int64_t>(slots_[i].capacity) * static_cast<int64_t>(sizeof(float));
  return bytes;
}
