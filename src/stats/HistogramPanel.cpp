#include "stats/HistogramPanel.h"

#include <algorithm>
#include <cmath>

#include "plot/TQVgraph.h"

double SignedOrigin(float vmin, double bin) {
  double q = std::trunc(vmin / bin);
  // An infinite value or a zero bin has no origin below it: start at 0.
  if (!std::isfinite(q)) q = 0;
  if (q < 0) q = q - 1;
  return q * bin;
}

BinnedValues BinIntoRows(AnalysisContext& context, const float* values, int32_t n, double bin,
                         double origin, const BinOptions& options) {
  float* x = context.WorkRow(0);
  float* bins = context.WorkRow(options.binsRow);
  const bool percent = context.Flags.ShowFreq && !(options.emptyAsCounts && n == 0);
  BinnedValues binned;
  binned.mean = BuildHistogram(values, bins, static_cast<float>(bin), static_cast<float>(origin),
                               kHistogramBins, n, percent);
  double squares = 0;
  for (int32_t i = 0; i < n; ++i) squares += (values[i] - binned.mean) * (values[i] - binned.mean);
  binned.sd = std::sqrt(squares / n);
  binned.last = LastFilledBin(bins, options.binsEnd);
  binned.maxBin = MaxBin(bins, binned.last);
  const int32_t xSlots = options.xThroughLast ? binned.last + 1 : kRowLength;
  for (int32_t i = 0; i < xSlots; ++i) x[i] = static_cast<float>(i * bin + origin);
  return binned;
}

int32_t StaircaseRows(AnalysisContext& context, TQVgraph& graph, int binsRow, int pointsRow,
                      double bin, double origin) {
  const float* bins = context.WorkRow(binsRow);
  float* points = context.WorkRow(pointsRow);
  SeriesRec& series = graph.Series[1];
  const bool bars = series.Style == Bar;
  if (!bars) series.Style = Line;
  else if (points != bins) std::copy(bins, bins + kRowLength, points);
  return HistogramPoints(bins, context.WorkRow(0), points, bin, origin, bars);
}

void SetHistogramAxes(const AnalysisContext& context, TQVgraph& graph, float xFirst, float xLast,
                      float maxBin) {
  if (context.Flags.AutoScaling)
    SetAxes(graph, xFirst, xLast, 0, static_cast<float>(maxBin * 1.2), 0, 1, 5);
}

const char* CountTitle(const AnalysisContext& context, const char* countTitle) {
  return context.Flags.ShowFreq ? "Frequency (%)" : countTitle;
}
