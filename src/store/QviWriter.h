#pragma once
#include <string>

#include "store/AtomicFile.h"
#include "store/TrackStore.h"

// Writes the valid, selected tracks in store order as planar blocks. The marker of
// every block is 2016 when `format2016`, else 0; header value and reserved word are 0.
// The file is complete or untouched: NotOpened when it cannot be created, NotWritten
// when a byte did not reach it.
FileWriteResult WriteSelectedTracks(const std::string& path, const TrackStore& store,
                                    bool format2016);
