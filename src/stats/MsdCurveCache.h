#pragma once
// The MSD curve of every track, kept from the moment CalcTrackMSD computes it so that
// the MSD panel sums stored curves instead of running CalcTrackMSD twice per track on
// every recomputation.
//
// A kept curve is current while nothing that feeds CalcTrackMSD has changed: the
// coordinates, the number of points, the pair rule. The owner tells the cache by
// Invalidate() whenever tracks may have changed (every command that is not known to
// leave them alone); each kept curve carries the generation it was computed in and
// counts only in that generation. The number of points and the pair rule are checked
// per curve as well; the track's Dlat follows from the curve and the lag unit.
#include <cstdint>
#include <memory>
#include <optional>

class MsdCurveCache {
 public:
  // One slot per record of the store; Ready() is false when memory was short, and
  // then nothing is ever kept.
  MsdCurveCache();
  ~MsdCurveCache();
  MsdCurveCache(const MsdCurveCache&) = delete;
  MsdCurveCache& operator=(const MsdCurveCache&) = delete;

  bool Ready() const { return slots_ != nullptr; }

  // Every kept curve becomes stale.
  void Invalidate() { ++generation_; }

  // Keeps the curve CalcTrackMSD has just left in MSD[1 .. points/2 - 1] for `record`,
  // computed from `points` frames under the given pair rule. When memory for the curve
  // is short the record's curve is only marked stale. Several threads may keep curves of
  // different records at once.
  void Keep(int32_t record, int32_t points, bool independentPairs, const float* MSD);

  // The current curve of `record` for these inputs, or null: curve[k] is MSD[k] for
  // k = 1 .. points/2 - 1 and curve[0] is 0.
  const float* Find(int32_t record, int32_t points, bool independentPairs) const;
  // The Dlat that CalcTrackMSD returns for the current curve of `record` with the lag unit
  // `lag`, formed from the curve at the first call for that lag unit. Only for a record
  // whose Find succeeds; not to be called for one record from two threads at once.
  double Dlat(int32_t record, float lag);

  // Memory held for curves, slots included, and the part of it that the slots take.
  int64_t Bytes() const;
  int64_t SlotBytes() const;

 private:
  struct Slot {
    std::unique_ptr<float[]> curve;
    int32_t capacity = 0;  // floats allocated
    int32_t points = 0;
    bool independentPairs = false;
    uint64_t generation = 0;  // 0: nothing kept
    std::optional<float> dlatLag;  // the lag unit `dlat` was formed with
    double dlat = 0;
  };
  bool Valid(int32_t record) const;

  std::unique_ptr<Slot[]> slots_;
  uint64_t generation_ = 1;
};

// The Dlat CalcTrackMSD forms from MSD[1 .. K-1]: the mean of MSD[k] x 0.25 / (k x lag),
// each rounded to a float, over k = 2 .. K-1; NaN for K <= 2.
double DlatFromMsd(const float* MSD, int32_t K, float lag);
