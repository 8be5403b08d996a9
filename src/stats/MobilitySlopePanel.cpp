#include "stats/MobilitySlopePanel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "plot/TQVgraph.h"
#include "stats/Fits.h"
#include "stats/HistogramPanel.h"
#include "stats/PanelSupport.h"
#include "store/Numbers.h"

double TrackMobilitySlope(const float* x, const float* y, int32_t n, int32_t fitLimit,
                          bool independentPairs, MsdScratch& scratch) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  n = std::min(n, kMaxPoints);
  const int32_t lags = std::min(fitLimit - 2, n / 2 - 2);
  if (lags < 3) return kNone;
  // The lag unit drops out of the slope of a log-log line, so lags count in frames.
  CalcTrackMSD(x, y, n, 1.0f, scratch.Dk, scratch.MSD, independentPairs);
  float* logLag = scratch.Dk + 1;
  float* logMSD = scratch.MSD + 1;
  for (int32_t k = 1; k <= lags; ++k) {
    const float msd = scratch.MSD[k];
    if (!(msd > 0) || !std::isfinite(msd)) return kNone;
    logLag[k - 1] = static_cast<float>(std::log(static_cast<double>(k)));
    logMSD[k - 1] = static_cast<float>(std::log(static_cast<double>(msd)));
  }
  float slope = 0;
  LinearFit(logLag, logMSD, lags, slope);
  return slope;
}

PanelResults CalcMobilitySlopeDist(AnalysisContext& context, TQVgraph& graph) {
  std::unique_ptr<float[]> values(new (std::nothrow) float[kStoreCapacity]);
  std::unique_ptr<MsdScratch> scratch(new (std::nothrow) MsdScratch);
  if (!values || !scratch) {
    context.Message("Memory Allocation ERROR in MobilitySlopeDist");
    return {};
  }
  const TrackStore& spots = context.Spots;
  const Settings& S = context.S;
  int32_t n = 0;
  float vmin = 0;
  for (int32_t t = 0; t < StoredTrackCount(spots); ++t) {
    const SpotRec& track = spots[t];
    if (!track.Selected) continue;
    const double alpha = TrackMobilitySlope(track.X.data(), track.Y.data(), track.ReadablePoints(),
                                            S.MSDfitLimit, context.Flags.Rules.IndependentPairs,
                                            *scratch);
    if (!std::isfinite(alpha)) continue;
    values[n] = static_cast<float>(alpha);
    vmin = std::min(vmin, values[n]);
    ++n;
  }

  // Confined tracks with noise may give slopes below 0: the bins then start at a
  // multiple of the bin width below the smallest slope.
  const double origin = SignedOrigin(vmin, kSlopeBin);
  BinOptions options;
  options.emptyAsCounts = true;
  const BinnedValues binned = BinIntoRows(context, values.get(), n, kSlopeBin, origin, options);
  const double mean = binned.mean;
  const double sd = binned.sd;

  const float maxBin = binned.maxBin;
  const int32_t points = StaircaseRows(context, graph, 1, 1, kSlopeBin, origin);
  const float* x = context.WorkRow(0);

  ShowOneSeries(context, graph, 2, points);
  graph.XTitle = "MSD Slope (alpha)";
  graph.Y0Title = CountTitle(context, "Number of objects");
  graph.Notes[0] = "Aver. Slope=" + TruncatedText(mean, 1000.001, 0.001) +
                   ", SD=" + TruncatedText(sd, 1000.001, 0.001) + ", (" +
                   std::to_string(n) + " objects)";
  if (context.Flags.AutoScaling)
    SetDrawableAxes(graph, origin, (points > 0 ? x[points - 1] : origin) + kSlopeBin, 0,
                    maxBin > 0 ? maxBin * 1.2 : 1, 0, 1);
  PanelResults results;
  results.Add("mean MSD slope", mean).Add("SD MSD slope", sd).Add("tracks with a slope", n);
  return results;
}
