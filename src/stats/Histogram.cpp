#include "stats/Histogram.h"

#include <algorithm>

#include "plot/TQVgraph.h"
#include "plot/Ticks.h"

double BuildHistogram(const float* values, float* bins, float binWidth, float origin,
                      int32_t nBins, int32_t nValues, bool asPercent) {
  for (int32_t i = 0; i < nBins; ++i) bins[i] = 0;
  double sum = 0;
  for (int32_t v = 0; v < nValues; ++v) {
    const float index = (values[v] - origin) / binWidth;
    // Ordered comparisons drop NaN and values whose index would not fit an int.
    if (!(index > -1.0f && index < static_cast<float>(nBins))) continue;
    const int32_t bin = static_cast<int32_t>(index);
    if (bin >= nBins) continue;
    sum += values[v];
    bins[bin] += 1;
  }
  if (asPercent)
    for (int32_t i = 0; i < nBins; ++i) bins[i] = bins[i] * 100 / nValues;
  return sum / nValues;
}

void SetAxes(TQVgraph& graph, float xFirst, float xLast, float y0First, float y0Last,
             float y1First, float y1Last, int32_t nTicks) {
  graph.FirstXval = xFirst;
  graph.LastXval = xLast;
  graph.FirstY0val = y0First;
  graph.LastY0val = y0Last;
  graph.FirstY1val = y1First;
  graph.LastY1val = y1Last;
  graph.TickXdist = NiceTickDistance(graph.LastXval - graph.FirstXval, nTicks);
  graph.TickY0dist = NiceTickDistance(graph.LastY0val - graph.FirstY0val, nTicks);
  graph.TickY1dist = NiceTickDistance(graph.LastY1val - graph.FirstY1val, nTicks);
}

int32_t LastFilledBin(const float* bins, int32_t end) {
  for (int32_t i = std::min(end, kHistogramBins) - 1; i > 0; --i)
    if (bins[i] > 0) return i;
  return 0;
}

float MaxBin(const float* bins, int32_t last) {
  float best = 0;
  for (int32_t i = 0; i <= last && i < kHistogramBins; ++i)
    if (bins[i] > best) best = bins[i];
  return best;
}

int32_t HistogramPoints(const float* bins, float* xRow, float* yRow, double binWidth, double origin,
                        bool bars) {
  int32_t last = LastFilledBin(bins);
  if (bars) {
    for (int32_t i = 0; i < last; ++i) {
      xRow[i] = static_cast<float>(i * binWidth + origin);
      yRow[i] = bins[i];
    }
    return last;
  }
  if (last > kMaxStaircaseBins) last = kMaxStaircaseBins;
  xRow[0] = static_cast<float>(origin);
  // From the top down, so that the steps may overwrite the bins they come from:
  // bin i is read before points 2i and 2i + 1 (never below i) are written.
  for (int32_t i = last - 1; i >= 0; --i) {
    const float count = bins[i];
    const float x = static_cast<float>((i + 1) * binWidth + origin);
    xRow[2 * i + 1] = x;
    // The closing X of the last bin would fall one past a full row.
    if (2 * i + 2 < kHistogramBins) xRow[2 * i + 2] = x;
    yRow[2 * i] = yRow[2 * i + 1] = count;
  }
  return 2 * last;
}
