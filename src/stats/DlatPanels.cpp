#include "stats/DlatPanels.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "plot/TQVgraph.h"
#include "stats/Fits.h"
#include "stats/HistogramPanel.h"
#include "stats/PanelSupport.h"
#include "stats/MsdCurveCache.h"
#include "stats/ThreadPool.h"
#include "store/Numbers.h"

namespace {

// The per-track MSD scratch: one lag per slot, with a little room past the last lag.
constexpr int32_t kMsdScratchLength = 10005;
// The MSD curve stops below this lag.
constexpr int32_t kMsdLagLimit = 4999;

int32_t StoredTracks(const TrackStore& spots) { return std::clamp(spots.NSpots, 0, kStoreCapacity); }

}  // namespace

void KeepSelectedCurves(const AnalysisContext& context, MsdCurveCache& curves, float lag,
                        bool independent) {
  const TrackStore& spots = context.Spots;
  const int32_t records = StoredTracks(spots);
  ThreadPool* pool = context.Pool;
  const unsigned slots = pool ? pool->Slots() : 1;
  std::unique_ptr<MsdScratch[]> scratch(new (std::nothrow) MsdScratch[slots]);
  if (!scratch) return;
  auto keep = [&](int64_t from, int64_t to, unsigned worker) {
    MsdScratch& work = scratch[worker];
    for (int32_t i = static_cast<int32_t>(from); i < to; ++i) {
      const SpotRec& track = spots[i];
      if (!track.Selected) continue;
      const int32_t n = track.ReadablePoints();
      if (!curves.Find(i, n, independent)) {
        CalcTrackMSD(track.X.data(), track.Y.data(), n, lag, work.Dk, work.MSD, independent);
        curves.Keep(i, n, independent, work.MSD);
        if (!curves.Find(i, n, independent)) continue;
      }
      curves.Dlat(i, lag);
    }
  };
  if (!pool) return keep(0, records, 0);
  // Chunks small enough to share out tracks of very different lengths.
  const int64_t grain = std::clamp<int64_t>(records / (8 * static_cast<int64_t>(slots)), 16, 2048);
  pool->ParallelFor(0, records, grain, keep);
}


PanelResults CalcDlatDist(AnalysisContext& context, TQVgraph& graph) {
  const auto values =
      RunScratch<float>(context, kStoreCapacity, "Memory Allocation ERROR in CalcDlatDist");
  if (!values) return {};
  const TrackStore& spots = context.Spots;
  int32_t n = 0;
  for (int32_t i = 0; i < StoredTracks(spots); ++i)
    if (spots[i].Selected) values[n++] = spots[i].Dlat;

  const double dlatBin = context.S.DlatBin;
  const BinnedValues binned = BinIntoRows(context, values.get(), n, dlatBin, 0);
  const double averDlat = binned.mean;
  const double dlatSD = binned.sd;

  std::fill_n(context.WorkRow(2), kRowLength, 0.0f);
  const int32_t points = StaircaseRows(context, graph, 1, 1, dlatBin, 0);

  // Only rows 0 and 1 are fresh; rows 2 and 3 of the panel hold whatever came before.
  ShowOneSeries(context, graph, 2, points);
  graph.SeriesCount = 3;
  graph.Series[2].Show = graph.Series[3].Show = false;

  // With no point drawn the X range closes one bin after the origin.
  const float lastX = context.WorkRow(0)[std::max(points - 1, 0)];
  SetHistogramAxes(context, graph, 0, static_cast<float>(lastX + dlatBin), binned.maxBin);
  graph.Y0Title = CountTitle(context, "Number of objects");
  graph.XTitle = "Dlat (" + context.DlatUnit + ")";
  graph.Notes[0] = "Aver. Dlat=" + TruncatedText(averDlat, 1000, 0.001) + context.DlatUnit +
                   ", SD=" + TruncatedText(dlatSD, 10000, 0.0001);
  PanelResults results;
  results.AverDlat = averDlat;
  results.DlatSD = dlatSD;
  results.Add("mean Dlat (" + context.DlatUnit + ")", averDlat)
      .Add("SD Dlat (" + context.DlatUnit + ")", dlatSD);
  return results;
}

PanelResults ShowMSDvsDT(AnalysisContext& context, TQVgraph& graph) {
  std::unique_ptr<float[]> msd(new (std::nothrow) float[kMsdScratchLength]());
  if (!msd) {
    context.Message("Can not allocate memory for MSD data");
    context.CloseMainWindow();
    return {};
  }
  // The panel rows double as the population sums: the mean MSD is summed in row 2 and
  // the track counts in row 4, which are what those rows finally show.
  float* T = context.WorkRow(0);
  float* standardError = context.WorkRow(1);
  float* MeanMSD = context.WorkRow(2);
  float* fitted = context.WorkRow(3);
  float* NTracks = context.WorkRow(4);
  float* VarMSD = context.WorkRow(5);
  float* Dk = context.WorkRow(6);
  for (int r = 0; r <= 6; ++r) std::fill_n(context.WorkRow(r), kRowLength, 0.0f);

  const Settings& S = context.S;
  const TrackStore& spots = context.Spots;
  const bool independent = context.Flags.Rules.IndependentPairs;
  const float lag = static_cast<float>(S.LagUnit());
  double averDlat = 0;

  // Each selected track's curve: the kept one when it is current, else computed here
  // into the scratch (without kept curves, every time, as in both passes below).
  MsdCurveCache* curves = context.Curves;
  if (curves) KeepSelectedCurves(context, *curves, lag, independent);
  auto curveOf = [&](int32_t i, int32_t n, double* dlat) -> const float* {
    if (curves) {
      if (const float* kept = curves->Find(i, n, independent)) {
        if (dlat) *dlat = curves->Dlat(i, lag);
        return kept;
      }
    }
    const SpotRec& track = spots[i];
    const double value =
        CalcTrackMSD(track.X.data(), track.Y.data(), n, lag, Dk, msd.get(), independent);
    if (dlat) *dlat = value;
    return msd.get();
  };

  // First pass: sums and counts per lag, over the tracks in store order. A track of n
  // points adds lags 0 .. n/2 - 2 (its slot 0 is 0).
  for (int32_t i = 0; i < StoredTracks(spots); ++i) {
    if (!spots[i].Selected) continue;
    const int32_t n = spots[i].ReadablePoints();
    double dlat = 0;
    const float* curve = curveOf(i, n, &dlat);
    averDlat += dlat;
    for (int32_t k = 0; k <= n / 2 - 2; ++k) {
      MeanMSD[k] += curve[k];
      NTracks[k] += 1;
    }
  }
  if (spots.NSelected != 0) averDlat = averDlat / spots.NSelected;

  int32_t NMSDPoints = 0;
  for (int32_t k = kMsdLagLimit - 1; k > 0; --k)
    if (NTracks[k] >= 1) {
      NMSDPoints = k;
      break;
    }
  for (int32_t k = 0; k < NMSDPoints; ++k) MeanMSD[k] = MeanMSD[k] / NTracks[k];

  // Second pass: the spread around the mean, each curve again (recomputed when not kept).
  for (int32_t i = 0; i < StoredTracks(spots); ++i) {
    if (!spots[i].Selected) continue;
    const int32_t n = spots[i].ReadablePoints();
    const float* curve = curveOf(i, n, nullptr);
    for (int32_t k = 0; k <= n / 2 - 2; ++k) {
      const float d = curve[k] - MeanMSD[k];
      VarMSD[k] += d * d;
    }
  }

  for (int32_t k = 1; k < NMSDPoints; ++k) {
    T[k] = static_cast<float>(S.FramesTime(k));
    fitted[k] = 0;
  }
  // Lags 1 .. n, each weighted by the tracks that reach it. A limit below 3 leaves
  // nothing to fit, and the fit then reports NaN; the count is kept from overflowing.
  const int32_t fitEnd = std::min(S.MSDfitLimit, NMSDPoints);
  const int32_t nFit = fitEnd > 0 ? fitEnd - 2 : -2;
  float fitSlope = 0;
  const float noise = WeightedLinearFit(T + 1, MeanMSD + 1, NTracks + 1, fitted + 1, nFit, fitSlope);

  float maxMSD = 0;
  for (int32_t k = 1; k < NMSDPoints; ++k) {
    const float SD = std::sqrt(VarMSD[k] / NTracks[k]);
    standardError[k] = static_cast<float>(SD / std::sqrt(static_cast<double>(NTracks[k])));
    if (MeanMSD[k] > maxMSD) maxMSD = MeanMSD[k];
  }

  // The right axis is scaled to the tracks reaching lag 3. It is taken from the counts
  // directly, so that a curve ending before lag 3 reads a defined value.
  const float tracksAtLag1 = NTracks[1];
  float atLag3 = NTracks[3];
  if (context.Flags.ShowFreq) {
    for (int32_t k = 1; k < NMSDPoints; ++k) NTracks[k] = NTracks[k] * 100 / tracksAtLag1;
    atLag3 = tracksAtLag1 > 0 ? atLag3 * 100 / tracksAtLag1 : 0.0f;
    graph.Y1Title = "Number of objects (%)";
  } else {
    graph.Y1Title = "Number of objects";
  }

  CopyRowsToPanel(context, graph, 5);
  graph.Notes[0] = "AverDlat=" + TruncatedText(averDlat, 1000.001, 0.001) + context.DlatUnit +
                   ", Fit=" + TruncatedText(fitSlope, 250.001, 0.001) +
                   context.DlatUnit + " noise=" + TruncatedText(noise, 1000.001, 0.001) +
                   " µm2";

  SeriesRec* series = graph.Series;
  series[1].Style = Variation;
  series[1].BaseSeries = 2;  // the error bars sit on the mean MSD
  series[2].Style = LineCircle;
  series[3].Style = Line;
  for (int k = 1; k <= 4; ++k) {
    series[k].Show = true;
    series[k].RightAxis = k == 4;
  }
  graph.DataFirst = 1;
  graph.DataEnd = NMSDPoints;
  graph.SeriesCount = 5;
  graph.Y0Title = "MSD (µm2)";
  graph.XTitle = "dT (" + context.TimeUnit + ")";

  if (context.Flags.AutoScaling)
    SetAxes(graph, 0, static_cast<float>(S.FramesTime(NMSDPoints)), 0,
            static_cast<float>(maxMSD * 1.2), 0, static_cast<float>(atLag3 * (1 + 1.0 / 3)), 5);
  PanelResults results;
  results.AverDlat = averDlat;
  results.NMSDPoints = NMSDPoints;
  results.FitSlope = fitSlope;
  results.Add("mean Dlat (" + context.DlatUnit + ")", averDlat)
      .Add("fitted D (" + context.DlatUnit + ")", fitSlope / 4.0)
      .Add("MSD offset (µm2)", noise);
  return results;
}
