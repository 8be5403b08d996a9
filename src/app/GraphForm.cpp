// The single-track viewer: set-up, menus, keys, mouse, trims, text export, timer.
#include "app/GraphForm.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>

#include "app/SaveDialogs.h"
#include "app/GraphDialog.h"
#include "app/Platform.h"
#include "app/ViewerHost.h"
#include "app/VirtualKeys.h"
#include "edit/Drift.h"
#include "edit/TrackPoints.h"
#include "plot/Canvas.h"
#include "stats/Histogram.h"
#include "store/Numbers.h"
#include "store/Settings.h"
#include "store/TrackStore.h"

namespace {

constexpr TColor kYellow = 0x00FFFF;
constexpr TColor kGrey = 0x808080;

// Pixels a press must travel before its release counts as a dragged range.
constexpr int kMinDrag = 3;
// The replay takes at most this many timer ticks, however long the track.
constexpr int32_t kReplayTicks = 200;

const char* const kViews[][2] = {
    {"IntensityXY", ViewName::IntXY},      {"Show_MSD_dT", ViewName::MsdDt},
    {"ShowDistAutoCorr", ViewName::AutoCorr}, {"ShowXverYgraph", ViewName::XverY},
    {"ShowYverIntens", ViewName::YverInt}, {"ShowDrift", ViewName::Drift},
};

using R = RowMaker<TGraphForm>;
using G = TGraphForm;
constexpr Changes kNothing = Changes::Nothing;
constexpr Changes kPoints = Changes::Points;

const CommandRow<TGraphForm> kCommands[] = {
    R::SubMenu("File", "File"),
    R::Command("File", "SaveAsTXT", "Save Data as TXT", &G::SaveDataAsTXTClick, kNothing),
    R::Disabled(
        R::Command("File", "RemoveEnds", "Remove Unselected Ends", &G::RemoveEndsClick, kPoints)),
    R::Command("File", "PrintGraph", "Print Graph", &G::PrintGraphClick, kNothing, Answer::None,
               "Ctrl+P"),
    R::SubMenu("Settings", "Settings"),
    R::Command("Settings", "SetGraph", "Graph Settings", &G::GraphSettingsClick, kNothing),
    R::Toggle("Settings", "AutoYscale", "Autoscale  Y axis", &G::DrawTrack, kNothing, true),
    R::Toggle("Settings", "UseRelativeXY", "Use Relative XY coor.", &G::DrawTrack, kNothing, true),
    R::Toggle("Settings", "DynamicXY", "DynamicXY", &G::DynamicXYClick, kNothing),
    R::SubMenu("Show", "Show"),
    R::Radio("Show", kViewerShowGroup, "IntensityXY", "Intensity+XY", &G::ShowViewClick, kNothing,
             true),
    R::Radio("Show", kViewerShowGroup, "Show_MSD_dT", "MSD-dT", &G::ShowViewClick, kNothing),
    R::Radio("Show", kViewerShowGroup, "ShowDistAutoCorr", "DistAutoCorr", &G::ShowViewClick,
             kNothing),
    R::Radio("Show", kViewerShowGroup, "ShowXverYgraph", "Show X ver Y", &G::ShowViewClick,
             kNothing),
    R::Radio("Show", kViewerShowGroup, "ShowYverIntens", "Show Int ver Y", &G::ShowViewClick,
             kNothing),
    R::Radio("Show", kViewerShowGroup, "ShowDrift", "Show Drift", &G::ShowViewClick, kNothing),
    R::Command("Show", "ShowVelocity", "ShowVelocity", &G::ShowVelocityClick, kNothing),
    R::SubMenu("Popup", "", "Popup"),
    R::Command("Popup", "GraphSettings", "Graph Settings", &G::GraphSettingsClick, kNothing,
               Answer::None, "Ctrl+Q"),
    R::Command("Popup", "SaveDataAsTXT", "Save Data as TXT", &G::SaveDataAsTXTClick, kNothing),
    R::Command("Popup", "RemoveEndsM", "Remove Ends", &G::RemoveEndsMClick, kPoints),
    R::Command("Popup", "RemoveFirstVal", "RemoveFirstVal", &G::RemoveFirstValClick, kPoints,
               Answer::None, "Ctrl+F"),
    R::Command("Popup", "RemoveEndVal", "RemoveEndVal", &G::RemoveEndValClick, kPoints,
               Answer::None, "Ctrl+E"),
};

}  // namespace

std::string ViewerNumber(float value) { return FormatG(value, 6); }

std::span<const CommandRow<TGraphForm>> TGraphForm::Commands() { return kCommands; }

TGraphForm::TGraphForm(ViewerHost& host) : host_(host) {
  Data.reset(new (std::nothrow) float[static_cast<size_t>(kViewerRows) * kViewerStride]());
  pairCounts_.reset(new (std::nothrow) double[kHistogramBins]());
  Graph.XTitle = "Time (s)";
  Graph.Y0Title = "Intesity (counts/pix)";
  Graph.PanelColor = kYellow;
  Graph.DataFirst = 0;
  Graph.DataEnd = 0;
  Graph.CheckMark = false;
  Graph.Data = Data.get();
  Graph.Stride = kViewerStride;
  Graph.DataRows = kViewerRows;
  Graph.SeriesCount = 6;
  Graph.HasData = Ready();
  Graph.OnBeep = [this] { host_.platform().Beep(); };
  struct Look {
    TColor color;
    int style;
    int size;
  };
  const Look looks[6] = {{Colors::Red, LineCircle, 6},   {Colors::Blue, LineCircle, 4},
                         {Colors::Green, LineCircle, 6}, {Colors::Black, Line, 4},
                         {Colors::White, Marks, 4},      {kGrey, LineCircle, 6}};
  for (int k = 1; k <= 6; ++k) {
    SeriesRec& s = Graph.Series[k];
    s.Color = looks[k - 1].color;
    s.Style = looks[k - 1].style;
    s.SymbolSize = looks[k - 1].size;
    s.PenWidth = 2;
  }
  Graph.Series[2].BaseSeries = 1;
  Graph.Series[3].RightAxis = true;
  Graph.SetBitmapSize(kViewerWidth, kViewerHeight);
}

TGraphForm::~TGraphForm() = default;

// --- small helpers

void TGraphForm::Repaint() {
  if (OnRepaint) OnRepaint();
}

void TGraphForm::SetStatus(const std::string& text) {
  StatusText = text;
  if (OnStatus) OnStatus(text);
}

void TGraphForm::SetTimer(bool enabled) {
  if (TimerEnabled == enabled) return;
  TimerEnabled = enabled;
  if (OnTimer) OnTimer(enabled);
}

const SpotRec* TGraphForm::ShownTrack() const {
  if (!host_.Ready() || SpotIndex < 0 || SpotIndex >= host_.Tracks().NSpots) return nullptr;
  return &host_.Tracks()[SpotIndex];
}

SpotRec* TGraphForm::TrimmedTrack() {
  if (!ShownTrack()) return nullptr;
  return &host_.ChangeTracks()[SpotIndex];
}

int32_t TGraphForm::ShownPoints() const {
  const SpotRec* track = ShownTrack();
  return track ? track->ReadablePoints() : 0;
}

void TGraphForm::ClampIndexes() {
  const int32_t n = ShownPoints();
  LastIndex = std::clamp(LastIndex, 0, std::max(n - 1, 0));
  FirstIndex = std::clamp(FirstIndex, 0, LastIndex);
  ReplayIndex = std::clamp(ReplayIndex, FirstIndex, LastIndex);
}

bool TGraphForm::ZoomedIn() const {
  const int32_t n = ShownPoints();
  return n > 0 && (FirstIndex > 0 || LastIndex < n - 1);
}

double TGraphForm::LagUnit() const { return host_.CurrentSettings().LagUnit(); }

const std::string& TGraphForm::TimeUnit() const { return host_.TimeUnitText(); }

float TGraphForm::TimeOf(const SpotRec& track, int32_t k) const {
  return static_cast<float>((static_cast<double>(track.FirstFrame) + k) * LagUnit());
}

// Stored positions are relative to the header position unless the file held absolute
// ones; "Use Relative XY coor." measures from the first shown point instead.
float TGraphForm::XOf(const SpotRec& track, int32_t k) const {
  if (relativeXY_) return track.X[k] - track.X[FirstIndex];
  return host_.AbsolutePositions() ? track.X[k] : static_cast<float>(track.PosX * 0.1 + track.X[k]);
}

float TGraphForm::YOf(const SpotRec& track, int32_t k) const {
  if (relativeXY_) return track.Y[k] - track.Y[FirstIndex];
  return host_.AbsolutePositions() ? track.Y[k] : static_cast<float>(track.PosY * 0.1 + track.Y[k]);
}

double TGraphForm::XValueAt(int x) const {
  if (!(Graph.XScale != 0) || !std::isfinite(Graph.XScale)) return Graph.FirstXval;
  return (x + Graph.XOffset()) / Graph.XScale;
}

// --- taking over tracks

void TGraphForm::ResetDisplayFlags() {
  FusedView = false;
  FusedPartner = -1;
  FirstIndex = 0;
  LastIndex = std::max(ShownPoints() - 1, 0);
}

void TGraphForm::ShowSpot(int32_t index) {
  if (!host_.Ready() || index < 0 || index >= host_.Tracks().NSpots) return;
  SpotIndex = index;
  FirstIndex = 0;
  LastIndex = std::max(ShownPoints() - 1, 0);
  ReplayIndex = 0;
  DrawTrack();
  SetStatus(TrackStatusLine(index));
}

bool TGraphForm::ShowFusedTracks() {
  const int32_t count = host_.Ready() ? host_.Tracks().NSpots : 0;
  const int32_t start = std::clamp(host_.CurrentObject(), 0, std::max(count - 1, 0));
  for (int32_t step = 0; step < count; ++step) {
    const int32_t i = (start + step) % count;
    const SpotRec& t = host_.Tracks()[i];
    const int32_t k = t.Partner;
    if (!t.Selected || k < 0 || k >= count || k == i || host_.Tracks()[k].Partner != i) continue;
    // The searching member carries the joint stretch; the view is built around it.
    const bool partnerSearched = t.SegLen[0] <= 0 && host_.Tracks()[k].SegLen[0] > 0;
    SpotIndex = partnerSearched ? k : i;
    FusedPartner = partnerSearched ? i : k;
    FusedView = true;
    FirstIndex = 0;
    LastIndex = std::max(ShownPoints() - 1, 0);
    DrawTrack();
    SetStatus(TrackStatusLine(SpotIndex));
    return true;
  }
  host_.platform().ShowMessage("No dual tracks selected");
  return false;
}

double TGraphForm::MaxDistance(const SpotRec& track) {
  const int32_t n = track.ReadablePoints();
  double best = 0;
  for (int32_t k = 1; k < n; ++k) {
    const float dx = track.X[k] - track.X[0];
    const float dy = track.Y[k] - track.Y[0];
    const double d = std::sqrt(static_cast<double>(dx * dx + dy * dy));
    // A NaN coordinate makes the whole reach unknown.
    if (std::isnan(d)) return d;
    best = std::max(best, d);
  }
  return best;
}

bool TGraphForm::GoodTrack(const SpotRec& track, const Settings& settings) {
  // Six points are the fewest that give a Dlat (two lags past the first).
  const int32_t needed = std::max(settings.MinNumDataPoints, 6);
  return track.Valid == 1 && track.NPoints >= needed && std::isfinite(track.Dlat) &&
         track.Dlat >= 0 && std::isfinite(MaxDistance(track));
}

std::string TGraphForm::TrackStatusLine(int32_t index) const {
  if (!host_.Ready() || index < 0 || index >= host_.Tracks().NSpots) return {};
  const SpotRec& t = host_.Tracks()[index];
  return "Vel=" + TruncatedText(t.AverVel, 1000, 0.001) + " µm/s, SpotNum=" + std::to_string(index) +
         ", Dlat=" + TruncatedText(t.Dlat, 1000, 0.001) + "µm2/s, Stest=" +
         TruncatedText(t.STest, 100, 0.01) + ", maxDist=" + TruncatedText(MaxDistance(t), 1000, 0.001) +
         (GoodTrack(t, host_.CurrentSettings()) ? " ,GOOD" : " ,BAD") + " dualInd=" + std::to_string(t.Partner);
}

// --- window events

void TGraphForm::KeyDown(int key) {
  switch (key) {
    case VirtualKey::PageUp: host_.NextObject(); return;
    case VirtualKey::PageDown: host_.PrevObject(); return;
    case VirtualKey::Add:
    case VirtualKey::Subtract: {
      // The symbol size of the main series, within what the settings dialog accepts.
      int& size = Graph.Series[1].SymbolSize;
      const int changed = size + (key == VirtualKey::Add ? 5 : -5);
      if (changed < 1 || changed > 50) {
        host_.platform().Beep();
        return;
      }
      size = changed;
      Repaint();
      return;
    }
    default: break;
  }
  if (ShownPoints() == 0) return;
  // Left/Right move the first shown point, Down/Up the last; at least two stay shown.
  switch (key) {
    case VirtualKey::Left: FirstIndex = std::max(FirstIndex - 1, 0); break;
    case VirtualKey::Right: FirstIndex = std::min(FirstIndex + 1, std::max(LastIndex - 1, 0)); break;
    case VirtualKey::Down: LastIndex = std::max(LastIndex - 1, std::min(FirstIndex + 1, LastIndex)); break;
    case VirtualKey::Up: LastIndex = std::min(LastIndex + 1, ShownPoints() - 1); break;
    default: return;
  }
  DrawTrack();
}

void TGraphForm::MouseMove(int x, int y) {
  if (!Graph.PickValues(x, y)) {
    SetStatus(TrackStatusLine(SpotIndex));
    return;
  }
  std::string text = "Time=" + ViewerNumber(Graph.CursorValues[0]);
  const int count = std::clamp(Graph.SeriesCount, 0, kMaxSeries);
  for (int k = 1; k <= count; ++k)
    if (Graph.Series[k].Show) text += ", " + ViewerNumber(Graph.CursorValues[k]);
  SetStatus(text);
}

void TGraphForm::MouseDown(int x, int /*y*/) { dragStartX_ = x; }

// A dragged range of a time view zooms to the points inside it; a plain click shows the
// whole track again.
void TGraphForm::MouseUp(int x, int /*y*/) {
  const int start = dragStartX_;
  dragStartX_ = -1;
  const SpotRec* track = ShownTrack();
  const bool timeView = FusedView || ShowName == ViewName::IntXY || ShowName == ViewName::Drift;
  if (start < 0 || !track || !timeView) return;
  const int32_t n = ShownPoints();
  if (std::abs(x - start) < kMinDrag) {
    if (!ZoomedIn()) return;
    FirstIndex = 0;
    LastIndex = std::max(n - 1, 0);
    DrawTrack();
    return;
  }
  const double t1 = XValueAt(std::min(x, start));
  const double t2 = XValueAt(std::max(x, start));
  int32_t first = -1, last = -1;
  for (int32_t k = 0; k < n; ++k) {
    const double t = TimeOf(*track, k);
    if (t < t1 || t > t2) continue;
    if (first < 0) first = k;
    last = k;
  }
  if (first < 0 || last - first < 1) {
    host_.platform().Beep();
    return;
  }
  FirstIndex = first;
  LastIndex = last;
  DrawTrack();
}

void TGraphForm::FormResize(int clientWidth, int clientHeight, int statusBarHeight) {
  const int height = std::max(clientHeight - std::max(statusBarHeight, 0), 1);
  Graph.SetBitmapSize(std::max(clientWidth, 1), height);
  Repaint();
}

void TGraphForm::FormPaint(Canvas& windowCanvas) {
  Graph.TargetCanvas = &windowCanvas;
  Graph.Paint();
  Graph.TargetCanvas = nullptr;
}

void TGraphForm::Render() { Graph.DrawGraph(); }

void TGraphForm::FormClose(bool recompute) {
  SetTimer(false);
  if (Menu.Checked("DynamicXY")) Menu.SetChecked("DynamicXY", false);
  dragStartX_ = -1;
  if (recompute) host_.Recompute();
}

void TGraphForm::GraphTimerTimer() {
  if (!TimerEnabled || ShowName != ViewName::XverY || FusedView) return;
  ClampIndexes();
  const int32_t shown = LastIndex - FirstIndex + 1;
  // A path too short to draw stops the replay rather than complain at every tick.
  if (ShownPoints() == 0 || shown < 3) {
    SetTimer(false);
    return;
  }
  const int32_t step = std::max<int32_t>(1, shown / kReplayTicks);
  ReplayIndex = ReplayIndex >= LastIndex ? FirstIndex : std::min(ReplayIndex + step, LastIndex);
  DrawTrack();
}

// --- commands

bool TGraphForm::RunCommand(std::string_view name) {
  const CommandRow<TGraphForm>* row = FindCommand(Commands(), name);
  if (!row) return false;
  if (Menu.Item(name).enabled && row->changes >= Changes::PairRule) host_.ChangeTracks();
  RunRow(*this, Menu, *row);
  return true;
}

void TGraphForm::GraphSettingsClick() {
  TQVgraphDlgForm* dialog = host_.GraphDialog();
  if (!dialog) return;
  dialog->AttachGraph(Graph, [this] { Repaint(); });
  host_.platform().ShowGraphDialog(*dialog);
  Repaint();
}

void TGraphForm::SaveDataAsTXTClick() {
  const std::optional<std::string> path = host_.platform().SaveFileDialog(kTextSaveDialog);
  if (!path) return;
  // The header names the time view's columns whatever the view shows.
  std::string text = "Time Xpos Ypos Velocity\n";
  const int32_t n = std::min(ShownPoints(), kViewerStride);
  const int count = std::clamp(Graph.SeriesCount, 0, kViewerRows - 1);
  for (int32_t i = 0; i < n && Ready(); ++i) {
    text += FormatG(Row(0)[i], 5);
    for (int k = 1; k <= count; ++k)
      if (Graph.Series[k].Show) text += "\t" + FormatG(Row(k)[i], 5);
    text += "\n";
  }
  ReportWrite(host_.platform(), WriteFileAtomically(*path, text), "Can not open file to write data");
}

// Every trim ends the same way: the shown stretch is clipped to the new track, the
// track is redrawn and the main window recomputes.
void TGraphForm::Trimmed(bool recomputeMobility) {
  SpotRec* track = TrimmedTrack();
  if (track && recomputeMobility)
    RecomputeMobility(*track, host_.CurrentSettings(), host_.CurrentPairRules(), host_.Scratch());
  ClampIndexes();
  DrawTrack();
  host_.Recompute();
  // The selection may have changed: the cross and the status line follow it.
  DrawTrack();
  SetStatus(TrackStatusLine(SpotIndex));
}

SpotRec* TGraphForm::TrackKeeping(int32_t points) {
  SpotRec* track = TrimmedTrack();
  if (track && points >= kMinTrimmedPoints) return track;
  host_.platform().Beep();  // too short to trim further
  return nullptr;
}

void TGraphForm::RemoveFirstValClick() {
  const int32_t n = ShownPoints();
  SpotRec* track = TrackKeeping(n - 1);
  if (!track) return;
  ClampIndexes();
  // Entry i takes entry i + 1 from the first shown point on; the spare entries past the
  // end keep the last value readable.
  for (int32_t i = FirstIndex; i + 1 < n; ++i) {
    track->Int[i] = track->Int[i + 1];
    track->X[i] = track->X[i + 1];
    track->Y[i] = track->Y[i + 1];
  }
  track->NPoints = n - 1;
  LastIndex = std::min(LastIndex, n - 2);
  Trimmed(false);
}

void TGraphForm::RemoveEndValClick() {
  const int32_t n = ShownPoints();
  SpotRec* track = TrackKeeping(n - 1);
  if (!track) return;
  track->NPoints = n - 1;
  Trimmed(false);
}

void TGraphForm::RemoveEndsMClick() {
  const int32_t n = ShownPoints();
  SpotRec* track = TrackKeeping(n - 2);
  if (!track) return;
  MoveFramesDownOne(*track, n - 2);
  track->NPoints = n - 2;
  track->FirstFrame = SaturatingAdd(track->FirstFrame, 1);
  FirstIndex = std::max(FirstIndex - 1, 0);
  LastIndex = std::max(LastIndex - 1, 0);
  Trimmed(true);
}

void TGraphForm::RemoveEndsClick() {
  ClampIndexes();
  const int32_t kept = LastIndex - FirstIndex + 1;
  SpotRec* track = TrackKeeping(ZoomedIn() ? kept : 0);  // nothing to keep unless zoomed in
  if (!track) return;
  for (int32_t i = 0; i < kept; ++i) {
    track->Int[i] = track->Int[FirstIndex + i];
    track->X[i] = track->X[FirstIndex + i];
    track->Y[i] = track->Y[FirstIndex + i];
  }
  track->NPoints = kept;
  track->FirstFrame = SaturatingAdd(track->FirstFrame, FirstIndex);
  FirstIndex = 0;
  LastIndex = kept - 1;
  // The kept stretch is a new track: its mean intensity and drop as well as its mobility.
  track->AverInt = AverageIntensity(*track);
  FindIntensityDrop(*track, host_.CurrentSettings().IntDropWindow);
  Trimmed(true);
}

void TGraphForm::PrintGraphClick() {
  Render();
  if (Graph.Bitmap) host_.PrintPicture(*Graph.Bitmap);
}

void TGraphForm::DynamicXYClick() {
  const bool on = Menu.Checked("DynamicXY");
  if (on) {
    // The replay draws the path: the X/Y view, from the first shown point.
    FusedView = false;
    Menu.SetChecked("ShowXverYgraph", true);
    ShowName = ViewName::XverY;
    ReplayIndex = FirstIndex;
  }
  SetTimer(on);
  DrawTrack();
}

void TGraphForm::ShowViewClick(std::string_view item) {
  for (const auto& view : kViews) {
    if (item != view[0]) continue;
    Menu.SetChecked(item, true);
    ShowName = view[1];
    FusedView = false;
    DrawTrack();
    return;
  }
}

void TGraphForm::ShowVelocityClick() {
  VelocityShown = !VelocityShown;
  // The caption offers the other quantity.
  Menu.SetCaption("ShowVelocity", VelocityShown ? "ShowIntensity" : "ShowVelocity");
  DrawTrack();
}
