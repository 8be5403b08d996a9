#include "store/QviWriter.h"

#include "store/QviFormat.h"

FileWriteResult WriteSelectedTracks(const std::string& path, const TrackStore& store,
                                    bool format2016) {
  AtomicFile file(path);
  if (!file.Open()) return file.Commit();
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    if (t.Valid != 1 || t.Selected != 1) continue;
    QviBlockHeader header;
    header.marker = format2016 ? kQviMarker2016 : 0;
    header.posX = t.PosX;
    header.posY = t.PosY;
    header.nPoints = t.NPoints;
    header.firstFrame = t.FirstFrame;
    // Commit then reports the failure and leaves the target as it was.
    if (!WritePlanarBlock(file.Stream(), header, t.Int.data(), t.X.data(), t.Y.data())) {
      file.MarkFailed();
      break;
    }
  }
  return file.Commit();
}
