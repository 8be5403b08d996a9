#include "edit/Cleaning.h"

#include <algorithm>
#include <cstdlib>

#include "edit/TrackPoints.h"
#include "store/Numbers.h"

void RemoveEnds(TrackStore& store) {
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    t.FirstFrame = SaturatingAdd(t.FirstFrame, 1);
    const int32_t n = std::max(UsablePoints(t) - 2, 0);
    t.NPoints = n;
    for (int32_t j = 0; j < n; ++j) {
      t.X[j] = t.X[j + 1];
      t.Y[j] = t.Y[j + 1];
      t.Int[j] = t.Int[j + 1];
    }
  }
}

namespace {

// Header positions as wide integers: their difference never overflows.
bool Close(const SpotRec& a, const SpotRec& b) {
  return std::llabs(int64_t{a.PosX} - b.PosX) < 6 && std::llabs(int64_t{a.PosY} - b.PosY) < 6;
}

}  // namespace

int32_t RemoveDupicates(TrackStore& store, DuplicateScratch& scratch) {
  // Only close pairs act, so each track looks only at the tracks within 5 of its PosX,
  // taken in index order: the same result as trying every k, without the N² tries.
  int32_t cleared = 0;
  bool found = true;
  while (found) {
    found = false;
    // A pass never revives a track, so the tracks valid at its start are all it can meet.
    int32_t count = 0;
    for (int32_t i = 0; i < store.NSpots; ++i)
      if (store[i].Valid) scratch.ByPosX[count++] = i;
    std::sort(scratch.ByPosX, scratch.ByPosX + count, [&store](int32_t a, int32_t b) {
      return store[a].PosX != store[b].PosX ? store[a].PosX < store[b].PosX : a < b;
    });
    const int32_t* const begin = scratch.ByPosX;
    const int32_t* const end = scratch.ByPosX + count;

    for (int32_t i = 0; i < store.NSpots; ++i) {
      SpotRec& ti = store[i];
      if (!ti.Valid) continue;
      const int64_t lowest = int64_t{ti.PosX} - 5;
      const int32_t* from = std::lower_bound(
          begin, end, lowest, [&store](int32_t k, int64_t x) { return store[k].PosX < x; });
      int32_t neighbours = 0;
      for (const int32_t* p = from; p != end && store[*p].PosX <= int64_t{ti.PosX} + 5; ++p)
        if (*p != i && store[*p].Valid && Close(ti, store[*p]))
          scratch.Neighbours[neighbours++] = *p;
      std::sort(scratch.Neighbours, scratch.Neighbours + neighbours);

      for (int32_t m = 0; m < neighbours; ++m) {
        SpotRec& tk = store[scratch.Neighbours[m]];
        if (!tk.Valid) continue;
        found = true;
        SpotRec& loser = ti.AverInt > tk.AverInt ? tk : ti;
        if (loser.Valid) ++cleared;
        loser.Valid = 0;
      }
    }
  }
  return cleared;
}

int32_t RemoveLandings(TrackStore& store, const Settings& settings) {
  int32_t cleared = 0;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    const int32_t n = UsablePoints(t);
    for (int32_t j = 0; j < n - 1; ++j) {
      const float rise = t.Int[j + 1] - t.Int[j];
      if (t.Int[j] < settings.IntThresh && rise > settings.IntThresh) {
        if (t.Valid) ++cleared;
        t.Valid = 0;
        break;
      }
    }
  }
  return cleared;
}

int32_t RemoveStaticSpots(TrackStore& store, const Settings& settings) {
  const int32_t m = settings.MinNumDataPoints;
  const double limit = m * settings.IntThresh;
  int32_t cleared = 0;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    if (UsablePoints(t) <= m) continue;
    int32_t sum = 0;
    // The running sum is an integer: each addition (made in float) is truncated.
    for (int32_t j = 0; j < m; ++j) sum = TruncToInt(static_cast<float>(sum) + t.Int[j]);
    if (sum > limit) {
      if (t.Valid) ++cleared;
      t.Valid = 0;
    }
  }
  return cleared;
}

int32_t ShiftDown(TrackStore& store, const Settings& settings) {
  const int32_t shift = TruncToInt(settings.CriticalDistance * 10.0001);
  for (int32_t i = 0; i < store.NSpots; ++i) store[i].PosX = SaturatingAdd(store[i].PosX, shift);
  return shift;
}

void ShiftOneTimeStep(TrackStore& store) {
  for (int32_t i = 0; i < store.NSpots; ++i)
    store[i].FirstFrame = SaturatingAdd(store[i].FirstFrame, 1);
}
