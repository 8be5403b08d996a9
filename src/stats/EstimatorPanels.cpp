#include "stats/EstimatorPanels.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "plot/TQVgraph.h"
#include "stats/DlatPanels.h"
#include "stats/HistogramPanel.h"
#include "stats/JumpLengths.h"
#include "stats/JumpStates.h"
#include "stats/MsdCurveCache.h"
#include "stats/PanelSupport.h"
#include "stats/PooledMsd.h"
#include "stats/ThreadPool.h"
#include "store/Numbers.h"

namespace {

// Four significant figures: what the estimators' notes show.
std::string Sig4(double value) { return FormatFigures(value, 4); }

std::string IntervalText(const Interval& i, int decimals = -1) {
  auto text = [decimals](double v) { return decimals < 0 ? Sig4(v) : FormatFixed(v, decimals); };
  return "[" + text(i.low) + "-" + text(i.high) + "]";
}

// The selected tracks as the estimators take them, with their kept MSD curves when current.
std::vector<TrackXY> SelectedTracks(const AnalysisContext& context, bool withCurves) {
  const TrackStore& spots = context.Spots;
  const bool independent = context.Flags.Rules.IndependentPairs;
  std::vector<TrackXY> tracks;
  tracks.reserve(static_cast<size_t>(std::max(spots.NSelected, 0)));
  for (int32_t i = 0; i < StoredTrackCount(spots); ++i) {
    const SpotRec& t = spots[i];
    if (!t.Selected) continue;
    const int32_t n = t.ReadablePoints();
    const float* curve =
        withCurves && context.Curves ? context.Curves->Find(i, n, independent) : nullptr;
    tracks.push_back({t.X.data(), t.Y.data(), n, curve});
  }
  return tracks;
}

}  // namespace

PanelResults CalcPooledMSD(AnalysisContext& context, TQVgraph& graph) {
  const Settings& S = context.S;
  const bool independent = context.Flags.Rules.IndependentPairs;
  if (context.Curves)
    KeepSelectedCurves(context, *context.Curves, static_cast<float>(S.LagUnit()), independent);
  const std::vector<TrackXY> tracks = SelectedTracks(context, true);
  PooledMsdSettings settings;
  settings.fitLags = S.PooledFitLags;
  settings.alphaLags = S.AlphaLags;
  settings.resamples = S.BootstrapResamples;
  settings.independentPairs = independent;
  const int32_t count = static_cast<int32_t>(tracks.size());
  const PooledMsdResult r =
      context.Pool ? PooledMsd(tracks.data(), count, S.LagUnit(), settings, *context.Pool)
                   : PooledMsdReference(tracks.data(), count, S.LagUnit(), settings);
  if (!r.error.empty()) {
    context.Message(r.error);
    return {};
  }

  for (int row = 0; row <= 4; ++row) std::fill_n(context.WorkRow(row), kRowLength, 0.0f);
  float *time = context.WorkRow(0), *bar = context.WorkRow(1), *msd = context.WorkRow(2),
        *line = context.WorkRow(3), *tracksAt = context.WorkRow(4);
  const int32_t points = std::min(static_cast<int32_t>(r.lags.size()), kRowLength - 1);
  double top = 0, mostTracks = 0;
  for (int32_t k = 0; k < points; ++k) {
    const PooledLag& lag = r.lags[k];
    time[k] = static_cast<float>(lag.time);
    const bool known = std::isfinite(lag.msd);
    msd[k] = known ? static_cast<float>(lag.msd) : kMissingValue * 2;
    // Symmetric bars over the bootstrap's 95 % interval.
    const double half = (lag.interval.high - lag.interval.low) / 2;
    bar[k] = known && std::isfinite(half) ? static_cast<float>(half) : 0.0f;
    line[k] = std::isfinite(r.D) ? static_cast<float>(4 * r.D * lag.time + r.offset) : 0.0f;
    tracksAt[k] = static_cast<float>(lag.tracks);
    if (known) top = std::max(top, lag.msd + (std::isfinite(half) ? half : 0.0));
    mostTracks = std::max(mostTracks, static_cast<double>(lag.tracks));
  }
  if (points > 0) time[points] = time[points - 1];

  CopyRowsToPanel(context, graph, 5);
  graph.DataFirst = 0;
  graph.DataEnd = points;
  graph.SeriesCount = 4;
  SeriesRec* series = graph.Series;
  series[1].Style = Variation;
  series[1].BaseSeries = 2;
  series[2].Style = LineCircle;
  series[3].Style = Line;
  series[4].Style = Line;
  for (int k = 1; k <= 4; ++k) {
    series[k].Show = k != 3 || std::isfinite(r.D);
    series[k].RightAxis = k == 4;
  }
  graph.XTitle = "dT (" + context.TimeUnit + ")";
  graph.Y0Title = "Pooled MSD (µm2)";
  graph.Y1Title = "Number of objects";
  const double lastTime = points > 0 ? time[points - 1] : 1;
  if (context.Flags.AutoScaling)
    SetDrawableAxes(graph, 0, lastTime * 1.05, 0, top * 1.2, 0, mostTracks * 1.2);

  const double sigmaNm = r.sigma * 1000;
  graph.Notes[0] = "D=" + Sig4(r.D) + context.DlatUnit + " " + IntervalText(r.dInterval) +
                   ", alpha=" + FormatFixed(r.alpha, 3) + " " + IntervalText(r.alphaInterval, 3) +
                   ", sigma=" + FormatFixed(sigmaNm, 0) + "nm (" + std::to_string(r.tracksUsed) +
                   " tracks, " + std::to_string(r.lag1Pairs) + " pairs)";
  PanelResults results;
  const std::string unit = " (" + context.DlatUnit + ")";
  results.Add("pooled D" + unit, r.D)
      .Add("pooled D low" + unit, r.dInterval.low)
      .Add("pooled D high" + unit, r.dInterval.high)
      .Add("pooled alpha", r.alpha)
      .Add("pooled alpha low", r.alphaInterval.low)
      .Add("pooled alpha high", r.alphaInterval.high)
      .Add("pooled sigma (nm)", sigmaNm)
      .Add("pooled tracks", r.tracksUsed)
      .Add("pooled lag-1 pairs", static_cast<double>(r.lag1Pairs));
  return results;
}

PanelResults CalcDcveDist(AnalysisContext& context, TQVgraph& graph) {
  const TrackStore& spots = context.Spots;
  std::vector<float> values;
  float vmin = 0;
  int32_t selected = 0;
  ForEachSelectedTrack(spots, [&](const SpotRec& t) {
    ++selected;
    if (!std::isfinite(t.Dcve)) return;
    values.push_back(t.Dcve);
    vmin = std::min(vmin, t.Dcve);
  });
  const int32_t n = static_cast<int32_t>(values.size());
  const double bin = context.S.DlatBin;
  // A short noisy track may give a negative D: the bins then start below 0.
  const double origin = SignedOrigin(vmin, bin);
  const BinnedValues binned = BinIntoRows(context, values.data(), n, bin, origin);
  const double sd = binned.sd;
  std::vector<float> sorted = values;
  std::sort(sorted.begin(), sorted.end());
  const double median = n == 0         ? std::nan("")
                        : n % 2 == 1   ? sorted[n / 2]
                                       : (double(sorted[n / 2 - 1]) + sorted[n / 2]) / 2;

  std::fill_n(context.WorkRow(2), kRowLength, 0.0f);
  const int32_t points = StaircaseRows(context, graph, 1, 1, bin, origin);
  ShowOneSeries(context, graph, 2, points);
  const float lastX = context.WorkRow(0)[std::max(points - 1, 0)];
  SetHistogramAxes(context, graph, static_cast<float>(origin), static_cast<float>(lastX + bin),
                   binned.maxBin);
  graph.XTitle = "D (CVE) (" + context.DlatUnit + ")";
  graph.Y0Title = CountTitle(context, "Number of objects");
  graph.Notes[0] = "Aver. D=" + Sig4(binned.mean) + context.DlatUnit + ", median=" + Sig4(median) +
                   ", SD=" + Sig4(sd) + " (" + std::to_string(n) + " used of " +
                   std::to_string(selected) + ")";
  PanelResults results;
  const std::string unit = " (" + context.DlatUnit + ")";
  results.Add("mean D CVE" + unit, binned.mean)
      .Add("median D CVE" + unit, median)
      .Add("SD D CVE" + unit, sd)
      .Add("tracks with D CVE", n);
  return results;
}

namespace {

// Bins of the jump-length histogram, up to a little past nearly every jump.
constexpr int32_t kJumpBins = 60;

// The jump lengths at `lag`, in µm.
std::vector<float> JumpLengthsAt(const JumpSet& jumps, int32_t lag) {
  std::vector<float> r;
  for (int64_t j = 0; j < jumps.size(); ++j)
    if (jumps.lag[j] == lag) r.push_back(std::sqrt(jumps.squared[j]));
  return r;
}

}  // namespace

PanelResults CalcJumpDistr(AnalysisContext& context, TQVgraph& graph) {
  const Settings& S = context.S;
  std::vector<TrackPoints> tracks;
  ForEachSelectedTrack(context.Spots, [&](const SpotRec& t) {
    tracks.push_back({t.X.data(), t.Y.data(), t.ReadablePoints()});
  });
  JumpOptions collect;
  collect.maxLag = std::clamp(S.JumpLags, 1, kMaxJumpLag);
  collect.jumpsPerTrack = S.JumpsPerTrack;
  const JumpSet jumps = CollectJumps(tracks.data(), static_cast<int32_t>(tracks.size()), collect);
  const int32_t shownLag = std::clamp(S.JumpShownLag, 1, collect.maxLag);

  // The histogram of the shown lag, drawn as a staircase whose corners are also where
  // the fitted densities are evaluated.
  const std::vector<float> lengths = JumpLengthsAt(jumps, shownLag);
  std::vector<float> sorted = lengths;
  std::sort(sorted.begin(), sorted.end());
  const float reach = sorted.empty() ? 1.0f : sorted[sorted.size() * 995 / 1000];
  const double bin = NiceTickDistance(reach > 0 ? reach : 1.0, kJumpBins);
  for (int row = 0; row <= 5; ++row) std::fill_n(context.WorkRow(row), kRowLength, 0.0f);
  float* x = context.WorkRow(0);
  float* counts = context.WorkRow(1);
  float* bins = context.WorkRow(kWorkRows - 1);
  BuildHistogram(lengths.data(), bins, static_cast<float>(bin), 0, kHistogramBins,
                 static_cast<int32_t>(lengths.size()), false);
  const int32_t points = HistogramPoints(bins, x, counts, bin, 0, false);

  JumpFitOptions options;
  options.dT = S.dT;
  options.sigma = S.JumpSigma;
  options.focalDepth = S.FocalDepth;
  options.maxJump = S.MaxJump;
  options.bootstrap = S.JumpResamples;
  options.shownLag = shownLag;
  options.binCentres.assign(x, x + points);
  options.pool = context.Pool;
  options.progress = context.KeepGoing;
  const JumpFitResult fit = FitJumpStates(jumps, options);
  if (fit.cancelled) return {};
  const int32_t states = S.JumpStates >= 1 && S.JumpStates <= kMaxJumpStates ? S.JumpStates
                                                                             : fit.chosen;
  const JumpModel* model = states > 0 ? &fit.models[states - 1] : nullptr;
  const double scale = static_cast<double>(lengths.size()) * bin;  // density to counts per bin
  double top = 0;
  for (int32_t i = 0; i < points; ++i) {
    top = std::max(top, static_cast<double>(counts[i]));
    if (!model || model->density.size() != static_cast<size_t>(points)) continue;
    context.WorkRow(2)[i] = static_cast<float>(model->density[i] * scale);
    for (int32_t s = 0; s < model->states && s < 3; ++s)
      context.WorkRow(3 + s)[i] = static_cast<float>(model->stateDensity[s][i] * scale);
  }

  CopyRowsToPanel(context, graph, 6);
  graph.DataFirst = 0;
  graph.DataEnd = points;
  graph.SeriesCount = 5;
  SeriesRec* series = graph.Series;
  for (int k = 1; k <= 5; ++k) {
    series[k].Style = Line;
    series[k].RightAxis = false;
    series[k].Show = k == 1 || (model && k - 2 <= model->states);
  }
  // The tables of the panel carry the states' numbers in the series' names.
  series[1].Name = "jumps";
  series[2].Name = model ? "fit, " + std::to_string(model->states) + " states" : "";
  for (int32_t s = 0; s < 3; ++s)
    series[3 + s].Name = model && s < model->states
                             ? "state " + std::to_string(s + 1) + ": F=" + FormatFigures(model->F[s], 3) +
                                   " D=" + FormatFigures(model->D[s], 4) + "µm2/s"
                             : "";
  graph.XTitle = "Jump length at " + std::to_string(shownLag) + " frame" +
                 (shownLag == 1 ? "" : "s") + " (µm)";
  graph.Y0Title = "Number of jumps";
  if (context.Flags.AutoScaling)
    SetDrawableAxes(graph, 0, points > 0 ? x[points - 1] : bin, 0, top * 1.2, 0, 1);
  graph.Notes[0] = JumpNote(fit, states);
  graph.Notes[2] = fit.warning;

  PanelResults results;
  if (model) {
    for (int32_t s = 0; s < model->states; ++s) {
      const std::string n = std::to_string(s + 1);
      results.Add("state " + n + " fraction", model->F[s]).Add("state " + n + " D (µm2/s)", model->D[s]);
    }
    results.Add("states", model->states).Add("jump sigma (nm)", model->sigma * 1000);
  }
  results.Add("jump tracks", fit.tracksUsed).Add("jumps", static_cast<double>(fit.jumpsUsed));
  return results;
}
