#include "edit/StopTimes.h"

#include "edit/TextExport.h"
#include "store/Numbers.h"
#include "store/TrackStore.h"

std::string BindingTimeLine(double seconds, const SpotRec& track, int32_t count) {
  const std::string intensity = std::to_string(TruncToInt(track.AverInt));
  return ThousandthsText(seconds) + "\t" + intensity + "\t0.0\t" + intensity + "\t" +
         std::to_string(count) + "\t0.0\t0.0\t10.0\t10.0\t" + std::to_string(track.PosX) + "\t" +
         std::to_string(track.PosY) + "\n";
}

void WriteStopTimes(std::ostream& out, const TrackStore& spots, double dT) {
  WriteExportText(out, "\n");
  for (int32_t t = 0; t < spots.NSpots; ++t) {
    const SpotRec& track = spots[t];
    if (track.SegLen[0] == 0) continue;
    int32_t longest = 0;
    for (int32_t length : track.SegLen)
      if (length > longest) longest = length;
    WriteExportText(out, BindingTimeLine(longest * dT, track, longest));
  }
}
