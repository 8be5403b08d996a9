#include "app/MainForm.h"

#include "app/CommandSnapshot.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <optional>

#include "plot/Ticks.h"
#include "stats/ParallelValues.h"
#include "store/Numbers.h"

namespace {

void SetupPanel(TQVgraph& graph, float* data, const char* xTitle, int seriesCount) {
  graph.XTitle = xTitle;
  graph.Y0Title = "Number of objects";
  for (std::string& note : graph.Notes) note.clear();
  graph.SeriesCount = seriesCount;
  graph.Stride = kPanelStride;
  graph.FontSize = 10;
  graph.Series[1].Color = Colors::Blue;
  graph.Data = data;
  graph.DataRows = kPanelRows;
  graph.HasData = true;
}

}  // namespace

TMainForm::TMainForm(Platform& platform) : platform_(platform) {
  if (!Spots.Allocate()) {
    platform_.ShowError("Can not allocate memory for SPOT data");
    platform_.CloseMainWindow();
    return;
  }
  LeftData.reset(new (std::nothrow) float[kPanelRows * kPanelStride]());
  RightData.reset(new (std::nothrow) float[kPanelRows * kPanelStride]());
  ScratchArrays.reset(new (std::nothrow) MsdScratch());
  WorkRows.reset(new (std::nothrow) float[kWorkRows * kRowLength]());
  MsdCurves.reset(new (std::nothrow) MsdCurveCache());
  if (!LeftData || !RightData || !ScratchArrays || !WorkRows) {
    Spots.Spots.reset();
    platform_.ShowError("Can not allocate memory for SPOT data");
    platform_.CloseMainWindow();
    return;
  }
  SetupPanel(LeftGraph, LeftData.get(), "Intensity drop(counts/pix)", 1);
  SetupPanel(RightGraph, RightData.get(), "Dlat (µm2/s)", 5);
  LeftGraph.OnBeep = RightGraph.OnBeep = [this] { platform_.Beep(); };
  // Made right after the main window, as the program creates its other two windows.
  GraphForm = std::make_unique<TGraphForm>(*this);
  QVgraphDlgForm = std::make_unique<TQVgraphDlgForm>(platform_);
}

TMainForm::~TMainForm() = default;

void TMainForm::SetCaption(const std::string& caption) {
  Caption = caption;
  platform_.SetCaption(caption);
}

PairRules TMainForm::CurrentPairRules() const {
  PairRules rules;
  rules.IndependentPairs = Menu.Checked("IndependentPairs");
  rules.AbsoluteXspeed = Menu.Checked("AbsoluteXspeed");
  return rules;
}

TrackStore& TMainForm::ChangeTracks() {
  if (MsdCurves) MsdCurves->Invalidate();
  return Spots;
}

void TMainForm::ComputeTrackValuesOf(int32_t first, int32_t end) {
  ComputeTrackValuesParallel(Spots, first, end, S, CurrentPairRules(), ThreadPool::Shared(),
                             *ScratchArrays, false, MsdCurves.get());
}

void TMainForm::RecomputeAllMobility() {
  ComputeTrackValuesParallel(Spots, 0, Spots.NSpots, S, CurrentPairRules(), ThreadPool::Shared(),
                             *ScratchArrays, true, MsdCurves.get());
}

int32_t TMainForm::SelectSpots() {
  const bool timeWindow = Menu.Checked("UseTimeWindow");
  const std::string& dlatClass = Menu.CheckedInGroup(MenuGroup::DlatClass);
  const std::string& lenClass = Menu.CheckedInGroup(MenuGroup::Length);
  const std::string& intClass = Menu.CheckedInGroup(MenuGroup::Intensity);
  const std::string& velClass = Menu.CheckedInGroup(MenuGroup::Velocity);
  const bool lowDlat = dlatClass == "SelectLowDlat", highDlat = dlatClass == "SelectHighDlat";
  const bool shortLen = lenClass == "ShowShort", longLen = lenClass == "ShowLong";
  const bool weak = intClass == "WeakInt", bright = intClass == "BrightInt";
  const bool slow = velClass == "LowVelocities", fast = velClass == "HighVelocities";
  const bool twoSteps = Menu.Checked("TwoStepsOnly");
  const bool stopping = Menu.Checked("StoppingSpots");
  const bool fastOnly = Menu.Checked("FastMovingSpots");

  int32_t selected = 0;
  for (int32_t i = 0; i < Spots.NSpots; ++i) {
    SpotRec& t = Spots[i];
    // Each test fails only on an ordered comparison, so a NaN value passes every class.
    const double dlat = t.Dlat, averInt = t.AverInt, averVel = t.AverVel, stest = t.STest;
    const int64_t end = static_cast<int64_t>(t.FirstFrame) + t.NPoints;
    bool keep = true;
    if (timeWindow && (end < S.StartFrame ||
                       static_cast<int64_t>(S.StartFrame) + S.MinNumDataPoints < t.FirstFrame))
      keep = false;
    else if ((lowDlat && dlat > S.DlatThresh) || (highDlat && dlat < S.DlatThresh))
      keep = false;
    else if ((shortLen && t.NPoints > S.LenThresh) || (longLen && t.NPoints < S.LenThresh))
      keep = false;
    else if ((weak && averInt > S.IntThresh) || (bright && averInt <= S.IntThresh))
      keep = false;
    else if ((slow && averVel > S.VelThresh) || (fast && averVel <= S.VelThresh))
      keep = false;
    else if (twoSteps && stest < S.StestThresh)
      keep = false;
    else if (stopping && t.StopCount() == 0)
      keep = false;
    else if (t.Valid != 1 || (fastOnly && t.FastFlag != 1))
      keep = false;
    t.Selected = keep ? 1 : 0;
    if (keep) ++selected;
  }
  Spots.NSelected = selected;
  StatusText = std::to_string(Spots.NSpots) + " objects (" + std::to_string(selected) +
               " selected), IntThresh=" + FormatReal(S.IntThresh) +
               ", length=" + std::to_string(S.LenThresh) + " points" +
               ", velThresh=" + FormatReal(S.VelThresh);
  platform_.SetStatusText(StatusText);
  return selected;
}

bool TMainForm::RunCommand(std::string_view name) {
  const CommandRow<TMainForm>* row = FindCommand(Commands(), name);
  if (!row) return false;
  if (!Menu.Item(name).enabled) return true;
  if (!job_.empty()) {  // a command run by another one is part of it
    RunRow(*this, Menu, *row);
    return true;
  }
  if (row->changes >= Changes::PairRule) ChangeTracks();
  // Loads keep nothing: what they replace would be a copy of the whole store, and they
  // take well under a second at the sizes the store holds.
  const bool load = row->answer == Answer::OpenFiles;
  std::optional<CommandSnapshot> before;
  if (platform_.CanCancel() && !load) before.emplace(*this, row->changes);
  job_ = row->caption;
  jobCancellable_ = before.has_value();
  jobShown_ = cancelled_ = false;
  RunRow(*this, Menu, *row);
  if (jobShown_) platform_.Progress(job_, 1.0, jobCancellable_);
  job_.clear();
  if (cancelled_ && before) {
    before->Restore(*this);
    platform_.ShowMessage("Cancelled");
    platform_.Repaint();
  }
  cancelled_ = false;
  return true;
}

bool TMainForm::ContinueJob(double fraction) {
  if (cancelled_) return false;
  if (job_.empty()) return true;
  if (!jobShown_) {
    platform_.Progress(job_, 0.0, jobCancellable_);
    jobShown_ = true;
  }
  cancelled_ = !platform_.Progress(job_, std::clamp(fraction, 1e-6, 0.999), jobCancellable_);
  return !cancelled_;
}

bool TMainForm::HasCommand(std::string_view name) const {
  return FindCommand(Commands(), name) != nullptr;
}

std::vector<std::string> TMainForm::CommandNames() const {
  std::vector<std::string> names;
  for (const CommandRow<TMainForm>& row : Commands())
    if (row.Runs()) names.emplace_back(row.name);
  return names;
}
