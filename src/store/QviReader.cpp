#include "store/QviReader.h"

#include <cstring>

#include "store/FileOpen.h"
#include "store/Numbers.h"
#include "store/QviFormat.h"
#include "store/TrackAppend.h"

namespace {

// Only the reader touches its stream, so the stream's lock is skipped where the C library
// allows it (once other threads exist, each locked call costs as much as a small read).
size_t ReadItems(void* to, size_t size, size_t count, std::FILE* file) {
#if defined(__GLIBC__)
  return fread_unlocked(to, size, count, file);
#else
  return std::fread(to, size, count, file);
#endif
}

}  // namespace

QviReader::~QviReader() {
  if (file_) std::fclose(file_);
}

bool QviReader::Open(const std::string& path) {
  file_ = OpenFileForReading(path);
  if (!file_) return false;
  std::setvbuf(file_, nullptr, _IOFBF, 1 << 20);
  unsigned char word[4];
  layout_ = QviLayout::Old;  // also for an empty file, whose first word cannot be read
  if (std::fread(word, 1, 4, file_) == 4) {
    int32_t first;
    std::memcpy(&first, word, 4);
    if (first == kQviMarker2016) layout_ = QviLayout::Planar2016;
    else if (first == 0) layout_ = QviLayout::ZeroMarker;
  }
  std::rewind(file_);
  return true;
}

int64_t QviReader::Offset() const { return file_ ? static_cast<int64_t>(std::ftell(file_)) : 0; }

bool QviReader::ReadFloat(float& value) {
  float read;
  if (ReadItems(&read, sizeof read, 1, file_) != 1) return false;
  value = read;
  return true;
}

int32_t QviReader::ReadFloats(float* values, int32_t count) {
  if (count <= 0) return 0;
  return static_cast<int32_t>(ReadItems(values, sizeof(float), static_cast<size_t>(count), file_));
}

void QviReader::SkipFloats(int64_t count) {
  // Read and discard rather than seek: the file may end inside the surplus.
  float sink[1024];
  while (count > 0) {
    const size_t chunk = static_cast<size_t>(count < 1024 ? count : 1024);
    const size_t got = ReadItems(sink, sizeof(float), chunk, file_);
    if (got < chunk) return;
    count -= static_cast<int64_t>(got);
  }
}

namespace {

// Frames of a block after the 10000 cap; negative counts (only in damaged files) read none.
int32_t ClipFrameCount(int32_t n, int64_t& surplus) {
  surplus = 0;
  if (n > kMaxPoints) {
    surplus = static_cast<int64_t>(n) - kMaxPoints;
    return kMaxPoints;
  }
  return n < 0 ? 0 : n;
}

}  // namespace

// A header value that cannot be read repeats the last float that was read.
bool QviReader::ReadPlanarHeader(SpotRec& t, float& last, int64_t& surplus) {
  ReadFloat(last);  // reserved word
  ReadFloat(last);
  t.HdrValue = static_cast<float>(TruncToInt(static_cast<double>(last) * 10000) * 0.0001);
  ReadFloat(last);
  // The rest is the old header, from its first float on.
  return ReadOldHeader(t, last, surplus);
}

bool QviReader::ReadOldHeader(SpotRec& t, float& last, int64_t& surplus) {
  t.PosX = IntFromStoredFloat(last);  // the block's first float
  ReadFloat(last);
  t.PosY = IntFromStoredFloat(last);
  ReadFloat(last);
  t.NPoints = ClipFrameCount(IntFromStoredFloat(last), surplus);
  ReadFloat(last);
  t.FirstFrame = IntFromStoredFloat(last);
  return true;
}

QviStop QviReader::ReadTracks(TrackStore& store, const std::function<void(SpotRec&)>& trackRead) {
  const bool planar = layout_ != QviLayout::Old;
  FileTrackAppender appender(store);
  float last = 0;
  while (ReadFloat(last)) {
    // Never write past the last record, even when earlier files filled the store.
    SpotRec* record = appender.Next();
    if (!record) return QviStop::Overflow;
    SpotRec& t = *record;
    int64_t surplus = 0;
    if (planar)
      ReadPlanarHeader(t, last, surplus);
    else
      ReadOldHeader(t, last, surplus);

    if (!t.AllocateFrames(t.NPoints, useSlabs_ ? &slabs_ : nullptr)) {
      // Drops the last complete track as well; kept as the program has always done.
      if (store.NSpots > 0) --store.NSpots;
      return QviStop::AllocationFailed;
    }
    if (planar) {
      for (FrameArray* plane : {&t.Int, &t.X, &t.Y}) {
        ReadFloats(plane->data(), t.NPoints);
        SkipFloats(surplus);
      }
    } else {
      // The old layout stores one frame fewer than its count says.
      t.NPoints = t.NPoints > 0 ? t.NPoints - 1 : 0;
      for (int32_t f = 0; f < t.NPoints; ++f) {
        ReadFloat(t.Int[f]);
        ReadFloat(t.X[f]);
        ReadFloat(t.Y[f]);
      }
      SkipFloats(surplus * 3);
    }
    if (!appender.Commit(trackRead)) return QviStop::Overflow;
  }
  return QviStop::EndOfFile;
}
