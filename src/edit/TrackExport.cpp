#include "edit/TrackExport.h"

#include <algorithm>
#include <string>

#include "edit/TrackPoints.h"
#include "store/TrackStore.h"

namespace {

const char* const kXHeader = "X(µm)";
const char* const kYHeader = "Y(µm)";
const char* const kIntHeader = "Int(AU)";
const char* const kTimeHeader = "Time(s)";
const char* const kBlankCell = " \t";

bool WantsXY(TrackExportMode mode) { return mode != TrackExportMode::Intensity; }
bool WantsInt(TrackExportMode mode) { return mode != TrackExportMode::XY; }

// One line per quantity per track, every line cut to the same length.
bool WriteRows(std::ostream& out, const TrackStore& spots, const TrackExportOptions& options,
               const ExportMessage& message, const KeepGoing& keepGoing) {
  int32_t longest = 0;
  for (int32_t t = 0; t < spots.NSpots; ++t)
    if (spots[t].Valid) longest = std::max(longest, spots[t].ReadablePoints());
  if (longest > kMaxExportValues) {
    message("Tracks are too long -> Data will be truncated");
    longest = kMaxExportValues;
  }

  if (options.PutTime) {
    std::string line = std::string(kTimeHeader) + "\t";
    for (int32_t k = 0; k < longest; ++k) line += ThousandthsText(k * options.dT) + "\t";
    WriteExportText(out, line + "\n");
  }

  auto writeLine = [&out](const char* header, const FrameArray& values, int32_t n,
                          std::string (*format)(double)) {
    std::string line = header;
    for (int32_t k = 0; k < n; ++k) line += "\t" + format(values[k]);
    WriteExportText(out, line + "\n");
  };
  return EachValidTrack(spots, keepGoing, [&](const SpotRec& track) {
    const int32_t n = std::min(track.ReadablePoints(), longest);
    if (WantsXY(options.Mode)) {
      writeLine(kXHeader, track.X, n, ThousandthsText);
      writeLine(kYHeader, track.Y, n, ThousandthsText);
    }
    if (WantsInt(options.Mode)) writeLine(kIntHeader, track.Int, n, TenthsText);
  });
}

// One line per frame. The header and every row count their track columns on their own;
// the time column is not counted.
bool WriteColumns(std::ostream& out, const TrackStore& spots, const TrackExportOptions& options,
                  const ExportMessage& message, const KeepGoing& keepGoing) {
  const bool xy = WantsXY(options.Mode), intensity = WantsInt(options.Mode);
  std::string header = options.PutTime ? std::string(kTimeHeader) + "\t" : std::string();
  int32_t columns = 0;
  for (int32_t t = 0; t < spots.NSpots; ++t) {
    if (!spots[t].Valid) continue;
    if (xy) {
      header += std::string(kXHeader) + "\t" + kYHeader + "\t";
      columns += 2;
    }
    if (intensity) {
      header += std::string(kIntHeader) + "\t";
      columns += 1;
    }
    if (columns > kMaxExportColumns) {
      message("Too many objects (>2000) -> Data will be truncated");
      break;
    }
  }
  WriteExportText(out, header + "\n");

  // Rows go on while the last one held a value; the first empty row is still written.
  // Every track ends by kMaxPoints, so this stops.
  double time = 0;
  bool anyValue = true;
  for (int32_t r = 0; anyValue; ++r) {
    if (!GoOn(keepGoing, r, kMaxPoints, 16)) return false;
    anyValue = false;
    std::string line;
    if (options.PutTime) line += ThousandthsText(time) + "\t";
    time += options.dT;
    int32_t cells = 0;
    for (int32_t t = 0; t < spots.NSpots; ++t) {
      const SpotRec& track = spots[t];
      if (!track.Valid) continue;
      const bool has = r < track.ReadablePoints();
      if (options.Mode == TrackExportMode::Intensity) {
        line += " \t \t";  // two blank cells in front of each intensity
        cells += 2;
      } else if (has) {
        // An ended track adds nothing here: the cells after it move left.
        line += ThousandthsText(track.X[r]) + "\t" + ThousandthsText(track.Y[r]) + "\t";
        cells += 2;
        anyValue = true;
      }
      if (intensity) {
        if (has) {
          line += TenthsText(track.Int[r]) + "\t";
          anyValue = true;
        } else {
          line += kBlankCell;
        }
        cells += 1;
      }
      if (cells > kMaxExportColumns) break;
    }
    WriteExportText(out, line + "\n");
  }
  return true;
}

}  // namespace

bool WriteTracksText(std::ostream& out, const TrackStore& spots, const TrackExportOptions& options,
                     const ExportMessage& message, const KeepGoing& keepGoing) {
  return options.Columns ? WriteColumns(out, spots, options, message, keepGoing)
                         : WriteRows(out, spots, options, message, keepGoing);
}
