#pragma once
// "Save Tracks as CSV": the tracks for other programs, UTF-8, one row per point:
//   track,frame,t_s,x_um,y_um,intensity
// and beside it `<name>.tracks.csv`, one row per track with its per-track values:
//   track,first_frame,n_points,aver_int,dlat_um2_s,aver_vel_um_s,s_test,step_index,
//   int_before,int_after,selected,dcve_um2_s,sigma_cve_um,alpha
// (with "min" for "s" in the units while the time unit is minutes)
// `track` is the record's index in the store, the same in both files. Floats are written
// in the shortest form that reads back to the same float, so importing the file gives the
// same tracks back. Only valid tracks are written (and only selected ones on request).
#include <string>

#include "store/AtomicFile.h"
#include "store/KeepGoing.h"

struct TrackStore;

struct TrackCsvOptions {
  // X and Y relative to the header position (Format2016 clear): written as
  // HeaderOrigin(PosX) + X, the inverse of how imported tracks are stored.
  bool relativePositions = true;
  double frameIntervalS = 0.03;  // t_s = frame x this
  bool selectedOnly = false;
  std::string timeUnit = "s";  // "s" or "min": the unit of the rates written
};

// The per-track file's path: "a/b.csv" -> "a/b.tracks.csv"; other names get
// ".tracks.csv" appended.
std::string TrackValuesCsvPath(const std::string& path);

// Writes both files, each whole or not at all (the points file may be in place when the
// second file then fails); the result names the file that could not be written.
// Stopped part-way by `keepGoing`, neither file is written (NotWritten, "cancelled").
FileWriteResult WriteTracksCsv(const std::string& path, const TrackStore& store,
                               const TrackCsvOptions& options, const KeepGoing& keepGoing = {});
