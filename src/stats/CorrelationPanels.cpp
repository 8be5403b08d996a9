#include "stats/CorrelationPanels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "plot/TQVgraph.h"
#include "stats/Histogram.h"
#include "stats/PanelSupport.h"
#include "store/Numbers.h"

namespace {

// Points a row can draw (the graph reads one X value past the last point).
constexpr int32_t kMaxDrawnPoints = kRowLength - 1;

struct PointPair {
  float x, y;
};

// Pearson's coefficient; NaN when either spread is 0 or there are no pairs.
double Correlation(const PointPair* points, int32_t n) {
  if (n <= 0) return std::numeric_limits<double>::quiet_NaN();
  double mx = 0, my = 0;
  for (int32_t i = 0; i < n; ++i) {
    mx += points[i].x;
    my += points[i].y;
  }
  mx /= n;
  my /= n;
  double sxy = 0, sxx = 0, syy = 0;
  for (int32_t i = 0; i < n; ++i) {
    const double dx = points[i].x - mx, dy = points[i].y - my;
    sxy += dx * dy;
    sxx += dx * dx;
    syy += dy * dy;
  }
  if (!(sxx > 0) || !(syy > 0)) return std::numeric_limits<double>::quiet_NaN();
  return sxy / std::sqrt(sxx * syy);
}

// An axis over all values that keeps 0 in view and leaves a tenth of room at the ends.
void ScatterRange(float lo, float hi, double& first, double& last) {
  first = std::min(0.0, static_cast<double>(lo));
  last = std::max(0.0, static_cast<double>(hi));
  const double room = (last - first) * 0.1;
  if (first < 0) first -= room;
  last += room;
  DrawableRange(first, last);
}

PanelResults ScatterPanel(AnalysisContext& context, TQVgraph& graph, float SpotRec::*field,
                          const std::string& xTitle) {
  const auto points =
      RunScratch<PointPair>(context, kStoreCapacity, "Can not allocate memory for track pairs");
  if (!points) return {};
  const TrackStore& spots = context.Spots;
  int32_t n = 0;
  for (int32_t t = 0; t < StoredTrackCount(spots); ++t) {
    const SpotRec& track = spots[t];
    const float x = track.*field, y = track.AverInt;
    // A track without a value (a Dlat of a track too short) has no place on the chart.
    if (!track.Selected || !std::isfinite(x) || !std::isfinite(y)) continue;
    points[n++] = {x, y};
  }
  // Sorted by X, as the graph clips its points from both ends of the X row.
  std::sort(points.get(), points.get() + n,
            [](const PointPair& a, const PointPair& b) { return a.x < b.x; });

  for (int r = 0; r < 2; ++r) std::fill_n(context.WorkRow(r), kRowLength, 0.0f);
  float* xs = context.WorkRow(0);
  float* ys = context.WorkRow(1);
  // Beyond one row of points an even sample of the sorted tracks is drawn.
  const int32_t drawn = std::min(n, kMaxDrawnPoints);
  float xLo = 0, xHi = 0, yLo = 0, yHi = 0;
  for (int32_t i = 0; i < drawn; ++i) {
    const int64_t source = n > kMaxDrawnPoints ? static_cast<int64_t>(i) * n / kMaxDrawnPoints : i;
    xs[i] = points[source].x;
    ys[i] = points[source].y;
  }
  for (int32_t i = 0; i < n; ++i) {
    xLo = std::min(xLo, points[i].x);
    xHi = std::max(xHi, points[i].x);
    yLo = std::min(yLo, points[i].y);
    yHi = std::max(yHi, points[i].y);
  }
  if (drawn > 0) xs[drawn] = xs[drawn - 1];

  // The coefficient is taken over every track, drawn or not.
  const double r = Correlation(points.get(), n);

  ShowOneSeries(context, graph, 2, drawn);
  graph.Series[1].Style = Circle;
  graph.XTitle = xTitle;
  graph.Y0Title = "Intensity (A.U.)";
  graph.Notes[0] = "CorrCoef=" + TruncatedText(r, 1000.001, 0.001) + ", (" +
                   std::to_string(n) + " objects)";
  if (context.Flags.AutoScaling) {
    double xFirst, xLast, yFirst, yLast;
    ScatterRange(xLo, xHi, xFirst, xLast);
    ScatterRange(yLo, yHi, yFirst, yLast);
    SetAxes(graph, static_cast<float>(xFirst), static_cast<float>(xLast), static_cast<float>(yFirst),
            static_cast<float>(yLast), 0, 1, 5);
  }
  PanelResults results;
  results.Add("correlation", r).Add("tracks", n);
  return results;
}

}  // namespace

PanelResults CalcIntMobDistr(AnalysisContext& context, TQVgraph& graph) {
  return ScatterPanel(context, graph, &SpotRec::Dlat, "Dlat (" + context.DlatUnit + ")");
}

PanelResults CalcIntVelDistr(AnalysisContext& context, TQVgraph& graph) {
  return ScatterPanel(context, graph, &SpotRec::AverVel, "Velocity (µm/" + context.TimeUnit + ")");
}
