#pragma once
// "Save X+Y+Int data", "Save X and Y data" and "Save Intensity Data": the frames of every
// valid track as a TAB-separated table, one line per quantity per track (rows) or one
// line per frame (columns).
#include <ostream>

#include "edit/TextExport.h"
#include "store/KeepGoing.h"

struct TrackStore;

// The numbers are the menu's modes.
enum class TrackExportMode { XYInt = 0, XY = 1, Intensity = 2 };

struct TrackExportOptions {
  TrackExportMode Mode = TrackExportMode::XYInt;
  bool Columns = false;  // "Save XYInt in Columns"
  bool PutTime = false;  // "Put Time in TXT file"
  double dT = 0.03;      // s per frame
};

// Rows: at most kMaxExportValues values a line ("Tracks are too long -> Data will be
// truncated"). Columns: tracks are added while at most kMaxExportColumns columns are
// used ("Too many objects (>2000) -> Data will be truncated"); a track that has ended
// leaves no cells in the X/Y columns but a blank one in its intensity column.
// False when `keepGoing` stopped it part-way.
bool WriteTracksText(std::ostream& out, const TrackStore& spots, const TrackExportOptions& options,
                     const ExportMessage& message, const KeepGoing& keepGoing = {});
