#pragma once
// Reads the track blocks of one QVI file into the store.
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "store/FrameSlabs.h"
#include "store/TrackStore.h"

enum class QviLayout {
  Planar2016,  // first word 2016
  ZeroMarker,  // first word 0: planar blocks, yet announced as the old format
  Old,         // anything else (and an empty file): interleaved blocks
};

enum class QviStop {
  EndOfFile,
  AllocationFailed,  // "Can not allocate memory for Int, X, Y data"
  Overflow,          // "Data Overflow"
};

class QviReader {
 public:
  QviReader() = default;
  ~QviReader();
  QviReader(const QviReader&) = delete;
  QviReader& operator=(const QviReader&) = delete;

  bool Open(const std::string& path);
  // Decided once per file by the bytes of its first word.
  QviLayout Layout() const { return layout_; }
  // Bytes of the file consumed so far (for progress reports).
  int64_t Offset() const;
  // Frames from the heap one track at a time instead of from slabs (the plain path the
  // slabs are measured against).
  void UseHeapFrames() { useSlabs_ = false; }

  // Appends the file's tracks at store.NSpots. `trackRead` runs for each track once
  // its frames are in, before it is counted (the per-track values are computed there).
  QviStop ReadTracks(TrackStore& store, const std::function<void(SpotRec&)>& trackRead);

 private:
  bool ReadFloat(float& value);
  int32_t ReadFloats(float* values, int32_t count);
  void SkipFloats(int64_t count);
  bool ReadPlanarHeader(SpotRec& track, float& last, int64_t& surplus);
  bool ReadOldHeader(SpotRec& track, float& last, int64_t& surplus);

  std::FILE* file_ = nullptr;
  QviLayout layout_ = QviLayout::Old;
  bool useSlabs_ = true;
  FrameSlabs slabs_;
};
