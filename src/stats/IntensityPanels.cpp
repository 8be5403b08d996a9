#include "stats/IntensityPanels.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <string>

#include "plot/TQVgraph.h"
#include "stats/HistogramPanel.h"
#include "stats/VelocityPanels.h"  // GaussValue
#include "store/Numbers.h"

namespace {

struct MeanAndSD {
  double mean, sd;
};

// The histogram step both distributions share: bins in row 1, X in row 0, titles,
// styles, point count and axes; returns the values' mean and SD. Row 2 is cleared for
// the fit.
MeanAndSD IntensityHistogram(AnalysisContext& context, TQVgraph& graph, const float* values,
                             int32_t count, const char* countTitle) {
  float* fit = context.WorkRow(2);
  const BinnedValues binned = BinIntoRows(context, values, count, context.S.IntStep, 0);
  const double mean = binned.mean;
  const double sd = binned.sd;

  std::fill(fit, fit + kRowLength, 0.0f);

  graph.XTitle = "Intensity (A.U.)";
  graph.Y0Title = CountTitle(context, countTitle);
  graph.Series[1].Style = Bar;
  // Bars and the fitted curve on the left axis; row 3 of the panel is not written here.
  graph.Series[1].Show = graph.Series[2].Show = true;
  graph.Series[1].RightAxis = graph.Series[2].RightAxis = false;
  graph.Series[2].Style = Line;
  graph.Series[3].Show = false;
  graph.SeriesCount = 3;
  // A panel that showed the MSD starts at point 1; bin 0 belongs to this one.
  graph.DataFirst = 0;
  graph.DataEnd = binned.last + 1;
  SetHistogramAxes(context, graph, 0, context.WorkRow(0)[binned.last], binned.maxBin);
  return {mean, sd};
}

}  // namespace

double IntensGaussFit(AnalysisContext& context, const TQVgraph& graph, double sd) {
  const float* x = context.WorkRow(0);
  const float* bins = context.WorkRow(1);
  float* fit = context.WorkRow(2);
  const double step = context.S.IntStep;
  // The selected-track count even when the bins count single measurements.
  const double area = (context.Flags.ShowFreq ? 100 : context.Spots.NSelected) * step;

  const int32_t end = std::clamp(graph.DataEnd, 0, kRowLength);
  int32_t mode = 0;
  for (int32_t i = 1; i < end; ++i)
    if (bins[i] > bins[mode]) mode = i;
  const double m = x[mode];

  // The error sums run over DataEnd itself as well; a full row has no point there.
  const int32_t lastTerm = std::min(end, kRowLength - 1);
  const double cStep = 0.5 * step;
  double bestScore = 0;
  double best = 0;
  for (double c = m - 0.5 * m; c < 1.5 * m;) {
    double error = 0;
    for (int32_t i = 0; i <= lastTerm; ++i) {
      const float model = static_cast<float>(area * GaussValue(x[i] - c, sd));
      const double d = bins[i] - static_cast<double>(model);
      error += d * d;
    }
    if (error > 0 && 1000 / error > bestScore) {
      bestScore = 1000 / error;
      best = c;
    }
    // A step too small to move c would never end the scan.
    const double next = c + cStep;
    if (!(next > c)) break;
    c = next;
  }

  for (int32_t i = 0; i < end; ++i)
    fit[i] = static_cast<float>(area * GaussValue(x[i] - best, sd));
  return best;
}

PanelResults CalcIntensDist(AnalysisContext& context, TQVgraph& graph) {
  const auto values =
      RunScratch<float>(context, kStoreCapacity, "Memory Allocation ERROR in CalcIntensDist");
  if (!values) return {};
  const TrackStore& spots = context.Spots;
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  int32_t count = 0;
  for (int32_t i = 0; i < nSpots; ++i)
    if (spots[i].Selected) values[count++] = spots[i].AverInt;

  const MeanAndSD spread = IntensityHistogram(context, graph, values.get(), count, "Number of objects");
  // Written before the fit, so it shows the centre the previous fit left.
  graph.Notes[0] = "Aver. Intens=" + TenthsText(spread.mean) + "cnts,SD=" + TenthsText(spread.sd) +
                   ", (" + std::to_string(spots.NSelected) + " objects) " + " (GaussMax=" +
                   TenthsText(context.Registers.GaussMax) + ")";
  PanelResults results;
  results.AverIntens = spread.mean;
  results.IntensSD = spread.sd;
  results.GaussMax = IntensGaussFit(context, graph, spread.sd);
  CopyRowsToPanel(context, graph, 3);
  results.Add("mean intensity (counts)", spread.mean)
      .Add("SD intensity (counts)", spread.sd)
      .Add("Gauss centre (counts)", *results.GaussMax);
  return results;
}

PanelResults CalcInstIntensDist(AnalysisContext& context, TQVgraph& graph) {
  const auto values =
      RunScratch<float>(context, kMaxIntensityValues, "Mem Alloc ERROR in Instant Intens Dist");
  if (!values) return {};
  const TrackStore& spots = context.Spots;
  const bool window = context.Flags.UseTimeWindow;
  const int64_t firstFrame = context.S.StartFrame;
  const int64_t lastFrame = firstFrame + context.S.MinNumDataPoints;
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  int32_t count = 0;
  for (int32_t i = 0; i < nSpots && count < kMaxIntensityValues; ++i) {
    const SpotRec& track = spots[i];
    if (!track.Selected) continue;
    const int32_t frames = track.ReadablePoints();
    for (int32_t j = 0; j < frames && count < kMaxIntensityValues; ++j) {
      const int64_t frame = static_cast<int64_t>(track.FirstFrame) + j;
      if (window && (frame < firstFrame || frame > lastFrame)) continue;
      values[count++] = track.Int[j];
    }
  }

  const MeanAndSD spread =
      IntensityHistogram(context, graph, values.get(), count, "Number of measurements");
  graph.Notes[0] = "Aver. Intens=" + TenthsText(spread.mean) + "cnts,SD=" + TenthsText(spread.sd) +
                   ", (" + std::to_string(spots.NSelected) + " objects, " +
                   std::to_string(count) + " dataPoints) ";
  PanelResults results;
  results.AverIntens = spread.mean;
  results.IntensSD = spread.sd;
  results.GaussMax = IntensGaussFit(context, graph, spread.sd);
  graph.Notes[1] = " (GaussMax=" + TenthsText(*results.GaussMax) + ")";
  CopyRowsToPanel(context, graph, 3);
  results.Add("mean point intensity (counts)", spread.mean)
      .Add("SD point intensity (counts)", spread.sd)
      .Add("Gauss centre (counts)", *results.GaussMax);
  return results;
}
