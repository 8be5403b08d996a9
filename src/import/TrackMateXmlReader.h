#pragma once
// TrackMate's own XML files (TrackMate 3 to 8), read as a stream with expat: memory grows
// with the spots kept, not with the file.
//
// Read: Model spatialunits/timeunits; Settings/ImageData pixelwidth and timeinterval;
// every Spot of AllSpots (ID, FRAME, POSITION_X, POSITION_Y and the intensity feature:
// the caller's, else MEAN_INTENSITY_CH1, else MEAN_INTENSITY as FeatureDeclarations
// declare them); every Track of AllTracks with its Edges; only tracks listed in
// FilteredTracks (all of them, with a warning, when the file has no FilteredTracks).
// A link is ordered from its earlier to its later spot, whichever way the file wrote
// it. A track that splits or merges is cut into its unbranched stretches, each a track
// of its own: a link is kept only between a spot with one successor and a spot with one
// predecessor. Links within one frame, links to spots the file does not have and spots
// with a non-integer FRAME are left out with a warning naming the spot; a spot whose
// position is not finite is left out of its stretch (a gap there). Spots without a
// finite intensity feature (or a file that has none) get intensity 0.
// Refused: any DOCTYPE (entity declarations can expand without bound), a root element
// other than TrackMate, and anything expat finds not well-formed.
#include <string>

#include "import/ImportTypes.h"
#include "import/TrackAssembly.h"

bool ReadTrackMateXml(const std::string& path, const ImportOptions& options, PointTable& table,
                      ImportResult& result);
