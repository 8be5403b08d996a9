#include "stats/DistancePanels.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "plot/TQVgraph.h"
#include "stats/DecayFit.h"
#include "stats/HistogramPanel.h"
#include "store/Numbers.h"

namespace {

constexpr int32_t kTrackScratch = 100020;
constexpr int32_t kTrackScratchZeroed = 100000;

}  // namespace

PanelResults CalcMaxDistDist(AnalysisContext& context, TQVgraph& graph) {
  const auto values = RunScratch<float>(context, kTrackScratch, "Can not allocate memory");
  if (!values) return {};
  std::fill(values.get(), values.get() + kTrackScratchZeroed, 0.0f);

  const TrackStore& spots = context.Spots;
  int32_t n = 0;
  for (int32_t t = 0; t < spots.NSpots && n < kTrackScratch; ++t) {
    const SpotRec& track = spots[t];
    if (!track.Selected) continue;
    float dmax = 0;
    for (int32_t j = 1; j < track.NPoints; ++j) {
      const float dx = track.X[j] - track.X[0];
      const float dy = track.Y[j] - track.Y[0];
      const float d = std::sqrt(dx * dx + dy * dy);
      if (d > dmax) dmax = d;
    }
    values[n++] = dmax;
  }

  const float* x = context.WorkRow(0);
  const float* bins = context.WorkRow(1);
  float* fit = context.WorkRow(3);
  // Rows 2 to 4 carry nothing of this analysis but are copied with it.
  for (int r = 2; r <= 4; ++r)
    std::fill(context.WorkRow(r), context.WorkRow(r) + kRowLength, 0.0f);
  const BinnedValues binned = BinIntoRows(context, values.get(), n, context.S.VelocityBin, 0);
  const int32_t last = binned.last;

  const double tau = ExpDecayFit(x, bins, last, fit);

  CopyRowsToPanel(context, graph, 5);
  graph.DataEnd = last;
  graph.DataFirst = 0;
  graph.Series[1].Style = Bar;
  graph.Series[2].Style = Line;
  graph.Series[3].Style = Line;
  graph.Series[4].RightAxis = true;
  // The histogram and, when there is one, the fitted decay; row 2 stays empty.
  graph.Series[1].Show = true;
  graph.Series[2].Show = false;
  graph.Series[3].Show = tau > 0;
  graph.Series[4].Show = false;
  graph.Series[1].RightAxis = graph.Series[3].RightAxis = false;
  graph.SeriesCount = 3;

  std::string note = "AverDist=" + TruncatedText(binned.mean, 1000.00001, 0.001) + "µm, " +
                     "Tau=" + TruncatedText(tau, 1000, 0.001) + "µm";
  if (tau > 0) note += ", offRate=" + TruncatedText(1 / tau, 1000, 0.001) + "/µm";
  graph.Notes[0] = note;
  graph.Notes[1].clear();

  graph.Y0Title = CountTitle(context, "Number of Objects");
  graph.XTitle = "Absolute Distance (µm)";
  SetHistogramAxes(context, graph, 0, x[last], binned.maxBin);
  PanelResults results;
  results.Add("mean reach (µm)", binned.mean).Add("reach decay length (µm)", tau);
  return results;
}
