#pragma once
// What a panel analysis works with: the store, the settings, the menu toggles it
// reads, the shared registers of earlier runs, scratch rows and the way to tell the user
// about a failure; and what it gives back.
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "stats/TrackValues.h"
#include "store/Settings.h"
#include "store/TrackStore.h"

class TQVgraph;
class MsdCurveCache;
class ThreadPool;

// A receiver of finished text lines (an export file being written).
using LineSink = std::function<void(const std::string& line)>;

// Length of every panel row (X values and series).
inline constexpr int kRowLength = 10000;
// Scratch rows an analysis may fill before copying the first of them to its panel.
inline constexpr int kWorkRows = 8;

// What one panel run computed, beside what it drew: each value it set is recorded into
// the shared registers by the recomputation pass.
struct PanelResults {
  std::optional<double> AverDlat;
  std::optional<double> DlatSD;
  std::optional<int32_t> NMSDPoints;
  std::optional<float> FitSlope;
  std::optional<double> AverIntens;   // mean of the intensity distribution
  std::optional<double> IntensSD;
  std::optional<double> GaussMax;     // centre of the intensity Gaussian fit
  std::optional<double> AverVelDist;  // mean of the average-velocity distribution
  std::optional<double> AverInstVel;  // mean instant velocity
  std::optional<double> AverAngle;    // mean change of direction

  // The panel's headline numbers for a summary of many files, each named with its unit
  // ("mean Dlat (µm2/s)"), in the order the panel shows them.
  struct Headline {
    std::string name;
    double value;
  };
  std::vector<Headline> Headlines;
  PanelResults& Add(std::string name, double value) {
    Headlines.push_back({std::move(name), value});
    return *this;
  }
};

// The values the last runs left, shared by both panels: a later run's note may show a
// value an earlier run computed (the Dlat-length note shows the last AverDlat, the angle
// note the last mean instant velocity), and "Rotate Tracks Left to Right" leaves the
// slope of its last fit in FitSlope.
struct AnalysisRegisters {
  double AverDlat = 0;
  double DlatSD = 0;
  int32_t NMSDPoints = 0;
  float FitSlope = 0;
  double AverIntens = 0;
  double IntensSD = 0;
  double GaussMax = 0;
  double AverVelDist = 0;
  double AverInstVel = 0;
  double AverAngle = 0;

  void Record(const PanelResults& results);
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
  const AnalysisRegisters& Registers;
  float* Work;  // kWorkRows rows of kRowLength floats
  // Tells the user the run failed (memory short, too little data for a fit).
  std::function<void(const std::string&)> Message;
  // Tells the user something about the data; the run itself went through.
  std::function<void(const std::string&)> Note;
  std::function<void()> CloseMainWindow;
  // The faster ways to the same results: per-track MSD curves kept between runs (null:
  // every curve is computed afresh) and worker threads with a spatial grid (null: the
  // straightforward loops on this thread, the reference the others are held against).
  MsdCurveCache* Curves = nullptr;
  ThreadPool* Pool = nullptr;
  // For long runs, on this thread: tells how far the run has got; false once the user
  // cancelled the command, and the run then stops (what it left is put back).
  std::function<bool(double)> KeepGoing = [](double) { return true; };
  // "Save Dlat - InstVel Data": the instant-velocity run of this pass hands it one line
  // per value ("Dlat\tvelocity\n").
  const LineSink* InstVelExport = nullptr;

  float* WorkRow(int r) const { return Work + static_cast<size_t>(r) * kRowLength; }
  double LagUnit() const { return S.dT * S.TimeScale; }
};

// Every panel analysis has this shape.
using PanelAnalysis = PanelResults (*)(AnalysisContext& context, TQVgraph& graph);

// A scratch array of `count` items for one run (zeroed when asked); null, once `failure`
// is shown, when memory is short (the panel then stays as it was).
template <class T>
std::unique_ptr<T[]> RunScratch(const AnalysisContext& context, size_t count, const char* failure,
                                bool zeroed = false) {
  std::unique_ptr<T[]> scratch(zeroed ? new (std::nothrow) T[count]() : new (std::nothrow) T[count]);
  if (!scratch) context.Message(failure);
  return scratch;
}

// Copies the first `rows` work rows whole into the panel's data matrix.
void CopyRowsToPanel(const AnalysisContext& context, TQVgraph& graph, int rows);
