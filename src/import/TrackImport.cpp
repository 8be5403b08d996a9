#include "import/TrackImport.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>

#include "import/Calibration.h"
#include "import/TrackMateXmlReader.h"
#include "import/TrackTableReader.h"
#include "store/FileOpen.h"
#include "store/FrameSlabs.h"
#include "store/HeaderPosition.h"
#include "store/TrackAppend.h"

namespace {

// '<' first (after a byte-order mark and blanks): XML.
bool LooksLikeXml(const std::string& path) {
  std::FILE* file = OpenFileForReading(path);
  if (!file) return false;
  char head[256];
  const size_t got = std::fread(head, 1, sizeof head, file);
  std::fclose(file);
  size_t i = got >= 3 && std::memcmp(head, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
  while (i < got && (head[i] == ' ' || head[i] == '\t' || head[i] == '\r' || head[i] == '\n')) ++i;
  return i < got && head[i] == '<';
}

ImportResult Import(const std::string& path, const ImportOptions& options) {
  ImportResult result;
  PointTable table;
  const bool xml = LooksLikeXml(path);
  const bool read = xml ? ReadTrackMateXml(path, options, table, result)
                        : ReadTrackTable(path, options, table, result);
  if (!read) return result;
  const double scale = ResolveCalibration(path, options, result);
  if (scale <= 0) return result;
  AssembleTracks(table, scale, options.gaps, path, xml ? WhereKind::Spot : WhereKind::Line, result.data,
                 result.report);
  if (result.data.tracks.empty()) {
    const int64_t skipped = result.report.counts.rowsSkipped;
    result.error = path + (table.Rows() > 0 ? ": no track of 2 or more points"
                           : skipped > 0 ? ": no usable " + std::string(xml ? "spot" : "row") + " (" +
                                               std::to_string(skipped) + " left out)"
                                         : std::string(xml ? ": no spots in tracks" : ": no data rows"));
    return result;
  }
  result.ok = true;
  return result;
}

}  // namespace

ImportResult ImportTrackFile(const std::string& path, const ImportOptions& options) {
  // Memory grows with the points of the file; a file too large for it is refused whole.
  try {
    return Import(path, options);
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  ImportResult failed;
  failed.error = path + ": not enough memory to import the file";
  return failed;
}

AppendOutcome AppendImportedTracks(TrackStore& store, const ImportedTracks& tracks,
                                   const std::function<void(SpotRec&)>& trackAdded) {
  AppendOutcome outcome;
  if (!store.Allocated()) return outcome;
  FileTrackAppender appender(store);
  FrameSlabs slabs;  // a slab lives on while arrays cut from it do
  for (const ImportedTrack& source : tracks.tracks) {
    if (source.count < 1 || source.offset < 0 ||
        source.offset + source.count > static_cast<int64_t>(std::min({tracks.x.size(), tracks.y.size(),
                                                                      tracks.intensity.size()})))
      continue;  // not a track of these arrays
    SpotRec* record = appender.Next();
    if (!record) {
      outcome.stop = QviStop::Overflow;
      break;
    }
    SpotRec& t = *record;
    const int32_t n = std::min(source.count, kMaxPoints);
    if (!t.AllocateFrames(n, &slabs)) {
      outcome.stop = QviStop::AllocationFailed;
      break;
    }
    const float* x = tracks.x.data() + source.offset;
    const float* y = tracks.y.data() + source.offset;
    t.NPoints = n;
    t.FirstFrame = source.firstFrame;
    t.PosX = HeaderPosition(x[0]);
    t.PosY = HeaderPosition(y[0]);
    t.HdrValue = 0;
    const float originX = HeaderOrigin(t.PosX), originY = HeaderOrigin(t.PosY);
    for (int32_t k = 0; k < n; ++k) {
      t.X[k] = x[k] - originX;
      t.Y[k] = y[k] - originY;
    }
    std::copy_n(tracks.intensity.data() + source.offset, n, t.Int.data());
    if (!appender.Commit(trackAdded)) {
      outcome.stop = QviStop::Overflow;
      break;
    }
  }
  outcome.added = appender.Added();
  return outcome;
}
