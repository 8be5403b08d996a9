#include "edit/DlatTables.h"

#include <cmath>
#include <cstdint>

#include "edit/TextExport.h"
#include "store/TrackStore.h"

namespace {

// The bin of a track, as a double so that no value can overflow; its integer part is
// the bin number.
double BinOf(const SpotRec& track, double dlatBin, DlatTableKind kind) {
  if (kind == DlatTableKind::IntensityPerDlat) return track.Dlat / dlatBin;
  return static_cast<double>(track.NPoints) - 1;
}

double ValueOf(const SpotRec& track, DlatTableKind kind) {
  return kind == DlatTableKind::IntensityPerDlat ? track.AverInt : track.Dlat;
}

// Calls use(bin, value) for every selected track whose bin lies in 0 .. kDlatTableBins - 1.
// The bin is truncated toward zero, so values just below 0 fall into bin 0; NaN falls
// into none.
template <typename Use>
void ForEachBinned(const TrackStore& spots, double dlatBin, DlatTableKind kind, Use use) {
  for (int32_t t = 0; t < spots.NSpots; ++t) {
    const SpotRec& track = spots[t];
    if (!track.Selected) continue;
    const double bin = BinOf(track, dlatBin, kind);
    if (!(bin > -1 && bin < kDlatTableBins)) continue;
    use(static_cast<int>(bin), ValueOf(track, kind));
  }
}

}  // namespace

std::string DlatTableText(const TrackStore& spots, double dlatBin, DlatTableKind kind) {
  double sum[kDlatTableBins] = {};
  double squares[kDlatTableBins] = {};
  double mean[kDlatTableBins] = {};
  int32_t count[kDlatTableBins] = {};
  ForEachBinned(spots, dlatBin, kind, [&](int b, double value) {
    sum[b] += value;
    count[b] += 1;
  });
  int last = 0;
  for (int i = 0; i < kDlatTableBins; ++i) {
    if (count[i] < kDlatTableMinCount) continue;
    mean[i] = sum[i] / count[i];
    last = i;
  }
  ForEachBinned(spots, dlatBin, kind, [&](int b, double value) {
    squares[b] += (value - mean[b]) * (value - mean[b]);
  });

  std::string text;
  for (int i = 0; i < last; ++i) {  // the last qualifying bin is left out
    if (count[i] < kDlatTableMinCount) continue;
    const double sd = std::sqrt(squares[i] / count[i]);
    if (kind == DlatTableKind::IntensityPerDlat)
      text += ThousandthsText(i * dlatBin) + "\t" + TenthsText(mean[i]) + "\t" + HundredthsText(sd);
    else
      text += std::to_string(i) + "\t" + ThousandthsText(mean[i]) + "\t" + ThousandthsText(sd);
    text += "\t" + std::to_string(count[i]) + "\n";
  }
  return text;
}
