#include "edit/Cleaning.h"

#include <algorithm>
#include <cstdlib>

#include "edit/TrackPoints.h"
#include "store/Numbers.h"

void RemoveEnds(TrackStore& store) {
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    t.FirstFrame = SaturatingAdd(t.FirstFrame, 1);
    // Moved before the count drops: a count already below 2 goes negative, and every
    // loop then sees no points.
    MoveFramesDownOne(t, std::max(t.ReadablePoints() - 2, 0));
    t.NPoints = SaturatingAdd(t.NPoints, -2);
  }
}

namespace {

// Runs of equal PosX that can hold tracks within 5 of one PosX: at most 11.
constexpr int kMaxRuns = 11;

// The active tracks in the order of the scratch arrays; returns their count.
int32_t OrderByPosX(const TrackStore& store, DuplicateScratch& scratch) {
  int32_t count = 0;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    scratch.Active[i] = store[i].Valid ? 1 : 0;
    if (!store[i].Valid) continue;
    // PosX made unsigned in the high half, the index in the low one: sorting the keys
    // sorts by PosX, then by index.
    const uint64_t x = static_cast<uint32_t>(store[i].PosX) ^ 0x80000000u;
    scratch.Keys[count++] = (x << 32) | static_cast<uint32_t>(i);
  }
  std::sort(scratch.Keys, scratch.Keys + count);
  for (int32_t m = 0; m < count; ++m) {
    const int32_t i = static_cast<int32_t>(scratch.Keys[m] & 0xFFFFFFFFu);
    scratch.Index[m] = i;
    scratch.PosX[m] = store[i].PosX;
    scratch.PosY[m] = store[i].PosY;
  }
  return count;
}

}  // namespace

int32_t RemoveDupicates(TrackStore& store, DuplicateScratch& scratch) {
  // Only close pairs act, so track i needs to meet only the tracks within 5 of its PosX,
  // in index order: the runs of equal PosX around it (each already in index order) are
  // merged. Same result as trying every k, without the N² tries on a sparse field.
  int32_t cleared = 0;
  bool found = true;
  while (found) {
    found = false;
    // A pass never revives a track, so the tracks active at its start are all it can meet.
    const int32_t count = OrderByPosX(store, scratch);
    for (int32_t i = 0; i < store.NSpots; ++i) {
      SpotRec& ti = store[i];
      if (!ti.Valid) continue;
      // Header positions as wide integers: their differences never overflow.
      const int64_t x = ti.PosX, y = ti.PosY;
      int32_t head[kMaxRuns], end[kMaxRuns];
      int runs = 0;
      int32_t m = static_cast<int32_t>(
          std::lower_bound(scratch.PosX, scratch.PosX + count, x - 5,
                           [](int32_t a, int64_t b) { return a < b; }) -
          scratch.PosX);
      while (m < count && scratch.PosX[m] <= x + 5) {
        head[runs] = m;
        while (m < count && scratch.PosX[m] == scratch.PosX[head[runs]]) ++m;
        end[runs++] = m;
      }
      for (;;) {
        // The next close track by index among the heads of the runs.
        int best = -1;
        for (int r = 0; r < runs; ++r) {
          int32_t& h = head[r];
          while (h < end[r] && (scratch.Index[h] == i || std::llabs(scratch.PosY[h] - y) >= 6))
            ++h;
          if (h < end[r] && (best < 0 || scratch.Index[h] < scratch.Index[head[best]])) best = r;
        }
        if (best < 0) break;
        const int32_t k = scratch.Index[head[best]++];
        if (!scratch.Active[k]) continue;
        found = true;
        const int32_t loser = ti.AverInt > store[k].AverInt ? k : i;
        if (scratch.Active[loser]) ++cleared;
        scratch.Active[loser] = 0;
        store[loser].Valid = 0;
      }
    }
  }
  return cleared;
}

int32_t RemoveLandings(TrackStore& store, const Settings& settings) {
  int32_t cleared = 0;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    const int32_t n = t.ReadablePoints();
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
    if (t.ReadablePoints() <= m) continue;
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
