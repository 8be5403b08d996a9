#pragma once
// What an import of a tracking file gives: the tracks in µm, the calibration the file
// carried, and a report of everything that was left out, split or filled. Plain values,
// no store: the store is touched only by AppendImportedTracks, after a complete parse.
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// A source track's id: a number when the file's id is an integer (also written as "7.0"),
// else the text. Numbers sort first, by value; texts after them, digit runs by value
// ("a2" before "a10").
struct TrackId {
  bool numeric = true;
  int64_t number = 0;
  std::string text;

  std::string Display() const { return numeric ? std::to_string(number) : text; }
};
bool operator<(const TrackId& a, const TrackId& b);
bool operator==(const TrackId& a, const TrackId& b);

// One imported track: consecutive frames firstFrame .. firstFrame + count - 1, its points
// at [offset, offset + count) of the shared arrays.
struct ImportedTrack {
  TrackId id;
  int32_t firstFrame = 0;
  int64_t offset = 0;
  int32_t count = 0;
};

// Tracks in order of their source id, stretches of one source track in frame order.
struct ImportedTracks {
  std::vector<ImportedTrack> tracks;
  std::vector<float> x, y, intensity;  // µm, µm, counts
};

enum class LengthUnit { Unknown, Pixel, Micrometre, Nanometre };

// Pixel size in µm and frame interval in s; NaN where not known.
struct Calibration {
  double pixelSizeUm = NAN;
  double frameIntervalS = NAN;
  LengthUnit positionUnit = LengthUnit::Unknown;
  bool PositionsInPixels() const { return positionUnit == LengthUnit::Pixel; }
};

struct ImportCounts {
  int64_t tracksImported = 0;
  int64_t splitAtGaps = 0;       // tracks cut where frames were missing
  int64_t gapsFilled = 0;        // gaps filled by interpolation
  int64_t framesFilled = 0;      // frames those gaps held
  int64_t branchesCut = 0;       // spots where a TrackMate track splits or merges
  int64_t singlePointsLeftOut = 0;
  int64_t rowsSkipped = 0;       // rows (or spots) not used, duplicates included
  int64_t duplicates = 0;        // rows of a (track, frame) seen before
};

struct ImportReport {
  ImportCounts counts;
  // How the calibration was decided ("pixel size 0.1 µm from the caller; the file says
  // 0.16 µm"), one line each.
  std::vector<std::string> notes;
  // Each names the file and the line (tables) or spot ID (XML). Only the first
  // kMaxWarnings are kept; warningsLeftOut counts the rest.
  std::vector<std::string> warnings;
  int64_t warningsLeftOut = 0;
  static constexpr size_t kMaxWarnings = 200;

  void Warn(std::string text) {
    if (warnings.size() < kMaxWarnings)
      warnings.push_back(std::move(text));
    else
      ++warningsLeftOut;
  }
};

enum class GapRule {
  Split,  // a missing frame ends one stored track and starts the next
  Fill,   // missing frames are interpolated linearly between their neighbours
};

// The values an import needs and its file does not give, for the caller to ask the user.
struct CalibrationRequest {
  bool needPixelSize = false;
  bool needFrameInterval = false;
  double pixelSizeUm = 0;     // filled in by the caller when needed
  double frameIntervalS = 0;
};

struct ImportOptions {
  // Caller's calibration, used instead of the file's when > 0.
  double pixelSizeUm = 0;
  double frameIntervalS = 0;
  // Unit of the positions; Unknown takes the file's.
  LengthUnit positionUnit = LengthUnit::Unknown;
  GapRule gaps = GapRule::Split;
  // Intensity column of a table or spot feature of a TrackMate file; empty: the format's
  // own (MEAN_INTENSITY_CH1, MEAN_INTENSITY, mass, signal, I0, intensity).
  std::string intensity;
  // Threads that read a large table (a half each); 1 reads it in one pass.
  int threads = 2;
  // Columns of any other table: "track=NAME,frame=NAME,x=NAME,y=NAME[,intensity=NAME]
  // [,t=NAME][,unit=px|um|nm]". Empty: recognised by the header.
  std::string columns;
  // Asked once when a value the file needs is missing from the file and the options (the
  // window shows one small dialog with both): fills in the needed values, or returns false
  // (cancelled) and the import fails. Unset: the import fails naming the option to add.
  std::function<bool(CalibrationRequest&)> askCalibration;
  // Told the share of the file read, on the calling thread, now and then while a long
  // file is read; false stops the import (it fails with "cancelled").
  std::function<bool(double)> progress;
};

struct ImportResult {
  bool ok = false;
  std::string error;  // names the file and what is wrong, when !ok
  std::string format;  // "TrackMate XML", "TrackMate CSV", "trackpy CSV", ...
  ImportedTracks data;
  Calibration fileCalibration;  // what the file said
  Calibration calibration;      // what was used: positions are in µm now
  ImportReport report;
};
