#pragma once
// Importing tracks from other programs' files: TrackMate XML, TrackMate spots CSV and
// other track tables (see TrackMateXmlReader.h and TrackTableReader.h for what each
// reads, TrackAssembly.h for how points become tracks).
//
// ImportTrackFile parses the whole file before anything else happens and touches no
// store; AppendImportedTracks then adds the tracks to the store. A failed import thus
// leaves the store as it was.
#include <functional>
#include <string>

#include "import/ImportTypes.h"
#include "store/QviReader.h"
#include "store/TrackStore.h"

// The file is taken as TrackMate XML when its first character (after a byte-order mark
// and blanks) is '<', else as a table. Fails, with result.error naming the file and what
// is wrong, on unreadable or unrecognised files, on a calibration that is needed and not
// known (the message names --pixel-size or --frame-interval), and when no track of 2 or
// more points is left.
ImportResult ImportTrackFile(const std::string& path, const ImportOptions& options = {});

// Appends the tracks at store.NSpots as the QVI reader adds a file's tracks
// (FileTrackAppender: Valid, Partner, FastFlag, SecondHalf by the first-half rule,
// "Data Overflow" past kMaxTracks, never past the capacity). NPoints is clipped to
// kMaxPoints. Positions are stored as an old or zero-marker QVI file holds them: PosX,
// PosY are the first point in 0.1 µm (truncated) and X, Y are relative to them, so the
// caller keeps Format2016 clear. HdrValue is 0. `trackAdded` computes the per-track
// values. When memory for a track's frames runs out, the tracks added so far stay and
// AllocationFailed is returned.
struct AppendOutcome {
  int32_t added = 0;
  QviStop stop = QviStop::EndOfFile;
};
AppendOutcome AppendImportedTracks(TrackStore& store, const ImportedTracks& tracks,
                                   const std::function<void(SpotRec&)>& trackAdded);
