#include "edit/DualTracks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>

#include "edit/DualTrackCandidates.h"
#include "edit/TrackPoints.h"
#include "store/Numbers.h"

namespace {

// Slots of the stretch table the pairing may fill (the sixth stays empty).
constexpr int kPairSlots = 5;

int32_t Saturate(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

bool HasPartner(const TrackStore& store, const SpotRec& track) {
  return track.Partner >= 0 && track.Partner < store.NSpots;
}

void ClearPairing(SpotRec& t) {
  std::fill(t.SegStart, t.SegStart + kMaxSegments, 0);
  std::fill(t.SegLen, t.SegLen + kMaxSegments, 0);
  t.TimeToBind = 0;
  t.FramesBefore = 0;
  t.FramesAfter = 0;
}

}  // namespace

namespace {

// The walk over one candidate's overlap, kept for the finish once the partner is found.
// lastClose lives across the candidates of one searcher, as the search leaves it.
struct Walk {
  int64_t offset = 0;
  int32_t run = 0, slots = 0, lastClose = 0;
};

// Walks the frames track i (n usable points) shares with candidate k: counts the run of
// close frames, stores each run of at least minRun that a far frame ends. True when k is
// the partner: a run is still open at the end, or a stretch was stored.
bool WalkCandidate(SpotRec& ti, int32_t n, const SpotRec& tk, const Settings& settings,
                   bool format2016, Walk& w) {
  const int32_t minRun = settings.MinNumDataPoints;
  w.offset = int64_t{tk.FirstFrame} - ti.FirstFrame;
  w.run = 0;
  w.slots = 0;
  // Only the frames both tracks cover: the others neither extend nor end a run.
  const int64_t from = std::max<int64_t>(0, w.offset);
  const int64_t to = std::min<int64_t>(n, w.offset + tk.ReadablePoints());
  for (int64_t j = from; j < to; ++j) {
    const int32_t ji = static_cast<int32_t>(j);
    const int32_t jk = static_cast<int32_t>(j - w.offset);
    const double dx = AbsoluteX(ti, ji, format2016) - AbsoluteX(tk, jk, format2016);
    const double dy = AbsoluteY(ti, ji, format2016) - AbsoluteY(tk, jk, format2016);
    const double d = std::sqrt(dx * dx + dy * dy);
    if (d < settings.CriticalDistance && ti.SegLen[0] == 0) {
      ++w.run;
      w.lastClose = ji;
      continue;
    }
    if (w.run >= minRun && w.slots < kPairSlots) {
      ti.SegLen[w.slots] = w.run;
      ti.SegStart[w.slots] = ji - w.run;
      ++w.slots;
      ti.PairOffset = Saturate(w.offset);
    }
    w.run = 0;
  }
  return !(w.run < minRun && ti.SegLen[0] <= 0);
}

// The pairing, in index order, with the candidates of each searcher given by
// forEachCandidate(i, visit), which calls visit(k) in rising k until it returns true.
// Every track it leaves out must be one whose walk could not succeed.
template <typename ForEachCandidate>
int32_t PairTracks(TrackStore& store, const Settings& settings, bool format2016,
                   ForEachCandidate&& forEachCandidate) {
  const int32_t count = store.NSpots;
  const int32_t minRun = settings.MinNumDataPoints;
  for (int32_t i = 0; i < count; ++i) store[i].Partner = -1;

  int32_t pairs = 0;
  for (int32_t i = 0; i < count; ++i) {
    SpotRec& ti = store[i];
    ClearPairing(ti);
    if (ti.Partner >= 0 || !ti.Selected) continue;
    const int32_t ni = ti.ReadablePoints();

    int32_t partner = -1;
    Walk w;
    forEachCandidate(i, [&](int32_t k) {
      const SpotRec& tk = store[k];
      if (tk.Partner >= 0 || !tk.Selected || k == i) return false;
      if (!WalkCandidate(ti, ni, tk, settings, format2016, w)) return false;
      partner = k;
      return true;
    });
    if (partner < 0) continue;

    // A run still open at the end of the overlap starts one index early; kept as it is,
    // the exports and the cut depend on it.
    if (w.run >= minRun && w.slots < kPairSlots) {
      ti.SegLen[w.slots] = w.run;
      ti.SegStart[w.slots] = w.lastClose - w.run;
    }
    SpotRec& tk = store[partner];
    ti.Partner = partner;
    tk.Partner = i;

    const int64_t offset = w.offset;
    const int64_t start = ti.SegStart[0];
    const int64_t before = offset < 0 ? start : start - offset;
    int64_t after = ni - (start + ti.SegLen[0]) - 1;
    const int64_t endI = int64_t{ti.FirstFrame} + ni;
    const int64_t endK = int64_t{tk.FirstFrame} + tk.ReadablePoints();
    if (endI > endK) after -= endI - endK;
    ti.FramesBefore = Saturate(before);
    ti.FramesAfter = Saturate(after);
    ti.TimeToBind = Saturate((offset < 0 ? -offset : offset) / 2 + before);
    ++pairs;
  }

  for (int32_t i = 0; i < count; ++i)
    if (store[i].Partner < 0) store[i].Valid = 0;
  return pairs;
}

}  // namespace

int32_t FindDualTracksReference(TrackStore& store, const Settings& settings, bool format2016) {
  const int32_t count = store.NSpots;
  return PairTracks(store, settings, format2016, [count](int32_t, auto&& visit) {
    for (int32_t k = 0; k < count; ++k)
      if (visit(k)) return;
  });
}

int32_t FindDualTracks(TrackStore& store, const Settings& settings, bool format2016) {
  // Without a run length of at least one frame any candidate is a partner; the plain
  // search then stops at the first one anyway.
  if (settings.MinNumDataPoints >= 1) {
    PairCandidates candidates;
    if (candidates.Build(store, settings.CriticalDistance, settings.MinNumDataPoints,
                         format2016))
      return PairTracks(store, settings, format2016,
                        [&](int32_t i, auto&& visit) { candidates.ForEach(i, visit); });
  }
  return FindDualTracksReference(store, settings, format2016);
}

void LeaveDualsPartsOnly(TrackStore& store) {
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    if (t.SegLen[0] == 0) {
      t.Valid = 0;
      continue;
    }
    // A stale or early-starting stretch may reach outside the points the track holds:
    // such points repeat the nearest one it has.
    const int32_t held = std::min({t.Int.size(), t.X.size(), t.Y.size()});
    const int32_t length = std::clamp(t.SegLen[0], int32_t{0}, held);
    const int64_t start = t.SegStart[0];
    auto move = [&](int32_t j) {
      const int32_t from = static_cast<int32_t>(std::clamp<int64_t>(start + j, 0, held - 1));
      t.X[j] = t.X[from];
      t.Y[j] = t.Y[from];
      t.Int[j] = t.Int[from];
    };
    // Front to back when the points move down, back to front when they move up, so no
    // point is overwritten before it is moved.
    if (start >= 0)
      for (int32_t j = 0; j < length; ++j) move(j);
    else
      for (int32_t j = length - 1; j >= 0; --j) move(j);
    t.NPoints = length;
    t.FirstFrame = SaturatingAdd(t.FirstFrame, start);
  }
}

void DynamicBinding(TrackStore& store) {
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    if (!t.Valid || (t.FramesBefore >= 3 && t.FramesAfter >= 3)) continue;
    t.Valid = 0;
    t.Selected = 0;
    t.SegLen[0] = 0;
  }
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    if (t.Valid == 1 && HasPartner(store, t)) store[t.Partner].Valid = 1;
  }
}

std::string TakeBindingTimes(TrackStore& store, const Settings& settings, BindingTime which) {
  std::string text = "\n";
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    if (!t.Valid) continue;
    if (HasPartner(store, t)) store[t.Partner].Valid = 0;
    t.Valid = 0;
    t.Selected = 0;
    const bool before = which == BindingTime::BeforeBinding;
    if (t.SegLen[0] == 0 || (before ? t.FramesBefore : t.FramesAfter) < 3) continue;
    t.Valid = 1;
    t.Selected = 1;

    const int32_t frames = before ? t.TimeToBind : t.SegLen[0];
    const std::string intensity = std::to_string(TruncToInt(t.AverInt));
    // The unset integer of the fifth column is written as 0.
    text += TruncatedText(frames * settings.dT, 1000, 0.001) + "\t" + intensity +
            "\t0.0\t" + intensity + "\t0\t0.0\t0.0\t10.0\t10.0\t" + std::to_string(t.PosX) +
            "\t" + std::to_string(t.PosY) + "\n";
  }
  return text;
}

FileWriteResult SaveBindingTimes(TrackStore& store, const Settings& settings,
                                 BindingTime which, const std::string& path) {
  AtomicFile file(path);
  if (!file.Open()) return file.Commit();
  // The flags as they were, to put back should the text not reach the disk.
  const int32_t count = store.NSpots;
  std::unique_ptr<uint8_t[]> saved(new (std::nothrow) uint8_t[2 * static_cast<size_t>(count) + 1]);
  if (!saved) {
    file.Discard();
    return {FileWriteResult::NotWritten, "Can not write " + path + ": out of memory"};
  }
  for (int32_t i = 0; i < count; ++i) {
    saved[2 * i] = store[i].Valid;
    saved[2 * i + 1] = store[i].Selected;
  }
  file.Write(TakeBindingTimes(store, settings, which));
  FileWriteResult result = file.Commit();
  if (result) return result;
  for (int32_t i = 0; i < count; ++i) {
    store[i].Valid = saved[2 * i];
    store[i].Selected = saved[2 * i + 1];
  }
  return result;
}

std::string GreenSpotsText(const TrackStore& store, GreenAlignment alignment) {
  std::string text = "\n";
  // The splitting point carries over from the last track examined when a track has no
  // stretch of its own; before the first one it is 0.
  int64_t a = 0;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    if (!t.Valid || t.SecondHalf) continue;
    const int32_t n = t.ReadablePoints();
    if (alignment == GreenAlignment::Binding) {
      if (t.FramesBefore <= 2) continue;
      a = t.SegStart[0];
    } else {
      for (int s = 0; s < kMaxSegments; ++s)
        if (t.SegStart[s] > 0) a = int64_t{t.SegStart[s]} + t.SegLen[s];
      if (n - a < 5) continue;
    }
    // Column c shows point c - 25 + a; points outside the 50 columns are dropped.
    for (int64_t c = 0; c < kGreenColumns; ++c) {
      if (c < kGreenAlignColumn - a || c >= n + kGreenAlignColumn - a) {
        text += " \t";
        continue;
      }
      const float value = t.Int[static_cast<int32_t>(c - kGreenAlignColumn + a)];
      text += TruncatedText(value, 100, 0.01) + "\t";
    }
    text += "\n";
  }
  return text;
}

FileWriteResult SaveGreenSpots(const TrackStore& store, GreenAlignment alignment,
                               const std::string& path) {
  AtomicFile file(path);
  if (file.Open()) file.Write(GreenSpotsText(store, alignment));
  return file.Commit();
}

int32_t FirstFusedTrack(const TrackStore& store) {
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    if (t.Selected && HasPartner(store, t) && store[t.Partner].Partner == i) return i;
  }
  return -1;
}
