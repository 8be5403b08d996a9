#include "sim/SimOutput.h"

#include <algorithm>
#include <cstdio>

#include "store/HeaderPosition.h"
#include "store/QviFormat.h"
#include "store/TrackAppend.h"

namespace {

// Frames a track can really give: never more than its arrays hold.
int32_t HeldPoints(const SimTrack& t) {
  const size_t held = std::min({t.Int.size(), t.X.size(), t.Y.size()});
  return static_cast<int32_t>(
      std::min<int64_t>(std::max(t.NPoints, 0), static_cast<int64_t>(held)));
}

}  // namespace

bool WriteSimulatedQvi(const std::string& path, const std::vector<SimTrack>& tracks,
                       SimFileLayout layout) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool relative = layout != SimFileLayout::Format2016;
  std::vector<float> x, y;
  bool ok = true;
  for (const SimTrack& t : tracks) {
    if (!ok) break;
    QviBlockHeader header;
    header.marker = layout == SimFileLayout::ZeroMarker ? 0 : kQviMarker2016;
    header.posX = t.PosX;
    header.posY = t.PosY;
    header.nPoints = HeldPoints(t);
    header.firstFrame = t.FirstFrame;
    const float* px = t.X.data();
    const float* py = t.Y.data();
    if (relative) {
      const float originX = HeaderOrigin(t.PosX);
      const float originY = HeaderOrigin(t.PosY);
      x.resize(static_cast<size_t>(header.nPoints));
      y.resize(static_cast<size_t>(header.nPoints));
      for (size_t k = 0; k < x.size(); ++k) {
        x[k] = t.X[k] - originX;
        y[k] = t.Y[k] - originY;
      }
      px = x.data();
      py = y.data();
    }
    ok = layout == SimFileLayout::Old ? WriteInterleavedBlock(file, header, t.Int.data(), px, py)
                                      : WritePlanarBlock(file, header, t.Int.data(), px, py);
  }
  return (std::fclose(file) == 0) && ok;
}

int32_t AddSimulatedTracks(TrackStore& store, const std::vector<SimTrack>& tracks,
                           const std::function<void(SpotRec&)>& trackAdded) {
  if (!store.Allocated()) return 0;
  FileTrackAppender appender(store);
  for (const SimTrack& source : tracks) {
    SpotRec* record = appender.Next();
    if (!record) break;
    SpotRec& t = *record;
    const int32_t n = std::min(HeldPoints(source), kMaxPoints);
    if (!t.AllocateFrames(n)) break;
    std::copy_n(source.Int.begin(), n, t.Int.data());
    std::copy_n(source.X.begin(), n, t.X.data());
    std::copy_n(source.Y.begin(), n, t.Y.data());
    t.NPoints = n;
    t.PosX = source.PosX;
    t.PosY = source.PosY;
    t.FirstFrame = source.FirstFrame;
    t.HdrValue = 0;
    if (!appender.Commit(trackAdded)) break;
  }
  return appender.Added();
}
