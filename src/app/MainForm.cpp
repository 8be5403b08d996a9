#include "app/MainForm.h"

#include <cmath>
#include <new>

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
    platform_.ShowMessage("Can not allocate memory for SPOT data");
    platform_.CloseMainWindow();
    return;
  }
  LeftData.reset(new (std::nothrow) float[kPanelRows * kPanelStride]());
  RightData.reset(new (std::nothrow) float[kPanelRows * kPanelStride]());
  Scratch.reset(new (std::nothrow) MsdScratch());
  WorkRows.reset(new (std::nothrow) float[kWorkRows * kRowLength]());
  MsdCurves.reset(new (std::nothrow) MsdCurveCache());
  if (!LeftData || !RightData || !Scratch || !WorkRows) {
    Spots.Spots.reset();
    platform_.ShowMessage("Can not allocate memory for SPOT data");
    platform_.CloseMainWindow();
    return;
  }
  SetupPanel(LeftGraph, LeftData.get(), "Intensity drop(counts/pix)", 1);
  SetupPanel(RightGraph, RightData.get(), "Dlat (µm2/s)", 5);
  LeftGraph.OnBeep = RightGraph.OnBeep = [this] { platform_.Beep(); };
  RegisterCommands();
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

void TMainForm::TracksChanged() {
  if (MsdCurves) MsdCurves->Invalidate();
}

void TMainForm::ComputeTrackValuesOf(int32_t first, int32_t end) {
  ComputeTrackValuesParallel(Spots, first, end, S, CurrentPairRules(), ThreadPool::Shared(),
                             *Scratch, false, MsdCurves.get());
}

void TMainForm::RecomputeAllMobility() {
  ComputeTrackValuesParallel(Spots, 0, Spots.NSpots, S, CurrentPairRules(), ThreadPool::Shared(),
                             *Scratch, true, MsdCurves.get());
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

void TMainForm::RegisterCommands() {
  commands_ = {
      {"OpenNewFile", [this] { OpenNewFileClick(); }},
      {"AddDataFile", [this] { AddDataFileClick(); }},
      {"SaveData", [this] { SaveDataClick(); }},
      {"OpenXYtxt", [this] { OpenXYtxtClick(); }},
      {"L_RemeberGraph", [this] { RemeberGraphClick(false); }},
      {"R_RemeberGraph", [this] { RemeberGraphClick(true); }},
      {"ShowFreq", [this] { ShowFreqClick(); }},
      {"AutoScaling", [this] { AutoScalingClick(); }},
      {"IncrDlatLim", [this] { IncrDlatLimClick(); }},
      {"DecrDlatLim", [this] { DecrDlatLimClick(); }},
      {"NextSpot", [this] { NextSpotClick(); }},
      {"PrevSpot", [this] { PrevSpotClick(); }},
  };
  RegisterSettingsCommands();
  RegisterPictureCommands();
  RegisterFitCommands();
  RegisterGraphDialogCommands();
  RegisterEditCommands();
  RegisterFilterCommands();
  RegisterViewerCommands();
  RegisterExportCommands();
  RegisterDualCommands();
  // Every radio item of the panel and class menus is a command of its own.
  for (const MenuItem& item : Menu.Items()) {
    if (item.group == MenuGroup::LeftPanel || item.group == MenuGroup::RightPanel)
      commands_.emplace_back(item.name, [this, name = item.name] { ChoosePanel(name); });
    else if (item.group != 0)
      commands_.emplace_back(item.name, [this, name = item.name] { ChooseClass(name); });
  }
}

void TMainForm::AddCommand(std::string name, std::function<void()> handler) {
  commands_.emplace_back(std::move(name), std::move(handler));
}

bool TMainForm::HasCommand(std::string_view name) const {
  for (const auto& entry : commands_)
    if (entry.first == name) return true;
  return false;
}

namespace {

// Commands that change neither coordinates nor point counts nor the pair rule: the kept
// MSD curves stay current across them (a changed lag unit is caught per curve). Every
// other command, and any command added later, makes them stale first.
bool LeavesTracksAlone(const MenuModel& menu, std::string_view name) {
  static const std::string_view kCommands[] = {
      "L_RemeberGraph", "R_RemeberGraph", "ShowFreq", "AutoScaling", "IncrDlatLim",
      "DecrDlatLim", "NextSpot", "PrevSpot", "ViewTrack", "ViewerPicture", "SetGraph",
      // settings prompts and toggles
      "DeltaTime", "IntStep", "SetDlatBin", "DistBinSet", "VelocityBinSet", "SetVelocityStep",
      "TimeMinutes", "SetStestThresh", "SetMSDfittingLimit", "VelocityLimit",
      "HighVelocityThresh", "MinNumDataPointsSet", "SetDistanceLimit", "StartFrame",
      "SetDlatThresh", "SetVelThresh", "Time0", "UseTimeWindow", "TwoStepsOnly",
      "StoppingSpots", "FastMovingSpots",
      // pictures and text exports of the main window
      "PrintZoom", "PrintGraphs", "SaveAsBMP", "SaveDistAsTXT", "SaveDistAsCSV", "SaveMSDdT",
      "SaveXYIntData", "SaveXYdata", "SaveIntensityData", "SaveXYIntColumns",
      "PutTimeInTXTfile", "SaveDlatVersInt", "SaveDlatVerLen", "SaveStopTimes",
      "SaveDlatInstVelData"};
  for (std::string_view command : kCommands)
    if (command == name) return true;
  // The panel and class choices.
  if (!menu.Has(name)) return false;
  const int group = menu.Item(name).group;
  return group == MenuGroup::LeftPanel || group == MenuGroup::RightPanel ||
         group == MenuGroup::Length || group == MenuGroup::Intensity ||
         group == MenuGroup::DlatClass || group == MenuGroup::Velocity;
}

}  // namespace

bool TMainForm::RunCommand(std::string_view name) {
  for (auto& [commandName, handler] : commands_) {
    if (commandName == name) {
      if (!LeavesTracksAlone(Menu, name)) TracksChanged();
      handler();
      return true;
    }
  }
  return false;
}

std::vector<std::string> TMainForm::CommandNames() const {
  std::vector<std::string> names;
  for (const auto& entry : commands_) names.push_back(entry.first);
  return names;
}
