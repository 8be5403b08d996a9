#pragma once
// The step both readers share: points as the file listed them into stored tracks.
//
// Rules (the same for tables and TrackMate files):
// - Points are grouped by source track (a TrackMate stretch is a group of its own) and
//   ordered by frame; groups by track id, stretches of one track in the order given.
// - A (track, frame) seen again is left out with a warning; the first row in file order
//   is kept (a table sorted by any other column keeps a reproducible choice).
// - A stored track covers consecutive frames. A missing frame splits the track (default)
//   or, with GapRule::Fill, the missing frames get X, Y and intensity interpolated
//   linearly between the two points around the gap. A gap of more than kMaxPoints frames
//   is split even then (filling it would make a track longer than the store keeps).
// - Stretches of fewer than 2 points are left out (counted, no warning each).
// Rows the readers refuse (non-integer frame, non-finite position, frame out of range)
// never reach this step: the reader skips them with a warning naming the line or spot.
#include <cstdint>
#include <string>
#include <vector>

#include "import/ImportTypes.h"

// Whether `where` of a point is a line of a table or the ID of a TrackMate spot.
enum class WhereKind { Line, Spot };

// One point as the file gave it; a row's values together, so that ordering the rows by
// track later touches one cache line per row.
struct PointRow {
  double x, y;    // file units
  int64_t where;  // line or spot ID
  int32_t group;
  int32_t frame;
  float intensity;
};

// Points in the order the reader met them.
struct PointTable {
  std::vector<TrackId> groups;
  std::vector<PointRow> rows;

  void Add(int32_t g, int32_t f, double px, double py, float in, int64_t w) {
    rows.push_back({px, py, w, g, f, in});
  }
  size_t Rows() const { return rows.size(); }
};

// "FILE: line N" or "FILE: spot N", the start of every warning about a point.
std::string WherePrefix(const std::string& path, WhereKind kind, int64_t where);

// "1 row", "2 rows".
inline std::string CountOf(int64_t n, const char* noun) {
  return std::to_string(n) + " " + noun + (n == 1 ? "" : "s");
}

// Frames beyond this (either sign) are refused by the readers, so that first frame plus
// length and filled gaps stay far inside int32.
inline constexpr int64_t kMaxFrameMagnitude = 1'000'000'000;

// The tracks of `table` into `out`, positions times `scale` (file unit to µm).
void AssembleTracks(const PointTable& table, double scale, GapRule gaps, const std::string& path,
                    WhereKind kind, ImportedTracks& out, ImportReport& report);
