#include "stats/StepDistributionPanel.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <optional>

#include "plot/TQVgraph.h"
#include "stats/Histogram.h"
#include "stats/MultiGaussFit.h"
#include "stats/PanelSupport.h"
#include "store/Numbers.h"

namespace {

// The raw bins stay in this work row after a run, for the fit.
constexpr int kRawBinsRow = 3;

}  // namespace

int64_t AddTrackStepPairs(const float* x, const float* y, int32_t n, float binWidth,
                          double* counts, double& sum, int64_t pairBudget) {
  int64_t pairs = 0;
  for (int32_t i = 0; i < n && pairs < pairBudget; ++i) {
    const int32_t end = std::min(n - 1, i + kStepWindow);
    for (int32_t j = i + 1; j <= end; ++j) {
      const float dx = x[j] - x[i];
      const float dy = y[j] - y[i];
      const float nm = static_cast<float>(std::sqrt(static_cast<double>(dx * dx + dy * dy)) * 1000.0);
      ++pairs;
      const float index = nm / binWidth;
      if (!(index > -1.0f && index < static_cast<float>(kHistogramBins))) continue;
      counts[static_cast<int32_t>(index)] += 1;
      sum += nm;
    }
  }
  return pairs;
}

namespace {

// Fills the panel; nothing (panel unchanged) when the count scratch could not be had.
std::optional<PanelResults> BuildStepPanel(AnalysisContext& context, TQVgraph& graph) {
  // Counts are kept in doubles: a float bin stops counting at 2^24 pairs.
  const auto counts = RunScratch<double>(context, kHistogramBins,
                                         "Can not allocate memory for distance data", true);
  if (!counts) return std::nullopt;
  const double binWidth = context.S.DistanceBin;
  const float width = static_cast<float>(binWidth);
  const TrackStore& spots = context.Spots;

  // The binning rule of every distribution: index truncated, values past the last
  // bin dropped but still dividing the mean.
  int64_t pairs = 0;
  double sum = 0;
  ForEachSelectedTrack(spots, [&](const SpotRec& track) {
    if (pairs >= kMaxStepPairs) return;  // the pair budget is spent
    pairs += AddTrackStepPairs(track.X.data(), track.Y.data(), track.ReadablePoints(), width,
                               counts.get(), sum, kMaxStepPairs - pairs);
  });
  const double mean = sum / static_cast<double>(pairs);

  for (int r = 0; r <= kRawBinsRow; ++r) std::fill_n(context.WorkRow(r), kRowLength, 0.0f);
  float* x = context.WorkRow(0);
  float* points = context.WorkRow(1);
  float* bins = context.WorkRow(kRawBinsRow);
  const bool showFreq = context.Flags.ShowFreq;
  for (int32_t i = 0; i < kHistogramBins; ++i)
    bins[i] = static_cast<float>(showFreq ? counts[i] * 100 / static_cast<double>(pairs) : counts[i]);
  for (int32_t i = 0; i < kRowLength; ++i) x[i] = static_cast<float>(i * binWidth);
  const float maxBin = MaxBin(bins, LastFilledBin(bins));
  SeriesRec* series = graph.Series;
  const bool bars = series[1].Style == Bar;
  const int32_t n = HistogramPoints(bins, x, points, binWidth, 0, bars);
  if (!bars) series[1].Style = Line;

  ShowOneSeries(context, graph, 3, n);  // row 2 (the fit) starts empty
  graph.SeriesCount = 5;
  for (int k = 2; k <= 4; ++k) series[k].Show = false;
  series[2].RightAxis = false;
  series[2].Style = Line;

  graph.XTitle = "Pair Distance (nm)";
  graph.Y0Title = showFreq ? "Frequency (%)" : "Number of pairs";
  graph.Notes[0] = "AverDist=" + TruncatedText(mean, 10, 0.1) + "nm, " +
                   std::to_string(pairs) + " pairs, Window=" + std::to_string(kStepWindow) +
                   " frames";
  if (context.Flags.AutoScaling)
    SetDrawableAxes(graph, 0, (n > 0 ? x[n - 1] : 0) + binWidth, 0,
                    maxBin > 0 ? maxBin * 1.2 : 1, 0, 1);
  PanelResults results;
  results.Add("mean pair distance (nm)", mean).Add("pairs", static_cast<double>(pairs));
  return results;
}

}  // namespace

PanelResults CalcStepDistr(AnalysisContext& context, TQVgraph& graph) {
  return BuildStepPanel(context, graph).value_or(PanelResults{});
}

bool StepGaussFit(AnalysisContext& context, TQVgraph& graph, MultiGaussResult* out) {
  if (!BuildStepPanel(context, graph)) return false;
  const float* bins = context.WorkRow(kRawBinsRow);
  const double binWidth = context.S.DistanceBin;
  MultiGaussResult fit;
  if (!FitMultiGauss(bins, LastFilledBin(bins) + 1, binWidth, fit)) {
    context.Message("Too few data for M-GaussFit");
    return false;
  }
  if (out) *out = fit;
  if (graph.Data) {
    const bool bars = graph.Series[1].Style == Bar;
    float* row = graph.Row(2);
    const int32_t end = std::min(graph.DataEnd, graph.Stride);
    for (int32_t j = std::max(graph.DataFirst, 0); j < end; ++j)
      row[j] = static_cast<float>(MultiGaussBinValue(fit, bars ? j : j / 2, binWidth));
    graph.Series[2].Show = true;
  }
  graph.Notes[0] += ", Step=" + TruncatedText(fit.Step, 100, 0.01) +
                    "nm, SD=" + TruncatedText(fit.Width, 100, 0.01) + "nm";
  return true;
}
