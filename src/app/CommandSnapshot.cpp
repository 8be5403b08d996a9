#include "app/CommandSnapshot.h"

#include <algorithm>
#include <string>
#include <vector>

#include "app/MainForm.h"

namespace {

// What the analyses set in a panel's graph; the layout is worked out again at the next
// drawing.
struct GraphState {
  SeriesRec series[kMaxSeries + 1];
  std::string xTitle, y0Title, y1Title, caption, notes[3];
  bool hasData, skipMissing, crossOut;
  int seriesCount, dataFirst, dataEnd;
  double ranges[9];

  explicit GraphState(const TQVgraph& g)
      : xTitle(g.XTitle), y0Title(g.Y0Title), y1Title(g.Y1Title), caption(g.Caption),
        notes{g.Notes[0], g.Notes[1], g.Notes[2]}, hasData(g.HasData), skipMissing(g.SkipMissing),
        crossOut(g.CrossOut), seriesCount(g.SeriesCount), dataFirst(g.DataFirst),
        dataEnd(g.DataEnd),
        ranges{g.FirstXval, g.LastXval, g.FirstY0val, g.LastY0val, g.FirstY1val, g.LastY1val,
               g.TickXdist, g.TickY0dist, g.TickY1dist} {
    std::copy(std::begin(g.Series), std::end(g.Series), series);
  }
  void ApplyTo(TQVgraph& g) const {
    std::copy(std::begin(series), std::end(series), g.Series);
    g.XTitle = xTitle, g.Y0Title = y0Title, g.Y1Title = y1Title, g.Caption = caption;
    for (int i = 0; i < 3; ++i) g.Notes[i] = notes[i];
    g.HasData = hasData, g.SkipMissing = skipMissing, g.CrossOut = crossOut;
    g.SeriesCount = seriesCount, g.DataFirst = dataFirst, g.DataEnd = dataEnd;
    double* fields[9] = {&g.FirstXval, &g.LastXval,  &g.FirstY0val, &g.LastY0val, &g.FirstY1val,
                         &g.LastY1val, &g.TickXdist, &g.TickY0dist, &g.TickY1dist};
    for (int i = 0; i < 9; ++i) *fields[i] = ranges[i];
  }
};

std::vector<float> Matrix(const std::unique_ptr<float[]>& data) {
  return std::vector<float>(data.get(), data.get() + kPanelRows * kPanelStride);
}

}  // namespace

struct CommandSnapshot::Kept {
  Changes changes;
  Settings settings;
  MenuModel menu;
  std::string caption, viewerCaption, statusText, timeUnit, dlatUnit;
  double dlatShift;
  bool oldFormat, zeroMarker, format2016, dualsFound, graphsReady;
  int32_t nFiles, curSpot;
  AnalysisRegisters registers;
  std::vector<PanelResults::Headline> leftHeadlines, rightHeadlines;
  std::vector<float> leftData, rightData;
  GraphState left, right;
  int32_t nSpots, nSelected;
  std::vector<SpotHeader> headers;
  std::vector<FrameArray> frames;  // Int, X, Y of each record in turn

  explicit Kept(const TMainForm& f, Changes c)
      : changes(c), settings(f.S), menu(f.Menu), caption(f.Caption),
        viewerCaption(f.ViewerCaption), statusText(f.StatusText), timeUnit(f.TimeUnit),
        dlatUnit(f.DlatUnit), dlatShift(f.DlatShift), oldFormat(f.OldFormat),
        zeroMarker(f.ZeroMarker), format2016(f.Format2016), dualsFound(f.DualsFound),
        graphsReady(f.GraphsReady), nFiles(f.NFiles), curSpot(f.CurSpot), registers(f.Registers),
        leftHeadlines(f.LeftHeadlines), rightHeadlines(f.RightHeadlines),
        leftData(Matrix(f.LeftData)), rightData(Matrix(f.RightData)), left(f.LeftGraph),
        right(f.RightGraph), nSpots(f.Spots.NSpots), nSelected(f.Spots.NSelected) {
    // Even a command that changes nothing else marks the tracks it selects.
    for (int32_t i = 0; i < nSpots; ++i) headers.push_back(f.Spots[i]);
    if (c != Changes::Points) return;
    frames.reserve(static_cast<size_t>(nSpots) * 3);
    for (int32_t i = 0; i < nSpots; ++i)
      for (const FrameArray* a : {&f.Spots[i].Int, &f.Spots[i].X, &f.Spots[i].Y}) frames.push_back(*a);
  }
};

CommandSnapshot::CommandSnapshot(const TMainForm& form, Changes changes)
    : kept_(std::make_unique<Kept>(form, changes)) {}

CommandSnapshot::~CommandSnapshot() = default;

void CommandSnapshot::Restore(TMainForm& f) {
  Kept& k = *kept_;
  f.S = k.settings;
  f.Menu.Replace(k.menu);
  f.Caption = k.caption, f.ViewerCaption = k.viewerCaption, f.StatusText = k.statusText;
  f.TimeUnit = k.timeUnit, f.DlatUnit = k.dlatUnit, f.DlatShift = k.dlatShift;
  f.OldFormat = k.oldFormat, f.ZeroMarker = k.zeroMarker, f.Format2016 = k.format2016;
  f.DualsFound = k.dualsFound, f.GraphsReady = k.graphsReady;
  f.NFiles = k.nFiles, f.CurSpot = k.curSpot;
  f.Registers = k.registers;
  f.LeftHeadlines = k.leftHeadlines, f.RightHeadlines = k.rightHeadlines;
  std::copy(k.leftData.begin(), k.leftData.end(), f.LeftData.get());
  std::copy(k.rightData.begin(), k.rightData.end(), f.RightData.get());
  k.left.ApplyTo(f.LeftGraph);
  k.right.ApplyTo(f.RightGraph);
  TrackStore& spots = f.ChangeTracks();
  spots.NSpots = k.nSpots;
  spots.NSelected = k.nSelected;
  for (int32_t i = 0; i < k.nSpots; ++i) static_cast<SpotHeader&>(spots[i]) = k.headers[i];
  if (k.changes != Changes::Points) return;
  for (int32_t i = 0; i < k.nSpots; ++i) {
    spots[i].Int = std::move(k.frames[3 * size_t(i)]);
    spots[i].X = std::move(k.frames[3 * size_t(i) + 1]);
    spots[i].Y = std::move(k.frames[3 * size_t(i) + 2]);
  }
}
