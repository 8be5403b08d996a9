#pragma once
// The main window's state and commands, free of any window system. The Qt window,
// the batch tool and the tests all drive this one object.
//
// Every menu command is a row of the command table (MainCommands.cpp) with a handler
// below named after its item; RunCommand finds the row, makes the kept MSD curves stale
// when the row says the command may change points or the pair rule, and runs it.
#include <cstdint>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/CommandTable.h"
#include "app/GraphDialog.h"
#include "app/GraphForm.h"
#include "app/MenuModel.h"
#include "app/Platform.h"
#include "app/ViewerHost.h"
#include "edit/Cleaning.h"
#include "edit/Drift.h"
#include "edit/RunningFilters.h"
#include "import/ImportTypes.h"
#include "plot/TQVgraph.h"
#include "stats/Analysis.h"
#include "stats/MsdCurveCache.h"
#include "stats/TrackValues.h"
#include "store/Settings.h"
#include "store/KeepGoing.h"
#include "store/TrackStore.h"

// Rows of a panel's data matrix and their length.
inline constexpr int kPanelRows = 6;
inline constexpr int kPanelStride = 10000;

class TMainForm : public ViewerHost {
 public:
  explicit TMainForm(Platform& platform);
  ~TMainForm();
  TMainForm(const TMainForm&) = delete;
  TMainForm& operator=(const TMainForm&) = delete;

  // The command table: every menu item in menu order, then the batch tool's commands.
  static std::span<const CommandRow<TMainForm>> Commands();

  // False when the store could not be allocated (the window then closed itself).
  bool Ready() const override { return Spots.Allocated(); }

  // --- the store, settings and menus
  TrackStore Spots;
  Settings S;
  MenuModel Menu{MenuItemsOf(Commands())};

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
  int StatusBarHeight = 20;
  std::string Caption = "Kinetra Statistics";
  std::string ViewerCaption;  // caption of the single-track viewer's graph
  std::string StatusText;
  std::string TimeUnit = "s";
  std::string DlatUnit = "µm2/s";
  double DlatShift = 0;

  // --- what the last analyses left in the shared registers (AverDlat, FitSlope, ...)
  AnalysisRegisters Registers;
  // The headline numbers of each panel's last run (none when too few tracks were
  // selected for the panels to run).
  std::vector<PanelResults::Headline> LeftHeadlines, RightHeadlines;

  // --- the panels
  std::unique_ptr<float[]> LeftData;   // kPanelRows x kPanelStride
  std::unique_ptr<float[]> RightData;
  TQVgraph LeftGraph;
  TQVgraph RightGraph;

  // Work arrays of the per-track computations on load.
  std::unique_ptr<MsdScratch> ScratchArrays;
  // Every track's MSD curve, kept from load on for the MSD panel; stale after any change
  // of points (ChangeTracks, or a command whose row says it may change them).
  std::unique_ptr<MsdCurveCache> MsdCurves;
  // Loading and the panels run their plain loops: no kept curves, no worker threads, no
  // frame slabs, no spatial grid (the reference the benchmarks and tests hold the faster
  // paths against).
  bool PlainAnalysis = false;
  // Rows the analyses fill before copying them to a panel.
  std::unique_ptr<float[]> WorkRows;  // kWorkRows x kRowLength
  // Scratch of the editing commands, allocated at the first use and kept.
  std::unique_ptr<DriftTables> DriftWork;
  std::unique_ptr<DuplicateScratch> DuplicateWork;
  std::unique_ptr<FilterScratch> FilterWork;

  // The one graph settings dialog; the single-track viewer attaches its graph to it too.
  std::unique_ptr<TQVgraphDlgForm> QVgraphDlgForm;
  // The one "Kinetra - Graph" viewer; ShowCurrentSpot hands it the track at CurSpot.
  std::unique_ptr<TGraphForm> GraphForm;

  // --- running commands
  // Runs a command by its component name; false when there is no such command. Where the
  // user can cancel (the window), what the command may change is kept first: a cancelled
  // command is undone and says "Cancelled".
  bool RunCommand(std::string_view name);
  // For the long loops of commands and analyses, on this thread: tells how far the
  // running command has got (a progress dialog past half a second); false once the user
  // cancelled it, and the loop then stops.
  bool ContinueJob(double fraction);
  // ContinueJob as the long loops of src/edit and src/import take it.
  KeepGoing JobCheck() {
    return [this](double fraction) { return ContinueJob(fraction); };
  }
  bool HasCommand(std::string_view name) const;
  // Names RunCommand accepts, in table order.
  std::vector<std::string> CommandNames() const;

  // --- window events, as plain values
  // The client area changed: each panel takes half the width and the height above the status bar.
  void FormResize(int clientWidth, int clientHeight, int statusBarHeight);
  // Paints the right panel, then the left, onto the window's canvas (nothing before the
  // first recomputation).
  void FormPaint(Canvas& windowCanvas);
  // A key-down by virtual key code: the arrow keys and L, H, I, D step the thresholds
  // and recompute.
  void KeyDown(int key);
  // The one-shot start-up timer: asks for the frame interval, the first time only.
  void StartupTimerFired();
  bool StartupPromptDone = false;

  // --- loading
  // Reads files as "Open New File(s)" does: the first replaces the store, the rest append.
  void OpenQVIFiles(const std::vector<std::string>& files);
  // Reads one QVI file into the store (replacing it when `replace`), then recomputes.
  void LoadQVIFile(const std::string& path, bool replace);
  // Reads files of any kind the program knows, by their content: QVI files as
  // LoadQVIFile reads them, TrackMate XML and track tables as ImportTracksFrom does. The
  // first replaces the store when `replace`, the rest are appended.
  void OpenTrackFiles(const std::vector<std::string>& files, bool replace);
  // Imports a TrackMate XML file or a track table; the frame interval it gives becomes
  // dT. A file that cannot be imported is reported and leaves the store as it was.
  bool ImportTracksFrom(const std::string& path, bool replace);
  // How imports read their files: calibration given by the user, column names, gaps.
  ImportOptions ImportSettings;
  // dT in seconds as it is, with the captions that show it.
  void SetFrameInterval(double seconds);

  // --- the recomputation pass and what it is made of
  // Filters, selection, both panels, repaint.
  void UpdateAnalysis();
  // Marks the tracks that pass the current classes and filters; returns NSelected.
  int32_t SelectSpots();
  // The selected tracks and flags an analysis reads, for one panel's run.
  AnalysisContext MakeAnalysisContext();
  // Runs the analysis of a panel item into `graph` and records what it computed.
  void RunPanel(std::string_view item, TQVgraph& graph, const LineSink* instVelExport = nullptr);
  // Draws both panels into their own bitmaps as a paint does (right, then left; nothing
  // before the first recomputation), for picture output without a window.
  void RenderPanels();

  // --- the store and its per-track values
  // The store for a change of points: the kept MSD curves go stale first.
  TrackStore& ChangeTracks() override;
  // Per-track values of records [first, end), as on load.
  void ComputeTrackValuesOf(int32_t first, int32_t end);
  // Dlat and AverVel of every track, after coordinates or time settings change.
  void RecomputeAllMobility();
  // AverVel of every track, after the velocity step or a pair rule changes.
  void RecomputeAllVelocities();
  // The pair rules the FILTER menu sets for MSD and velocity.
  PairRules CurrentPairRules() const override;
  // The stopping-spot and fast-moving passes of the FILTER menu.
  void RunStoppingFilter();
  void RunFastMovingFilter();

  // Hands the track at CurSpot to the single-track viewer when it is selected.
  void ShowCurrentSpot();
  // Prints any bitmap at PrintZoom printer pixels per pixel; the viewer prints through it too.
  void PrintBitmap(const Bitmap& picture);

  Platform& platform() override { return platform_; }

  // The program's pseudo-random integers in [0, n), 0 when n is 0. Never seeded from
  // the clock, so the synthetic tracks of "Open TXT file" repeat from run to run.
  uint32_t RandomBelow(uint32_t n);

  // --- command handlers, named after their menu items (the table runs them)
  // File menu (MainFormFiles.cpp, MainFormPictures.cpp, MainFormExports.cpp)
  void OpenNewFileClick();
  void AddDataFileClick();
  void SaveDataClick();
  void OpenXYtxtClick();
  void ImportTracksClick();
  void AddTracksClick();
  void SaveTracksCSVClick();
  void PrintZoomClick();
  void PrintGraphsClick();
  void SaveAsBMPClick();
  void SaveDistAsTXTClick();
  void SaveDistAsCSVClick();
  void SaveMSDdTClick();
  void SaveTrackDataClick(std::string_view item);  // the three track tables
  // Panel and class menus (MainFormPanels.cpp)
  void ChoosePanel(std::string_view item);
  void ChooseClass(std::string_view item);
  void RemeberGraphClick(std::string_view item);
  void ShowFreqClick();
  void IncrDlatLimClick();
  void DecrDlatLimClick();
  void NextSpotClick();
  void PrevSpotClick();
  // Settings menu (MainFormSettings.cpp): a prompt, a range check, the item's new
  // caption, then UpdateAnalysis.
  void SettingPromptClick(std::string_view item);
  void TimeMinutesClick();
  // Action and RunFilter menus (MainFormEdit.cpp). Correct For Drift, Shift Down and
  // Shift By one Frame deliberately do not recompute, so several can be applied before
  // the panels are rebuilt.
  void CorrectForDriftClick();
  void RemoveEndsClick();
  void RemoveDupicatesClick();
  void RemoveLandingsClick();
  void RemoveStaticSpotsClick();
  void ShiftDownClick();
  void ShiftOneTimeStepClick();
  void RunningFilterClick(std::string_view item);
  // FILTER menu and the track transforms (MainFormFilters.cpp)
  void IndependentPairsClick();
  void AbsoluteXspeedClick();
  void SpotFilterClick(std::string_view item);  // two steps, stopping, fast moving
  void LeftRightTracksClick();
  void MatchTracksClick();
  // Dual tracks and binding (MainFormDuals.cpp): Find Dual Tracks sets DualsFound, which
  // the cut, the binding filter and the four exports need first.
  void FindDualTracksClick();
  void LeaveDualsPartsOnlyClick();
  void DynamicBindingClick();
  void SaveBindingTimesClick(std::string_view item);
  void SaveGreenSpotsClick(std::string_view item);
  void ShowFusedTracksClick();
  // Pop-up exports (MainFormExports.cpp)
  void SaveDlatTableClick(std::string_view item);
  void SaveStopTimesClick();
  void SaveDlatInstVelDataClick();
  // Pop-up tools
  void SetGraphClick();
  void MGaussFitClick();
  // Batch only (MainFormViewer.cpp): "ViewTrack" asks for a track index and shows it;
  // "ViewerPicture" saves the viewer's graph.
  void ViewTrackClick();
  void ViewerPictureClick();

 private:
  // --- what the viewer may reach (ViewerHost)
  const TrackStore& Tracks() const override { return Spots; }
  const Settings& CurrentSettings() const override { return S; }
  MsdScratch& Scratch() override { return *ScratchArrays; }
  const std::string& TimeUnitText() const override { return TimeUnit; }
  const std::string& DlatUnitText() const override { return DlatUnit; }
  const std::string& TrackSource() const override { return ViewerCaption; }
  bool AbsolutePositions() const override { return Format2016; }
  int CurrentObject() const override { return CurSpot; }
  void NextObject() override { NextSpotClick(); }
  void PrevObject() override { PrevSpotClick(); }
  void Recompute() override { UpdateAnalysis(); }
  TQVgraphDlgForm* GraphDialog() override { return QVgraphDlgForm.get(); }
  void PrintPicture(const Bitmap& picture) override { PrintBitmap(picture); }

  // The recomputation pass; the instant-velocity export, when given, receives the right
  // panel's values of this one run.
  void RecomputePanels(const LineSink* instVelExport);
  void SetCaption(const std::string& caption);

  // The command running now, for its progress: its caption ("" outside a command).
  std::string job_;
  bool jobCancellable_ = false;
  bool jobShown_ = false;
  bool cancelled_ = false;

  Platform& platform_;
  std::minstd_rand random_;
};
