#include "stats/NeighbourPanel.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "plot/TQVgraph.h"
#include "stats/Histogram.h"
#include "store/Numbers.h"

void TrackCentres(const TrackStore& spots, float* cx, float* cy) {
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  for (int32_t i = 0; i < nSpots; ++i) {
    const SpotRec& track = spots[i];
    const int32_t frames = std::max(0, std::min({track.NPoints, track.X.size(), track.Y.size()}));
    float sumX = 0, sumY = 0;
    for (int32_t k = 0; k < frames; ++k) {
      sumX += track.X[k];
      sumY += track.Y[k];
    }
    const float meanX = sumX / track.NPoints;  // 0/0 for a track without points
    const float meanY = sumY / track.NPoints;
    cx[i] = static_cast<float>(meanX + track.PosX * 0.1);
    cy[i] = static_cast<float>(meanY + track.PosY * 0.1);
  }
}

int32_t NearestNeighbourDistancesQuadratic(const TrackStore& spots, const float* cx,
                                           const float* cy, float* squared) {
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  int32_t count = 0;
  for (int32_t i = 0; i < nSpots; ++i) {
    if (!spots[i].Selected) continue;
    float best = kNoNeighbour;
    for (int32_t j = 0; j < nSpots; ++j) {
      if (j == i || !spots[j].Selected) continue;
      const float dx = cx[i] - cx[j];
      const float dy = cy[i] - cy[j];
      const float d2 = dx * dx + dy * dy;
      if (d2 < best) best = d2;  // NaN never replaces the running minimum
    }
    squared[count++] = best;
  }
  return count;
}

void CalcNeighbDistDist(AnalysisContext& context, TQVgraph& graph) {
  std::unique_ptr<float[]> cx(new (std::nothrow) float[kStoreCapacity]);
  std::unique_ptr<float[]> cy(new (std::nothrow) float[kStoreCapacity]);
  std::unique_ptr<float[]> distances(new (std::nothrow) float[kStoreCapacity]);
  if (!cx || !cy || !distances) return;

  for (int r = 0; r < 5; ++r) std::fill(context.WorkRow(r), context.WorkRow(r) + kRowLength, 0.0f);
  TrackCentres(context.Spots, cx.get(), cy.get());
  const int32_t count =
      NearestNeighbourDistancesQuadratic(context.Spots, cx.get(), cy.get(), distances.get());
  for (int32_t v = 0; v < count; ++v) {
    if (distances[v] >= kNoNeighbour) {
      context.Message(" Error in Distance Calcs");
      break;
    }
  }
  for (int32_t v = 0; v < count; ++v) distances[v] = std::sqrt(distances[v]);

  // The Dlat bin serves as the distance bin.
  const double binWidth = context.S.DlatBin;
  float* x = context.WorkRow(0);
  float* y = context.WorkRow(1);
  float* bins = context.WorkRow(5);
  const double mean = BuildHistogram(distances.get(), bins, static_cast<float>(binWidth), 0,
                                     kHistogramBins, count, context.Flags.ShowFreq);
  for (int32_t i = 0; i < kRowLength; ++i) x[i] = static_cast<float>(i * binWidth);
  const float maxBin = MaxBin(bins, kHistogramBins - 1);
  const bool bars = graph.Series[1].Style == Bar;
  if (bars) std::copy(bins, bins + kRowLength, y);
  else graph.Series[1].Style = Line;
  const int32_t points = HistogramPoints(bins, x, y, binWidth, 0, bars);

  // The staircase alone; rows 2 to 4 are empty.
  graph.Series[1].Show = true;
  graph.Series[1].RightAxis = false;
  for (int s = 2; s <= 4; ++s) graph.Series[s].Show = false;
  CopyRowsToPanel(context, graph, 5);
  // A panel that showed the MSD starts at point 1; the staircase starts at 0.
  graph.DataFirst = 0;
  graph.DataEnd = points;
  if (context.Flags.AutoScaling) {
    // With no point there is no last X: the axis then starts from the origin.
    const float lastX = x[std::max(points - 1, 0)];
    SetAxes(graph, 0, lastX + binWidth, 0, maxBin * 1.2, 0, 1, 5);
  }
  graph.Y0Title = context.Flags.ShowFreq ? "Frequency (%)" : "Number of objects";
  graph.XTitle = "Distance (µm)";
  graph.Notes[0] = "Aver. Ddistance=" + FormatReal(TruncateTo(mean, 1000, 0.001)) + context.DlatUnit;
}
