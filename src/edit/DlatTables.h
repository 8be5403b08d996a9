#pragma once
// "SaveDlat Vers Int" and "SaveDlatVerLength": a value of the selected tracks averaged
// per bin, with its population SD and the track count. No header.
#include <string>

struct TrackStore;

enum class DlatTableKind {
  IntensityPerDlat,  // bins of DlatBin along Dlat; mean AverInt
  DlatPerLength,     // bins of NPoints - 1; mean Dlat
};

inline constexpr int kDlatTableBins = 200;
// Bins of fewer tracks than this are left out.
inline constexpr int kDlatTableMinCount = 5;

// The table's text: one line per bin with at least kDlatTableMinCount tracks, below the
// highest such bin, which is itself never written.
std::string DlatTableText(const TrackStore& spots, double dlatBin, DlatTableKind kind);
