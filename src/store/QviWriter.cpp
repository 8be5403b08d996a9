#include "store/QviWriter.h"

#include <cstdio>

#include "store/QviFormat.h"

bool WriteSelectedTracks(const std::string& path, const TrackStore& store, bool format2016) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    if (t.Valid != 1 || t.Selected != 1) continue;
    QviBlockHeader header;
    header.marker = format2016 ? kQviMarker2016 : 0;
    header.posX = t.PosX;
    header.posY = t.PosY;
    header.nPoints = t.NPoints;
    header.firstFrame = t.FirstFrame;
    // Write errors after the file is open are not reported.
    WritePlanarBlock(file, header, t.Int.data(), t.X.data(), t.Y.data());
  }
  std::fclose(file);
  return true;
}
