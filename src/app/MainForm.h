#pragma once
// The main window's state and commands, free of any window system. The Qt window,
// the batch tool and the tests all drive this one object.
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "app/GraphDialog.h"
#include "app/GraphForm.h"
#include "app/MenuModel.h"
#include "app/Platform.h"
#include "edit/Cleaning.h"
#include "edit/Drift.h"
#include "edit/RunningFilters.h"
#include "plot/TQVgraph.h"
#include "stats/Analysis.h"
#include "stats/MsdCurveCache.h"
#include "stats/TrackValues.h"
#include "store/Settings.h"
#include "store/TrackStore.h"

// Rows of a panel's data matrix and their length.
inline constexpr int kPanelRows = 6;
inline constexpr int kPanelStride = 10000;

class TMainForm {
 public:
  explicit TMainForm(Platform& platform);
  ~TMainForm();
  TMainForm(const TMainForm&) = delete;
  TMainForm& operator=(const TMainForm&) = delete;

  // False when the store could not be allocated (the window then closed itself).
  bool Ready() const { return Spots.Allocated(); }

  // --- the store, settings and menus
  TrackStore Spots;
  Settings S;
  MenuModel Menu;

  // --- loading state
  bool OldFormat = false;
  bool ZeroMarker = false;
  bool Format2016 = false;
  int32_t NFiles = 0;
  int32_t CurSpot = 0;
  bool DualsFound = false;

  // --- window state
  bool GraphsReady = false;
  int MouseX = 0;
  int ClientWidth = 1197;
  int ClientHeight = 623;
  std::string Caption = "Kinetra Statistics";
  std::string ViewerCaption;  // caption of the single-track viewer's graph
  std::string StatusText;
  std::string TimeUnit = "s";
  std::string DlatUnit = "µm2/s";
  double DlatShift = 0;

  // --- results of the last analyses (AverDlat, DlatSD, NMSDPoints, FitSlope, ...)
  AnalysisResults Results;

  // --- the panels
  std::unique_ptr<float[]> LeftData;   // kPanelRows x kPanelStride
  std::unique_ptr<float[]> RightData;
  TQVgraph LeftGraph;
  TQVgraph RightGraph;

  // Work arrays of the per-track computations on load.
  std::unique_ptr<MsdScratch> Scratch;
  // Every track's MSD curve, kept from load on for the MSD panel. RunCommand makes the
  // kept curves stale before every command not known to leave coordinates, point counts
  // and the pair rule alone; code that changes tracks outside a command calls
  // TracksChanged() itself.
  std::unique_ptr<MsdCurveCache> MsdCurves;
  void TracksChanged();
  // Loading and the panels run their plain loops: no kept curves, no worker threads, no
  // frame slabs, no spatial grid (the reference the benchmarks and tests hold the faster
  // paths against).
  bool PlainAnalysis = false;
  // Rows the analyses fill before copying them to a panel.
  std::unique_ptr<float[]> WorkRows;  // kWorkRows x kRowLength

  // --- window events, as plain values
  // The client area changed: each panel takes half the width and the height above the status bar.
  void FormResize(int clientWidth, int clientHeight, int statusBarHeight);
  // Paints the right panel, then the left, onto the window's canvas (nothing before the
  // first recomputation).
  void FormPaint(Canvas& windowCanvas);
  int StatusBarHeight = 20;

  // --- commands, named after their menu items
  void OpenNewFileClick();
  void AddDataFileClick();
  void SaveDataClick();
  void OpenXYtxtClick();

  // Reads files as "Open New File(s)" does: the first replaces the store, the rest append.
  void OpenQVIFiles(const std::vector<std::string>& files);
  // Reads one QVI file into the store (replacing it when `replace`), then recomputes.
  void LoadQVIFile(const std::string& path, bool replace);

  // The one recomputation pass: filters, selection, both panels, repaint.
  void UpdateAnalysis();
  // Marks the tracks that pass the current classes and filters; returns NSelected.
  int32_t SelectSpots();

  // The pair rules the FILTER menu sets for MSD and velocity.
  PairRules CurrentPairRules() const;
  // Per-track values of every track in the store, as on load.
  void ComputeTrackValuesOf(int32_t first, int32_t end);
  // Dlat and AverVel of every track, after coordinates or time settings change.
  void RecomputeAllMobility();

  // A key-down on the main window, by virtual key code: the arrow keys and L, H, I, D
  // step the thresholds and recompute.
  void KeyDown(int key);

  // Choosing an item of the Left or Right menu: check it, caption the menu, recompute.
  void ChoosePanel(const std::string& item);
  // Choosing an item of a selection-class menu.
  void ChooseClass(const std::string& item);
  void ShowFreqClick();
  void AutoScalingClick();
  void RemeberGraphClick(bool right);
  void IncrDlatLimClick();
  void DecrDlatLimClick();
  void NextSpotClick();
  void PrevSpotClick();
  // Hands the track at CurSpot to the single-track viewer when it is selected.
  void ShowCurrentSpot();
  // The selected tracks and flags an analysis reads, for one panel's run.
  AnalysisContext MakeAnalysisContext();
  // Runs the analysis of the checked item of one panel menu into its graph.
  void RunPanel(const std::string& item, TQVgraph& graph);

  // --- settings commands (MainFormSettings.cpp): a prompt, a range check, the item's new
  // caption, then UpdateAnalysis
  void DeltaTimeClick();
  void IntStepClick();
  void SetDlatBinClick();
  void VelocityBinSetClick();
  void DistBinSetClick();
  void SetDistanceLimitClick();
  void SetDlatThreshClick();
  void SetVelThreshClick();
  void SetStestThreshClick();
  void VelocityLimitClick();
  void HighVelocityThreshClick();
  void SetVelocityStepClick();
  void MinNumDataPointsSetClick();
  void SetMSDfittingLimitClick();
  void StartFrameClick();
  // Runs the prompt command of one Settings item by its component name.
  void RunSettingPrompt(std::string_view item);
  void TimeMinutesClick();
  // The one-shot start-up timer: asks for the frame interval, the first time only.
  void StartupTimerFired();
  bool StartupPromptDone = false;
  // AverVel of every track, after the velocity step changes.
  void RecomputeAllVelocities();
  // The stopping-spot pass of the FILTER menu, run again when the velocity step changes
  // (MainFormFilters.cpp).
  void RunStoppingFilter();

  // --- picture output (MainFormPictures.cpp)
  void SaveAsBMPClick();
  void PrintGraphsClick();
  void PrintZoomClick();
  // Prints any bitmap at PrintZoom printer pixels per pixel; the viewer prints through it too.
  void PrintBitmap(const Bitmap& picture);
  // Draws both panels into their own bitmaps as a paint does (right, then left; nothing
  // before the first recomputation), for picture output without a window.
  void RenderPanels();

  // --- spot filters and track transforms (MainFormFilters.cpp)
  // The five FILTER toggles: flip the check mark, recompute what the toggle changes,
  // UpdateAnalysis, then UpdateFilterCaption.
  void IndependentPairsClick();
  void AbsoluteXspeedClick();
  void TwoStepsOnlyClick();
  void StoppingSpotsClick();
  void FastMovingSpotsClick();
  // "FILTER" followed by the suffix of every checked toggle, in menu order.
  void UpdateFilterCaption();
  // FastFlag of every track (UpdateAnalysis runs it while "Fast Moving Spots Only" is checked).
  void RunFastMovingFilter();
  // "Rotate Tracks Left to Right" and "Fit Tracks Together".
  void LeftRightTracksClick();
  void MatchTracksClick();

  // --- fits (MainFormFit.cpp)
  // "M-GaussFit": fits the step-distribution panel with Gaussians on multiples of one step.
  void MGaussFitClick();

  // --- track editing (MainFormEdit.cpp): drift correction, cleaning, time-base toggles and
  // running filters, all in place on every track. Correct For Drift, Shift Down and Shift
  // By one Frame deliberately do not recompute, so several can be applied before the
  // panels are rebuilt; the others end with UpdateAnalysis.
  void CorrectForDriftClick();
  void RemoveEndsClick();
  void RemoveDupicatesClick();
  void RemoveLandingsClick();
  void RemoveStaticSpotsClick();
  void ShiftDownClick();
  void ShiftOneTimeStepClick();
  void Time0Click();
  void UseTimeWindowClick();
  void RunningMed3Click();
  void RunningMed5Click();
  void RunningAverage3Click();
  void RunningAverage5Click();
  void RunningAverage7Click();
  // Scratch of the editing commands, allocated at the first use and kept.
  std::unique_ptr<DriftTables> DriftWork;
  std::unique_ptr<DuplicateScratch> DuplicateWork;
  std::unique_ptr<FilterScratch> FilterWork;

  // --- the graph settings dialog (MainFormGraphDialog.cpp)
  // The one "QVgraph Settings" dialog; the single-track viewer attaches its graph to it too.
  std::unique_ptr<TQVgraphDlgForm> QVgraphDlgForm;

  // --- the single-track viewer (MainFormViewer.cpp)
  // The one "Kinetra - Graph" viewer; ShowCurrentSpot hands it the track at CurSpot.
  std::unique_ptr<TGraphForm> GraphForm;
  // "ViewTrack" (batch): asks for a track index, makes it CurSpot and shows it.
  void ViewTrackClick();
  // "ViewerPicture" (batch): saves the viewer's graph as BMP, or PNG by the name's extension.
  void ViewerPictureClick();
  // "SetGraph" (pop-up): the panel under the mouse goes to the dialog, shown modally.
  void SetGraphClick();

  // --- dual tracks and binding (MainFormDuals.cpp). Find Dual Tracks sets DualsFound,
  // which the cut, the binding filter and the four exports need first.
  void FindDualTracksClick();
  void LeaveDualsPartsOnlyClick();
  void DynamicBindingClick();
  void SaveTimeBeforeBindingClick();
  void SaveBoundTimeClick();
  void SaveGreenBindingSpotsClick();
  void SaveGreenSplittingSpotsClick();
  void ShowFusedTracksClick();

  // --- text exports (MainFormExports.cpp): each asks for a file with the text save dialog
  // and changes nothing in the store; a cancelled dialog or a file that cannot be opened
  // ends the command with nothing written.
  void SaveDistAsTXTClick();
  void SaveDistAsCSVClick();
  void SaveXYIntDataClick();
  void SaveXYdataClick();
  void SaveIntensityDataClick();
  // The three track exports: mode 0 X, Y and intensity, 1 X and Y, 2 intensity.
  void SaveTrackData(int mode);
  // The two toggles the track exports read; they only flip their check marks.
  void SaveXYIntColumnsClick();
  void PutTimeInTXTfileClick();
  void SaveMSDdTClick();
  void SaveDlatVersIntClick();
  void SaveDlatVerLenClick();
  void SaveStopTimesClick();
  // Arms the export hook of the instant-velocity distribution and runs the right panel's
  // "Show Instant Vel. Distr." command into the open file.
  void SaveDlatInstVelDataClick();

  // Runs a menu command by its component name; false when there is no such command.
  bool RunCommand(std::string_view name);
  bool HasCommand(std::string_view name) const;
  // Names RunCommand accepts, in menu order.
  std::vector<std::string> CommandNames() const;

  Platform& platform() { return platform_; }

  // The program's pseudo-random integers in [0, n), 0 when n is 0. Never seeded from
  // the clock, so the synthetic tracks of "Open TXT file" repeat from run to run.
  uint32_t RandomBelow(uint32_t n);

 private:
  void RegisterCommands();
  void RegisterSettingsCommands();  // MainFormSettings.cpp
  void RegisterPictureCommands();   // MainFormPictures.cpp
  void RegisterFitCommands();       // MainFormFit.cpp
  void RegisterGraphDialogCommands();  // MainFormGraphDialog.cpp
  void RegisterEditCommands();      // MainFormEdit.cpp
  void RegisterFilterCommands();    // MainFormFilters.cpp
  void RegisterViewerCommands();    // MainFormViewer.cpp
  void RegisterDualCommands();      // MainFormDuals.cpp
  void RegisterExportCommands();    // MainFormExports.cpp
  void AddCommand(std::string name, std::function<void()> handler);
  void SetCaption(const std::string& caption);

  Platform& platform_;
  std::minstd_rand random_;
  std::vector<std::pair<std::string, std::function<void()>>> commands_;
};
