#include "edit/MsdExport.h"

#include <algorithm>
#include <string>

#include "edit/TextExport.h"
#include "edit/TrackPoints.h"
#include "stats/TrackValues.h"
#include "store/Numbers.h"
#include "store/TrackStore.h"

bool WriteTrackMSDs(std::ostream& out, const TrackStore& spots, double dT, bool independentPairs,
                    MsdScratch& scratch, const KeepGoing& keepGoing) {
  std::string header;
  for (int k = 1; k <= kMsdExportLags; ++k) header += FormatReal(k * dT) + "\t";
  WriteExportText(out, header + "\n");

  return EachValidTrack(spots, keepGoing, [&](const SpotRec& track) {
    const int32_t n = std::min(track.ReadablePoints(), kMsdExportPoints);
    CalcTrackMSD(track.X.data(), track.Y.data(), n, static_cast<float>(dT), scratch.Dk,
                 scratch.MSD, independentPairs);
    std::string line;
    for (int32_t k = 1; k < n / 2 && k <= kMsdExportLags; ++k)
      line += ThousandthsText(scratch.MSD[k]) + "\t";
    WriteExportText(out, line + "\n");
  });
}
