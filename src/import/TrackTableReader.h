#pragma once
// Track tables: one row per localisation, in CSV, TSV or semicolon-separated text.
// Recognised by the header (names in any case):
//   Kinetra CSV     track, frame, x_um, y_um [, intensity] [, t_s]        (µm, s)
//   TrackMate spots TRACK_ID, FRAME, POSITION_X, POSITION_Y, MEAN_INTENSITY_CH1
//                   (TrackMate 3: MEAN_INTENSITY) [, POSITION_T]; TrackMate 7 and
//                   later add three header lines (names, short names, units): the
//                   units line gives the unit of the positions and of POSITION_T
//   trackpy         particle, frame, x, y, mass (else signal)             (pixels)
//   saspt / quot    trajectory, frame, x, y, I0                           (pixels)
// and any other table through a column mapping (see ParseColumnMapping).
// A time column (POSITION_T, t_s, t or time) gives the frame interval when its values
// follow the frames. A row with an empty track id is left out without a warning (spots
// TrackMate did not link); a row whose frame is not an integer, or whose X or Y is
// missing or not finite, is left out with a warning naming its line. An intensity cell
// that is empty or not a number reads as 0 (counted in one warning); a table without an
// intensity column gives intensity 0 everywhere.
// The file is mapped (or read) whole; from 1 MB of rows on, its two halves are read on
// two threads (ImportOptions::threads) and joined in file order, so the result is the
// same as one pass gives.
#include <string>
#include <string_view>

#include "import/ImportTypes.h"
#include "import/TrackAssembly.h"

struct ColumnMapping {
  std::string track, frame, x, y, intensity, t;
  LengthUnit unit = LengthUnit::Unknown;
};

// "track=NAME,frame=NAME,x=NAME,y=NAME[,intensity=NAME][,t=NAME][,unit=px|um|nm]";
// false with `error` set for a missing or repeated key, an unknown key, an empty name or
// an unknown unit.
bool ParseColumnMapping(std::string_view text, ColumnMapping& mapping, std::string& error);

// Reads the table into `table`; sets result.format and result.fileCalibration. False with
// result.error set when the file cannot be read or its header is not a track table.
bool ReadTrackTable(const std::string& path, const ImportOptions& options, PointTable& table,
                    ImportResult& result);
