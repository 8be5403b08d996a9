#pragma once
// Two-colour binding: pairing tracks that run together ("Find Dual Tracks") and the
// commands that cut, filter and export the pairs. Store and settings in, results out;
// the main window adds the gates, the dialogs and the recomputation.
#include <cstdint>
#include <string>

#include "store/AtomicFile.h"
#include "store/Settings.h"
#include "store/TrackStore.h"

// Pairs selected tracks that stay closer than CriticalDistance for MinNumDataPoints
// frames in a row. The searching member (the one that found its partner) keeps the joint
// stretch in SegStart[0]/SegLen[0] and the lone frames around it; both members point at
// each other through Partner. Every track left without a partner is deactivated.
// Positions are PosX x 0.1 + X (and likewise Y) unless `format2016`, where X and Y are
// already absolute. Returns the number of pairs. Each searcher tries only the tracks it
// meets on a grid of the frames (see DualTrackCandidates.h), in the same order and with
// the same arithmetic as the plain search, so the results are the same.
int32_t FindDualTracks(TrackStore& store, const Settings& settings, bool format2016);
// The plain search: every searcher tries every track from index 0 upward.
int32_t FindDualTracksReference(TrackStore& store, const Settings& settings, bool format2016);

// Cuts every track with a joint stretch down to it (FirstFrame moves with the cut) and
// deactivates every track without one, which removes the partner members.
void LeaveDualsPartsOnly(TrackStore& store);

// Keeps the searchers with at least 3 lone frames both before binding and after
// splitting, together with their partners; every other active track is deactivated.
void DynamicBinding(TrackStore& store);

// The two time exports: the time from the start to binding, or the bound time.
enum class BindingTime { BeforeBinding, Bound };

// The text of a time export, with its flag changes made on the way: every active track
// and its partner are deactivated, and each qualifying searcher is made active and
// selected again as its line is written.
std::string TakeBindingTimes(TrackStore& store, const Settings& settings, BindingTime which);

// Opens `path`, then runs TakeBindingTimes and writes its text. When the file cannot be
// created (NotOpened) or written whole (NotWritten) the store and the file are as they were.
FileWriteResult SaveBindingTimes(TrackStore& store, const Settings& settings,
                                 BindingTime which, const std::string& path);

// The intensity traces of the "green" tracks (first half of their file), 50 columns a
// line, aligned so that binding or splitting falls in column 25.
enum class GreenAlignment { Binding, Splitting };
inline constexpr int kGreenColumns = 50;
inline constexpr int kGreenAlignColumn = 25;

std::string GreenSpotsText(const TrackStore& store, GreenAlignment alignment);
// Written whole or not at all (see FileWriteResult). Never changes the store.
FileWriteResult SaveGreenSpots(const TrackStore& store, GreenAlignment alignment,
                               const std::string& path);

// The first selected track whose partner points back at it, or -1.
int32_t FirstFusedTrack(const TrackStore& store);
