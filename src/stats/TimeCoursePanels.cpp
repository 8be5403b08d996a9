#include "stats/TimeCoursePanels.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <string>

#include "plot/TQVgraph.h"
#include "stats/DecayFit.h"
#include "stats/Fits.h"
#include "stats/Histogram.h"
#include "stats/PanelSupport.h"
#include "store/Numbers.h"

namespace {

// One slot per frame; the graph reads one X value past the last point, so a course
// ends one short of a full row.
constexpr int32_t kSlots = kRowLength - 1;
// A time no selected track covers: LineCircle draws neither a segment nor a circle.
constexpr float kGap = -1e9f;

// Work rows of every course.
enum CourseRow { kTimeRow = 0, kMeanRow = 1, kMeanFitRow = 2, kCountRow = 3, kCountFitRow = 4 };

struct CourseSums {
  double sum[kSlots];
  double count[kSlots];
};

// Where frame j of a track lands: its own index with "All Trajectories at 0 time",
// else its absolute frame counted from the earliest selected start.
struct TimeAlignment {
  bool time0 = false;
  int64_t base = 0;

  int64_t Slot(const SpotRec& track, int32_t j) const {
    return time0 ? j : static_cast<int64_t>(track.FirstFrame) - base + j;
  }
};

TimeAlignment Align(const AnalysisContext& context) {
  TimeAlignment align;
  align.time0 = context.Flags.Time0;
  bool any = false;
  ForEachSelectedTrack(context.Spots, [&](const SpotRec& track) {
    if (!any || track.FirstFrame < align.base) align.base = track.FirstFrame;
    any = true;
  });
  return align;
}

class Course {
 public:
  explicit Course(AnalysisContext& context) : context_(context), align_(Align(context)) {
    sums_.reset(new (std::nothrow) CourseSums());
    for (int r = kTimeRow; r <= kCountFitRow; ++r) std::fill_n(context.WorkRow(r), kRowLength, 0.0f);
  }
  // False, once `failure` is shown, when the sums could not be allocated.
  bool Ready(const char* failure) const {
    if (!sums_) context_.Message(failure);
    return sums_ != nullptr;
  }
  const TimeAlignment& Alignment() const { return align_; }

  void Add(const SpotRec& track, int32_t frame, double value) {
    const int64_t slot = align_.Slot(track, frame);
    if (slot < 0 || slot >= kSlots) return;
    sums_->sum[slot] += value;
    sums_->count[slot] += 1;
  }

  // Means (gaps where no track is present), counts and the time of every slot; returns
  // the number of slots up to the last one any track reaches.
  int32_t Finish(double timeUnit) {
    float* time = context_.WorkRow(kTimeRow);
    float* mean = context_.WorkRow(kMeanRow);
    float* count = context_.WorkRow(kCountRow);
    const double origin = align_.time0 ? 0.0 : static_cast<double>(align_.base);
    for (int32_t k = 0; k < kRowLength; ++k) time[k] = static_cast<float>((origin + k) * timeUnit);
    int32_t slots = 0;
    for (int32_t k = 0; k < kSlots; ++k) {
      const double n = sums_->count[k];
      count[k] = static_cast<float>(n);
      mean[k] = n > 0 ? static_cast<float>(sums_->sum[k] / n) : kGap;
      if (n > 0) slots = k + 1;
    }
    for (int32_t k = slots; k < kSlots; ++k) mean[k] = 0;
    return slots;
  }

 private:
  AnalysisContext& context_;
  TimeAlignment align_;
  std::unique_ptr<CourseSums> sums_;
};

// The largest and smallest drawn value of a row (gaps left out), 0 when there is none.
void RowExtent(const float* row, int32_t n, double& lo, double& hi) {
  lo = 0;
  hi = 0;
  for (int32_t k = 0; k < n; ++k) {
    if (row[k] <= kMissingValue || !std::isfinite(row[k])) continue;
    lo = std::min(lo, static_cast<double>(row[k]));
    hi = std::max(hi, static_cast<double>(row[k]));
  }
}

// Counts as drawn: percent of the largest count with ShowFreq. Returns the largest.
double ScaleCounts(AnalysisContext& context, TQVgraph& graph, int32_t slots) {
  float* count = context.WorkRow(kCountRow);
  double maxCount = 0;
  for (int32_t k = 0; k < slots; ++k) maxCount = std::max(maxCount, static_cast<double>(count[k]));
  if (context.Flags.ShowFreq && maxCount > 0) {
    for (int32_t k = 0; k < slots; ++k) count[k] = static_cast<float>(count[k] * 100 / maxCount);
    maxCount = 100;
  }
  graph.Y1Title = context.Flags.ShowFreq ? "Number of objects (%)" : "Number of objects";
  return maxCount;
}

// Mean Dlat of the selected tracks, leaving out tracks too short to have one.
double MeanDlat(const AnalysisContext& context) {
  double sum = 0;
  int32_t n = 0;
  ForEachSelectedTrack(context.Spots, [&](const SpotRec& track) {
    if (!std::isfinite(track.Dlat)) return;
    sum += track.Dlat;
    ++n;
  });
  return n > 0 ? sum / n : 0.0;
}

// A falling exponential over slots [0, n) of `values`, written into `fitted`; tau, or
// 0 (and `fitted` cleared) when there is none. Beyond n the model is carried on to
// `slots` so the curve does not drop to zero after a gap.
double DecayFitRow(AnalysisContext& context, const float* values, int32_t n, float* fitted,
                   int32_t slots) {
  const float* time = context.WorkRow(kTimeRow);
  const double tau = ExpDecayFit(time, values, n, fitted);
  if (!(tau > 0) || !std::isfinite(tau)) {
    std::fill_n(fitted, kRowLength, 0.0f);
    return 0;
  }
  for (int32_t k = n; k < slots; ++k)
    fitted[k] = static_cast<float>(fitted[n - 1] * std::exp(-(time[k] - time[n - 1]) / tau));
  return tau;
}

// Series of a course: 1 mean (left axis), 2 its fit, 3 count (right axis), 4 the
// count's fit. Series 5 is the remembered comparison row and is left alone.
void SetCourseSeries(TQVgraph& graph, int32_t slots, bool meanFit, bool countFit) {
  SeriesRec* series = graph.Series;
  series[1].Style = LineCircle;
  series[2].Style = Line;
  series[3].Style = Line;
  series[4].Style = Line;
  series[1].Show = true;
  series[2].Show = meanFit;
  series[3].Show = true;
  series[4].Show = countFit;
  for (int k = 1; k <= 4; ++k) series[k].RightAxis = k >= 3;
  graph.DataFirst = 0;
  graph.DataEnd = slots;
  graph.SeriesCount = 5;
}

void SetCourseAxes(AnalysisContext& context, TQVgraph& graph, int32_t slots, double maxCount) {
  if (!context.Flags.AutoScaling) return;
  const float* time = context.WorkRow(kTimeRow);
  double lo, hi;
  RowExtent(context.WorkRow(kMeanRow), slots, lo, hi);
  SetDrawableAxes(graph, time[0], time[slots], lo * 1.2, hi * 1.2, 0, maxCount * 1.2);
}


}  // namespace

PanelResults CalcDistanceTimeCourse(AnalysisContext& context, TQVgraph& graph) {
  Course course(context);
  if (!course.Ready("Can not allocate memory for MSD data")) return {};
  ForEachSelectedTrack(context.Spots, [&](const SpotRec& track) {
    const int32_t n = track.ReadablePoints();
    for (int32_t j = 0; j < n; ++j) {
      const float dx = track.X[j] - track.X[0];
      const float dy = track.Y[j] - track.Y[0];
      course.Add(track, j, dx * dx + dy * dy);
    }
  });
  const Settings& S = context.S;
  const double lag = S.LagUnit();
  const int32_t slots = course.Finish(lag);
  float* time = context.WorkRow(kTimeRow);
  float* mean = context.WorkRow(kMeanRow);
  float* line = context.WorkRow(kMeanFitRow);
  float* count = context.WorkRow(kCountRow);

  // MSD = 4 D t over the first MSDfitLimit slots, each weighted by the tracks present
  // (a slot no track covers weighs nothing). The slope goes to the shared FitSlope.
  const int32_t nFit = std::clamp(S.MSDfitLimit, 0, slots);
  float slope = 0;
  const float intercept = WeightedLinearFit(time, mean, count, line, nFit, slope);
  const bool lineShown = std::isfinite(slope) && std::isfinite(intercept) && nFit > 0;
  for (int32_t k = 0; k < slots; ++k) line[k] = lineShown ? slope * time[k] + intercept : 0.0f;

  const double maxCount = ScaleCounts(context, graph, slots);
  const double tau = DecayFitRow(context, count, slots, context.WorkRow(kCountFitRow), slots);

  CopyRowsToPanel(context, graph, 5);
  SetCourseSeries(graph, slots, lineShown, tau > 0);
  std::string note = "AverDlat=" + TruncatedText(MeanDlat(context), 1000.001, 0.001) +
                     context.DlatUnit + ",Fitted Dlat=" + TruncatedText(slope, 250.001, 0.001) +
                     context.DlatUnit + ", Tau=" + TruncatedText(tau, 1000, 0.001) + context.TimeUnit;
  if (tau > 0) note += ", offRate=" + TruncatedText(1 / tau, 1000, 0.001) + "/" + context.TimeUnit;
  graph.Notes[0] = note;
  graph.XTitle = "Time (" + context.TimeUnit + ")";
  graph.Y0Title = "Mean Sq. Distance (µm2)";
  SetCourseAxes(context, graph, slots, maxCount);
  PanelResults results;
  results.FitSlope = slope;
  results.Add("fitted D (" + context.DlatUnit + ")", slope / 4.0)
      .Add("Tau (" + context.TimeUnit + ")", tau);
  return results;
}

PanelResults CalcVelocityTimeCourse(AnalysisContext& context, TQVgraph& graph) {
  Course course(context);
  if (!course.Ready("Can not allocate memory for velocity data")) return {};
  const Settings& S = context.S;
  const PairRules& rules = context.Flags.Rules;
  const int32_t s = S.VelocityStep;
  const float T = static_cast<float>(S.FramesTime(s));
  const int32_t advance = rules.IndependentPairs ? s : 1;
  double total = 0;
  int64_t values = 0;
  // The steps of the instant-velocity distribution, each placed at the frame it starts from.
  if (s >= 1) {
    ForEachSelectedTrack(context.Spots, [&](const SpotRec& track) {
      const int32_t n = track.ReadablePoints();
      for (int32_t i = 0; i < n - s - 1; i += advance) {
        const float dx = track.X[i + s] - track.X[i];
        const float dy = track.Y[i + s] - track.Y[i];
        double v = std::sqrt(static_cast<double>(dx * dx + dy * dy)) / T;
        if (rules.AbsoluteXspeed && dx < 0) v = -v;
        course.Add(track, i, v);
        total += v;
        ++values;
      }
    });
  }
  const int32_t slots = course.Finish(S.LagUnit());
  const double maxCount = ScaleCounts(context, graph, slots);

  CopyRowsToPanel(context, graph, 5);
  SetCourseSeries(graph, slots, false, false);
  const double mean = values > 0 ? total / static_cast<double>(values) : 0.0;
  graph.Notes[0] = "AverVel=" + TruncatedText(mean, 1000.001, 0.001) + "µm/" + context.TimeUnit +
                   ", VelStep=" + std::to_string(s);
  graph.XTitle = "Time (" + context.TimeUnit + ")";
  graph.Y0Title = "Velocity (µm/" + context.TimeUnit + ")";
  SetCourseAxes(context, graph, slots, maxCount);
  PanelResults results;
  results.Add("mean instant velocity (µm/" + context.TimeUnit + ")", mean);
  return results;
}

PanelResults CalcIntensityTimeCourse(AnalysisContext& context, TQVgraph& graph) {
  Course course(context);
  if (!course.Ready("Can not allocate memory for intensity data")) return {};
  double total = 0;
  int64_t values = 0;
  ForEachSelectedTrack(context.Spots, [&](const SpotRec& track) {
    const int32_t n = track.ReadablePoints();
    for (int32_t j = 0; j < n; ++j) {
      course.Add(track, j, track.Int[j]);
      total += track.Int[j];
      ++values;
    }
  });
  // The axis is in seconds whatever the time unit, as its title says.
  const int32_t slots = course.Finish(context.S.dT);
  const float* mean = context.WorkRow(kMeanRow);
  // Bleaching is fitted over the first unbroken run of slots.
  int32_t run = 0;
  while (run < slots && mean[run] > kMissingValue) ++run;
  const double tau = DecayFitRow(context, mean, run, context.WorkRow(kMeanFitRow), slots);
  const double maxCount = ScaleCounts(context, graph, slots);

  CopyRowsToPanel(context, graph, 5);
  SetCourseSeries(graph, slots, tau > 0, false);
  const double meanInt = values > 0 ? total / static_cast<double>(values) : 0.0;
  graph.Notes[0] = "AverDlat=" + TruncatedText(MeanDlat(context), 1000.001, 0.001) + context.DlatUnit +
                   ", AverInt=" + TruncatedText(meanInt, 10, 0.1) +
                   ", BleachTau=" + TruncatedText(tau, 1000, 0.001) + "s";
  graph.XTitle = "Time (s)";
  graph.Y0Title = "Average Intensity (c/p)";
  SetCourseAxes(context, graph, slots, maxCount);
  PanelResults results;
  results.Add("mean intensity (counts)", meanInt).Add("bleach Tau (s)", tau);
  return results;
}
