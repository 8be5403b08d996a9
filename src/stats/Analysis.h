#pragma once
// What a panel analysis works with: the store, the settings, the menu toggles it
// reads, the results it leaves for the status line and the exports, scratch rows,
// and the way to tell the user about a failure.
#include <cstdint>
#include <functional>
#include <string>

#include "stats/TrackValues.h"
#include "store/Settings.h"
#include "store/TrackStore.h"

class TQVgraph;
class MsdCurveCache;
class ThreadPool;

// "Save Dlat - InstVel Data": the export command opens its file, sets WriteLine and
// arms this; the next instant-velocity run hands it one finished line per value
// ("Dlat\tvelocity\n") and disarms it at its end.
struct DlatInstVelExport {
  bool Armed = false;
  std::function<void(const std::string& line)> WriteLine;
};

// Length of every panel row (X values and series).
inline constexpr int kRowLength = 10000;
// Scratch rows an analysis may fill before copying the first of them to its panel.
inline constexpr int kWorkRows = 8;

// Results the last analyses left behind; read by the notes, the exports and the viewer.
struct AnalysisResults {
  double AverDlat = 0;
  double DlatSD = 0;
  int32_t NMSDPoints = 0;
  float FitSlope = 0;
  double AverIntens = 0;  // mean of the last intensity distribution
  double IntensSD = 0;
  double GaussMax = 0;    // centre of the last intensity Gaussian fit
  double AverVelDist = 0;  // mean of the average-velocity distribution
  double AverInstVel = 0;  // mean instant velocity
  double AverAngle = 0;    // mean change of direction
  DlatInstVelExport InstVelExport;
};

// Menu check marks the analyses read.
struct AnalysisFlags {
  bool ShowFreq = false;
  bool AutoScaling = true;
  bool Time0 = false;  // "All Trajectories at 0 time"
  bool TimeMinutes = false;  // "Time in Minutes"
  bool UseTimeWindow = false;  // "Use Time Window"
  PairRules Rules;
};

struct AnalysisContext {
  TrackStore& Spots;
  const Settings& S;
  AnalysisFlags Flags;
  std::string TimeUnit;  // "s" or "min"
  std::string DlatUnit;  // "µm2/s" or "µm2/min"
  AnalysisResults& Results;
  float* Work;  // kWorkRows rows of kRowLength floats
  std::function<void(const std::string&)> Message;
  std::function<void()> CloseMainWindow;
  // The faster ways to the same results: per-track MSD curves kept between runs (null:
  // every curve is computed afresh) and worker threads with a spatial grid (null: the
  // straightforward loops on this thread, the reference the others are held against).
  MsdCurveCache* Curves = nullptr;
  ThreadPool* Pool = nullptr;

  float* WorkRow(int r) const { return Work + static_cast<size_t>(r) * kRowLength; }
  double LagUnit() const { return S.dT * S.TimeScale; }
};

// Every panel analysis has this shape.
using PanelAnalysis = void (*)(AnalysisContext& context, TQVgraph& graph);

// Copies the first `rows` work rows whole into the panel's data matrix.
void CopyRowsToPanel(const AnalysisContext& context, TQVgraph& graph, int rows);
