// The views of the single-track viewer: which rows of its matrix hold what, titles,
// notes and ranges. Each builder reads the shown stretch FirstIndex .. LastIndex.
//
// Series (styles and colours set once at creation): 1 red, 2 blue, 3 green (right axis
// in the time view), 4 black line (levels, fits, histograms), 5 white marks, 6 grey.
#include <algorithm>
#include <cmath>
#include <limits>

#include "app/GraphForm.h"
#include "app/Platform.h"
#include "app/ViewerHost.h"
#include "edit/Drift.h"
#include "plot/Canvas.h"
#include "plot/Ticks.h"
#include "stats/Fits.h"
#include "stats/Histogram.h"
#include "stats/StepDistributionPanel.h"
#include "stats/TrackValues.h"
#include "store/Numbers.h"
#include "store/Settings.h"
#include "store/TrackStore.h"

namespace {

// A point that is not there: neither a circle nor a line is drawn to it.
constexpr float kNoValue = -1e9f;


// A drawable range with `fraction` of its width added at both ends.
void Pad(double& first, double& last, double fraction) {
  DrawableRange(first, last);
  const double pad = (last - first) * fraction;
  first -= pad;
  last += pad;
}

struct Span {
  double lo = std::numeric_limits<double>::infinity();
  double hi = -std::numeric_limits<double>::infinity();
  void Add(float v) {
    if (!(v > kMissingValue) || !std::isfinite(v)) return;
    lo = std::min(lo, static_cast<double>(v));
    hi = std::max(hi, static_cast<double>(v));
  }
  bool Empty() const { return !(hi >= lo); }
};

}  // namespace

void TGraphForm::StartView(int32_t points) {
  points = std::clamp(points, 0, kViewerStride - 1);
  // One entry past the points is written too: the chart probes it when clipping.
  const int32_t end = std::min(std::max(filledEnd_, points + 1), kViewerStride);
  for (int r = 0; r < kViewerRows; ++r) std::fill_n(Row(r), end, 0.0f);
  filledEnd_ = points + 1;
  Graph.DataFirst = 0;
  Graph.DataEnd = points;
  Graph.SkipMissing = false;
  for (int k = 1; k <= kMaxSeries; ++k) Graph.Series[k].Show = false;
}

void TGraphForm::ScaleAxes(double xFirst, double xLast) {
  DrawableRange(xFirst, xLast);
  Graph.FirstXval = xFirst;
  Graph.LastXval = xLast;
  Graph.TickXdist = NiceTickDistance(xLast - xFirst, 8);
  if (!Menu.Checked("AutoYscale")) return;
  for (const bool right : {false, true}) {
    Span span;
    for (int k = 1; k <= std::min(Graph.SeriesCount, kViewerRows - 1); ++k) {
      const SeriesRec& s = Graph.Series[k];
      if (!s.Show || s.RightAxis != right || s.Style == Marks) continue;
      for (int32_t i = Graph.DataFirst; i < Graph.DataEnd; ++i) span.Add(Row(k)[i]);
    }
    double first = span.Empty() ? 0 : span.lo, last = span.Empty() ? 1 : span.hi;
    Pad(first, last, 0.05);
    (right ? Graph.FirstY1val : Graph.FirstY0val) = first;
    (right ? Graph.LastY1val : Graph.LastY0val) = last;
    (right ? Graph.TickY1dist : Graph.TickY0dist) = NiceTickDistance(last - first, 5);
  }
}

void TGraphForm::TooShort() {
  StartView(0);
  Graph.Notes[0] = "Too short XY track";
  host_.platform().ShowMessage("Too short XY track");
}

void TGraphForm::DrawTrack() {
  if (!Ready()) return;
  Graph.Caption = host_.TrackSource().empty() ? "NO DATA" : host_.TrackSource();
  for (std::string& note : Graph.Notes) note.clear();
  Graph.XTitle = "Time (" + TimeUnit() + ")";
  Graph.Y0Title = "Intesity (counts/pix)";
  ClampIndexes();
  relativeXY_ = Menu.Checked("UseRelativeXY");
  Menu.SetEnabled("RemoveEnds", ZoomedIn());
  const SpotRec* track = ShownTrack();
  if (!track || ShownPoints() == 0) {
    StartView(0);
    Graph.CrossOut = false;
    Repaint();
    return;
  }
  // A track the current selection does not count is crossed out.
  Graph.CrossOut = track->Selected == 0;
  const TrackStore& spots = host_.Tracks();
  if (FusedView && FusedPartner >= 0 && FusedPartner < spots.NSpots && FusedPartner != SpotIndex)
    BuildFused(*track, spots[FusedPartner]);
  else if (ShowName == ViewName::MsdDt)
    BuildMsd(*track);
  else if (ShowName == ViewName::AutoCorr)
    BuildAutoCorr(*track);
  else if (ShowName == ViewName::XverY)
    BuildXverY(*track);
  else if (ShowName == ViewName::YverInt)
    BuildYverInt(*track);
  else if (ShowName == ViewName::Drift)
    BuildDrift(*track);
  else
    BuildIntensityXY(*track);
  Repaint();
}

// Intensity, X and Y against time; the largest intensity drop as the two levels around
// it (series 4) and a mark at its frame (series 5). "ShowVelocity" puts the instant
// velocity over VelocityStep frames (series 6) in place of the intensity.
int32_t TGraphForm::BuildIntensityXY(const SpotRec& t) {
  const int32_t m = LastIndex - FirstIndex + 1;
  const int32_t n = ShownPoints();
  StartView(m);
  const bool drop = t.IntBefore > t.IntAfter && t.StepIndex >= 0 && t.StepIndex < n;
  const Settings& settings = host_.CurrentSettings();
  const int32_t step = settings.VelocityStep;
  const float T = static_cast<float>(settings.FramesTime(step));
  for (int32_t j = 0; j < m; ++j) {
    const int32_t k = FirstIndex + j;
    Row(0)[j] = TimeOf(t, k);
    Row(1)[j] = t.Int[k];
    Row(2)[j] = XOf(t, k);
    Row(3)[j] = YOf(t, k);
    Row(4)[j] = k < t.StepIndex ? t.IntBefore : t.IntAfter;
    Row(5)[j] = drop && k == t.StepIndex ? 1.0f : 0.0f;
    Row(6)[j] = kNoValue;
    if (step >= 1 && T > 0 && k + step < n) Row(6)[j] = InstantVelocity(t, k, step, T, false);
  }
  Row(0)[m] = Row(0)[m - 1];
  SeriesRec* s = Graph.Series;
  s[2].Show = s[3].Show = true;
  s[2].RightAxis = s[3].RightAxis = true;
  s[1].RightAxis = s[4].RightAxis = s[6].RightAxis = false;
  if (VelocityShown) {
    s[6].Show = true;
    Graph.Y0Title = "Velocity (µm/" + TimeUnit() + ")";
  } else {
    s[1].Show = true;
    s[4].Show = s[5].Show = drop;
  }
  Graph.Y1Title = "X blue, Y green (µm)";
  Graph.Notes[0] = drop ? "Intensity drop at t=" + ViewerNumber(TimeOf(t, t.StepIndex)) +
                              TimeUnit() + ": " + TruncatedText(t.IntBefore, 10, 0.1) + " -> " +
                              TruncatedText(t.IntAfter, 10, 0.1) +
                              " counts, Stest=" + TruncatedText(t.STest, 100, 0.01)
                        : "No intensity drop";
  double first = Row(0)[0], last = Row(0)[m - 1];
  Pad(first, last, 0.02);
  ScaleAxes(first, last);
  return m;
}

// The MSD of the shown stretch against the lag, with the line 4 Dlat t of its Dlat.
int32_t TGraphForm::BuildMsd(const SpotRec& t) {
  const int32_t m = LastIndex - FirstIndex + 1;
  const int32_t K = m / 2;
  if (K <= 2) {  // fewer than 6 points give no Dlat
    TooShort();
    return 0;
  }
  StartView(K - 1);
  float* msd = Row(8);
  float* dk = Row(9);
  const float lag = static_cast<float>(LagUnit());
  const double dlat = CalcTrackMSD(t.X.data() + FirstIndex, t.Y.data() + FirstIndex, m, lag, dk, msd,
                                   host_.CurrentPairRules().IndependentPairs);
  const bool fitted = std::isfinite(dlat);
  for (int32_t k = 1; k < K; ++k) {
    const float lagTime = k * lag;
    Row(0)[k - 1] = lagTime;
    Row(1)[k - 1] = msd[k];
    Row(4)[k - 1] = fitted ? static_cast<float>(4 * dlat * lagTime) : 0.0f;
  }
  Row(0)[K - 1] = Row(0)[K - 2];
  Graph.Series[1].Show = true;
  Graph.Series[4].Show = fitted;
  Graph.Series[1].RightAxis = Graph.Series[4].RightAxis = false;

  Span xs, ys;
  for (int32_t k = FirstIndex; k <= LastIndex; ++k) {
    xs.Add(XOf(t, k));
    ys.Add(YOf(t, k));
  }
  Graph.XTitle = "dt (" + TimeUnit() + ")    minX=" + TruncatedText(xs.lo, 1000, 0.001) +
                 ", maxX=" + TruncatedText(xs.hi, 1000, 0.001) + ",minY=" + TruncatedText(ys.lo, 1000, 0.001) +
                 ", maxY=" + TruncatedText(ys.hi, 1000, 0.001);
  Graph.Y0Title = "MSD (µm2)";
  Graph.Notes[0] = "Obj=" + std::to_string(SpotIndex) + ", Dlat=" + TruncatedText(dlat, 1000, 0.001) +
                   host_.DlatUnitText() + " (" + std::to_string(m) + " points)";
  ScaleAxes(0, Row(0)[K - 2] * 1.02);
  if (Menu.Checked("AutoYscale") && Graph.FirstY0val > 0) {
    Graph.FirstY0val = 0;
    Graph.TickY0dist = NiceTickDistance(Graph.LastY0val, 5);
  }
  return K - 1;
}

// Distances between the shown points up to kStepWindow frames apart, in nm, binned by
// DistanceBin as the step-distribution panel bins the whole population.
int32_t TGraphForm::BuildAutoCorr(const SpotRec& t) {
  const int32_t m = LastIndex - FirstIndex + 1;
  if (m < 2 || !pairCounts_) {
    TooShort();
    return 0;
  }
  std::fill_n(pairCounts_.get(), kHistogramBins, 0.0);
  double sum = 0;
  const int64_t pairs =
      AddTrackStepPairs(t.X.data() + FirstIndex, t.Y.data() + FirstIndex, m, static_cast<float>(host_.CurrentSettings().DistanceBin),
                        pairCounts_.get(), sum, kMaxStepPairs);
  StartView(0);
  float* bins = Row(8);
  for (int32_t i = 0; i < kHistogramBins; ++i) bins[i] = static_cast<float>(pairCounts_[i]);
  const int32_t points = HistogramPoints(bins, Row(0), Row(4), host_.CurrentSettings().DistanceBin, 0, false);
  Graph.DataEnd = points;
  filledEnd_ = points + 1;
  Graph.Series[4].Show = points > 0;
  Graph.Series[4].RightAxis = false;
  Graph.XTitle = "Distance (nm)";
  Graph.Y0Title = "Number";
  Graph.Notes[0] = "Obj=" + std::to_string(SpotIndex) + ", " + std::to_string(m) +
                   " dataPoints, " + std::to_string(pairs) + " pairs up to " +
                   std::to_string(kStepWindow) + " frames apart, AverDist=" +
                   TruncatedText(pairs > 0 ? sum / static_cast<double>(pairs) : 0, 10, 0.1) + "nm";
  ScaleAxes(0, points > 0 ? Row(0)[points - 1] + host_.CurrentSettings().DistanceBin : 1);
  if (Menu.Checked("AutoYscale")) {
    Graph.FirstY0val = 0;
    Graph.TickY0dist = NiceTickDistance(Graph.LastY0val, 5);
  }
  return points;
}

// The path, its straight-line fit and a grey circle at its start (during the DynamicXY
// replay: at the point reached). Both axes take the same pixels per µm, so the path
// keeps its shape.
int32_t TGraphForm::BuildXverY(const SpotRec& t) {
  const int32_t m = LastIndex - FirstIndex + 1;
  if (m < 3) {
    TooShort();
    return 0;
  }
  StartView(m);
  float* x = Row(0);
  float* y = Row(1);
  Span xs, ys;
  for (int32_t j = 0; j < m; ++j) {
    x[j] = XOf(t, FirstIndex + j);
    y[j] = YOf(t, FirstIndex + j);
    Row(6)[j] = kNoValue;
    xs.Add(x[j]);
    ys.Add(y[j]);
  }
  x[m] = x[m - 1];
  float slope = 0;
  const double offset = LinearFit(x, y, m, slope);
  const bool fitted = std::isfinite(slope) && std::isfinite(offset);
  for (int32_t j = 0; j < m && fitted; ++j) Row(4)[j] = static_cast<float>(slope * x[j] + offset);

  const bool replay = Menu.Checked("DynamicXY");
  const int32_t shown = replay ? std::clamp(ReplayIndex - FirstIndex + 1, 1, m) : m;
  Graph.DataEnd = shown;
  Row(6)[replay ? shown - 1 : 0] = y[replay ? shown - 1 : 0];
  Graph.Series[1].Show = Graph.Series[6].Show = true;
  Graph.Series[4].Show = fitted && !replay;
  for (int k : {1, 4, 6}) Graph.Series[k].RightAxis = false;

  Graph.XTitle = "Distance X (um)";
  Graph.Y0Title = "Distance Y (um)";
  Graph.Notes[0] = "Obj=" + std::to_string(SpotIndex) + " (" + std::to_string(m) +
                   "points), Slope=" + TruncatedText(slope, 1000, 0.001) +
                   " offSet=" + TruncatedText(offset, 1000, 0.001);
  if (xs.Empty() || ys.Empty()) {
    ScaleAxes(0, 1);
    return shown;
  }
  // One µm takes as many pixels across as up, by the plot of the last layout (or the
  // bitmap before the first).
  double width = Graph.PlotRight - Graph.LeftMargin, height = Graph.PlotBottom;
  if (!(width > 10 && height > 10) && Graph.Bitmap) {
    width = Graph.Bitmap->Width() - 60;
    height = Graph.Bitmap->Height() - 60;
  }
  width = std::max(width, 10.0);
  height = std::max(height, 10.0);
  const double perPixel = std::max((xs.hi - xs.lo) / width, (ys.hi - ys.lo) / height) * 1.1;
  double xFirst = (xs.lo + xs.hi) / 2 - perPixel * width / 2;
  double xLast = (xs.lo + xs.hi) / 2 + perPixel * width / 2;
  DrawableRange(xFirst, xLast);
  ScaleAxes(xFirst, xLast);
  Graph.TickXdist = NiceTickDistance(xLast - xFirst, 5);
  if (Menu.Checked("AutoYscale")) {
    double yFirst = (ys.lo + ys.hi) / 2 - perPixel * height / 2;
    double yLast = (ys.lo + ys.hi) / 2 + perPixel * height / 2;
    DrawableRange(yFirst, yLast);
    Graph.FirstY0val = yFirst;
    Graph.LastY0val = yLast;
    Graph.TickY0dist = NiceTickDistance(yLast - yFirst, 5);
  }
  return shown;
}

// Y against intensity with the straight-line fit of Y on intensity: a spot that moves
// along an illumination or focus gradient shows a slope.
int32_t TGraphForm::BuildYverInt(const SpotRec& t) {
  const int32_t m = LastIndex - FirstIndex + 1;
  if (m < 3) {
    TooShort();
    return 0;
  }
  StartView(m);
  float* in = Row(0);
  float* y = Row(1);
  Span is;
  for (int32_t j = 0; j < m; ++j) {
    in[j] = t.Int[FirstIndex + j];
    y[j] = YOf(t, FirstIndex + j);
    is.Add(in[j]);
  }
  in[m] = in[m - 1];
  float slope = 0;
  const double offset = LinearFit(in, y, m, slope);
  const bool fitted = std::isfinite(slope) && std::isfinite(offset);
  for (int32_t j = 0; j < m && fitted; ++j) Row(4)[j] = static_cast<float>(slope * in[j] + offset);
  Graph.Series[1].Show = true;
  Graph.Series[4].Show = fitted;
  Graph.Series[1].RightAxis = Graph.Series[4].RightAxis = false;
  Graph.XTitle = "Intensity (AU)";
  Graph.Y0Title = "Distance Y (um)";
  Graph.Notes[0] = "Obj=" + std::to_string(SpotIndex) + " (" + std::to_string(m) +
                   "points), Slope=" + TruncatedText(slope, 1000000, 0.000001) +
                   " offSet=" + TruncatedText(offset, 1000, 0.001);
  double first = is.Empty() ? 0 : is.lo, last = is.Empty() ? 1 : is.hi;
  Pad(first, last, 0.05);
  ScaleAxes(first, last);
  return m;
}

// The drift path that "Correct For Drift" would subtract at the frames of the shown
// points (blue X, green Y), with the track's own X (red) and Y (grey) moved to start on
// that path: a track that only drifts lies on it.
int32_t TGraphForm::BuildDrift(const SpotRec& t) {
  if (!drift_) drift_.reset(new (std::nothrow) DriftTables);
  if (!drift_) {
    host_.platform().ShowError("Can not allocate memory for drift data");
    return 0;
  }
  ComputeDriftPath(host_.Tracks(), *drift_);
  const int32_t m = LastIndex - FirstIndex + 1;
  StartView(m);
  auto slot = [&](int32_t k) {
    const int64_t f = int64_t{t.FirstFrame} + k;
    return f >= 0 && f < kDriftFrames ? static_cast<int32_t>(f) : -1;
  };
  const int32_t start = slot(FirstIndex);
  const double startX = start >= 0 ? drift_->DriftX[start] : 0;
  const double startY = start >= 0 ? drift_->DriftY[start] : 0;
  for (int32_t j = 0; j < m; ++j) {
    const int32_t k = FirstIndex + j;
    const int32_t f = slot(k);
    Row(0)[j] = TimeOf(t, k);
    Row(1)[j] = static_cast<float>(startX + (t.X[k] - t.X[FirstIndex]));
    Row(6)[j] = static_cast<float>(startY + (t.Y[k] - t.Y[FirstIndex]));
    Row(2)[j] = f >= 0 ? static_cast<float>(drift_->DriftX[f]) : kNoValue;
    Row(3)[j] = f >= 0 ? static_cast<float>(drift_->DriftY[f]) : kNoValue;
  }
  Row(0)[m] = Row(0)[m - 1];
  for (int k : {1, 2, 3, 6}) {
    Graph.Series[k].Show = true;
    Graph.Series[k].RightAxis = false;
  }
  Graph.Y0Title = "Drift (µm)";
  Graph.Notes[1] = "Drift X blue, Y green; the track's X red, Y grey, from the drift at its start";
  const int32_t end = slot(LastIndex);
  if (start >= 0 && end >= 0)
    Graph.Notes[0] = "Drift over the shown frames: dX=" +
                     TruncatedText(drift_->DriftX[end] - startX, 10000, 0.0001) + " µm, dY=" +
                     TruncatedText(drift_->DriftY[end] - startY, 10000, 0.0001) + " µm";
  else
    Graph.Notes[0] = "Frames outside 0..9999 have no drift";
  double first = Row(0)[0], last = Row(0)[m - 1];
  Pad(first, last, 0.02);
  ScaleAxes(first, last);
  return m;
}

// Both tracks of a dual pair on their common time axis: the intensities of the track
// (red) and its partner (blue), their distance (green, right axis) against the Critical
// Distance (black), and white marks over the joint stretch.
int32_t TGraphForm::BuildFused(const SpotRec& s, const SpotRec& p) {
  const int32_t ns = ShownPoints();
  const int32_t np = p.ReadablePoints();
  const int64_t f0 = std::min<int64_t>(s.FirstFrame, p.FirstFrame);
  const int64_t f1 = std::max<int64_t>(int64_t{s.FirstFrame} + ns, int64_t{p.FirstFrame} + np);
  const int32_t len = static_cast<int32_t>(std::clamp<int64_t>(f1 - f0, 1, kViewerStride - 1));
  StartView(len);
  const bool absolute = host_.AbsolutePositions();
  auto at = [absolute](const SpotRec& t, int32_t k, bool y) {
    const float v = y ? t.Y[k] : t.X[k];
    if (absolute) return static_cast<double>(v);
    return (y ? t.PosY : t.PosX) * 0.1 + v;
  };
  const int64_t segFirst = s.SegStart[0];
  const int64_t segEnd = segFirst + std::max(s.SegLen[0], 0);
  const float critical = static_cast<float>(host_.CurrentSettings().CriticalDistance);
  const double lag = LagUnit();
  for (int32_t j = 0; j < len; ++j) {
    const int64_t f = f0 + j;
    const int64_t js = f - s.FirstFrame, jp = f - p.FirstFrame;
    const bool inS = js >= 0 && js < ns, inP = jp >= 0 && jp < np;
    Row(0)[j] = static_cast<float>(static_cast<double>(f) * lag);
    Row(1)[j] = inS ? s.Int[static_cast<int32_t>(js)] : kNoValue;
    Row(2)[j] = inP ? p.Int[static_cast<int32_t>(jp)] : kNoValue;
    Row(3)[j] = kNoValue;
    if (inS && inP) {
      const double dx = at(s, static_cast<int32_t>(js), false) - at(p, static_cast<int32_t>(jp), false);
      const double dy = at(s, static_cast<int32_t>(js), true) - at(p, static_cast<int32_t>(jp), true);
      Row(3)[j] = static_cast<float>(std::sqrt(dx * dx + dy * dy));
    }
    Row(4)[j] = critical;
    Row(5)[j] = inS && js >= segFirst && js < segEnd ? 1.0f : 0.0f;
  }
  Row(0)[len] = Row(0)[len - 1];
  SeriesRec* series = Graph.Series;
  for (int k = 1; k <= 5; ++k) series[k].Show = true;
  series[1].RightAxis = series[2].RightAxis = false;
  series[3].RightAxis = series[4].RightAxis = true;
  Graph.Y1Title = "Distance (µm)";
  Graph.Notes[1] = "Intensity red, partner blue; distance green, Critical Distance black";
  std::string note = "Obj=" + std::to_string(SpotIndex) + " with Obj=" + std::to_string(FusedPartner);
  if (s.SegLen[0] > 0)
    note += ", joint " + std::to_string(s.SegLen[0]) + " frames from t=" +
            ViewerNumber(TimeOf(s, s.SegStart[0])) + TimeUnit();
  Graph.Notes[0] = note;
  double first = Row(0)[0], last = Row(0)[len - 1];
  if (ZoomedIn()) {
    first = TimeOf(s, FirstIndex);
    last = TimeOf(s, LastIndex);
  }
  Pad(first, last, 0.02);
  ScaleAxes(first, last);
  return len;
}
