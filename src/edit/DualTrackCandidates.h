#pragma once
// Which selected tracks could pair up in "Find Dual Tracks", found without comparing all
// pairs: a pair needs MinNumDataPoints close frames in a row, and every such run holds a
// frame that is a multiple of MinNumDataPoints, where the two points then lie in the same
// or neighbouring cells of a grid whose cells are at least the critical distance wide.
// So only points in those frames go into the grid, and only tracks that meet in a cell
// become candidates. Tracks that can never be close are left out; no possible pair is.
#include <cstdint>
#include <vector>

#include "store/SpotRec.h"
#include "store/TrackStore.h"

// A point's absolute position as the pairing measures it: the header position in units
// of 0.1 µm plus X (or Y), or X (or Y) alone in the 2016 layout.
inline double AbsoluteX(const SpotRec& t, int32_t j, bool format2016) {
  return format2016 ? static_cast<double>(t.X[j]) : t.PosX * 0.1 + t.X[j];
}
inline double AbsoluteY(const SpotRec& t, int32_t j, bool format2016) {
  return format2016 ? static_cast<double>(t.Y[j]) : t.PosY * 0.1 + t.Y[j];
}

class PairCandidates {
 public:
  // False when the grid cannot narrow the search (memory short, or so many tracks meet
  // that the plain search costs no more); the caller then compares all pairs.
  // `minRun` must be at least 1.
  bool Build(const TrackStore& store, double criticalDistance, int32_t minRun, bool format2016);

  // Calls visit(k) for every possible partner k of track i in rising k until it returns
  // true. A track with a point too far out for the grid is a possible partner of all.
  template <typename Visit>
  void ForEach(int32_t i, Visit&& visit) const {
    if (i < 0 || i >= count_) return;
    if (everywhere_[static_cast<size_t>(i)]) {
      for (int32_t k = 0; k < count_; ++k)
        if (visit(k)) return;
      return;
    }
    const int32_t* near = list_.data() + start_[static_cast<size_t>(i)];
    const int32_t* nearEnd = list_.data() + start_[static_cast<size_t>(i) + 1];
    const int32_t* far = farOut_.data();
    const int32_t* farEnd = far + farOut_.size();
    // Both lists rise; merged, each track once.
    while (near != nearEnd || far != farEnd) {
      int32_t k;
      if (far == farEnd || (near != nearEnd && *near < *far)) {
        k = *near++;
      } else {
        k = *far++;
        if (near != nearEnd && *near == k) ++near;
      }
      if (visit(k)) return;
    }
  }

 private:
  int32_t count_ = 0;
  std::vector<int64_t> start_;     // track i's candidates: list_[start_[i] .. start_[i+1])
  std::vector<int32_t> list_;      // rising within each track
  std::vector<int32_t> farOut_;    // tracks outside the grid's reach, rising
  std::vector<uint8_t> everywhere_;
};
