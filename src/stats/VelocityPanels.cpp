#include "stats/VelocityPanels.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "plot/TQVgraph.h"
#include "stats/HistogramPanel.h"
#include "stats/ThreadPool.h"
#include "store/Numbers.h"

namespace {

constexpr int32_t kTrackScratch = 100020;
constexpr int32_t kStepScratch = 2000000;

void ClearRows(AnalysisContext& context, int first, int last) {
  for (int r = first; r <= last; ++r)
    std::fill(context.WorkRow(r), context.WorkRow(r) + kRowLength, 0.0f);
}

// The histogram in series 1, nothing else shown.
void ShowBarsOnly(TQVgraph& graph) {
  graph.Series[1].Show = true;
  graph.Series[1].RightAxis = false;
  for (int k = 2; k <= 4; ++k) graph.Series[k].Show = false;
}

// The instant-velocity and angle distributions: the bars of the steps alone, their
// count axis and its title.
void ShowStepHistogram(AnalysisContext& context, TQVgraph& graph, const BinnedValues& binned,
                       double origin, int seriesCount) {
  CopyRowsToPanel(context, graph, 5);
  graph.DataEnd = binned.last;
  graph.DataFirst = 0;
  graph.Series[1].Style = Bar;
  graph.Series[2].Style = Variation;
  ShowBarsOnly(graph);
  graph.SeriesCount = seriesCount;
  graph.Y0Title = CountTitle(context, "Frequency ");
  SetHistogramAxes(context, graph, static_cast<float>(origin), context.WorkRow(0)[binned.last],
                   binned.maxBin);
}

std::string InstantVelocityNote(const AnalysisContext& context, double averInstVel) {
  return "AverVel=" + TruncatedText(averInstVel, 1000.001, 0.001) +
         (context.Flags.TimeMinutes ? "µm/min" : "µm/s") +
         ", VelStep=" + std::to_string(context.S.VelocityStep);
}

// The instant velocities of a track's first `steps` steps taken at every frame, into
// out[0 ..); lowers `low` to the smallest value below it (NaN never counts).
void StepVelocities(const SpotRec& track, int32_t steps, int32_t s, float T, bool absoluteX,
                    float* out, float& low) {
  int32_t j = 0;
#if defined(__SSE2__)
  // Four steps at a time with the same roundings: float differences, squares and sum,
  // the root and the quotient in double, the velocity rounded to float, then the sign.
  const float* x = track.X.data();
  const float* y = track.Y.data();
  const __m128d t = _mm_set1_pd(static_cast<double>(T));
  const __m128 sign = _mm_set1_ps(-0.0f);
  __m128 lows = _mm_set1_ps(low);
  for (; j + 4 <= steps; j += 4) {
    const __m128 dx = _mm_sub_ps(_mm_loadu_ps(x + j + s), _mm_loadu_ps(x + j));
    const __m128 dy = _mm_sub_ps(_mm_loadu_ps(y + j + s), _mm_loadu_ps(y + j));
    const __m128 q = _mm_add_ps(_mm_mul_ps(dx, dx), _mm_mul_ps(dy, dy));
    const __m128 lo = _mm_cvtpd_ps(_mm_div_pd(_mm_sqrt_pd(_mm_cvtps_pd(q)), t));
    const __m128 hi =
        _mm_cvtpd_ps(_mm_div_pd(_mm_sqrt_pd(_mm_cvtps_pd(_mm_movehl_ps(q, q))), t));
    __m128 v = _mm_movelh_ps(lo, hi);
    if (absoluteX) v = _mm_xor_ps(v, _mm_and_ps(_mm_cmplt_ps(dx, _mm_setzero_ps()), sign));
    _mm_storeu_ps(out + j, v);
    lows = _mm_min_ps(v, lows);  // v where v < low, else low: a NaN v keeps low
  }
  float lanes[4];
  _mm_storeu_ps(lanes, lows);
  for (float lane : lanes)
    if (lane < low) low = lane;
#endif
  for (; j < steps; ++j) {
    const float v = InstantVelocity(track, j, s, T, absoluteX);
    out[j] = v;
    if (v < low) low = v;
  }
}

// What the plain collection of instant velocities gathers, gathered on the workers:
// each selected track's steps go where the one-by-one loop puts them, cut at the same
// value. Returns the count and sets `vmin` (the smallest value below 0, else 0: the
// same whatever the order, NaN never counting); -1 when memory is short.
int32_t CollectInstantVelocities(const TrackStore& spots, int32_t s, float T, int32_t advance,
                                 bool absoluteX, ThreadPool& pool, float* values, float& vmin) {
  struct Run {
    int32_t track, offset, steps;
  };
  std::unique_ptr<Run[]> runs(new (std::nothrow) Run[kStoreCapacity]);
  if (!runs) return -1;
  int32_t nRuns = 0, count = 0;
  for (int32_t t = 0; t < spots.NSpots && t < kStoreCapacity && count < kMaxStepValues; ++t) {
    const SpotRec& track = spots[t];
    if (!track.Selected) continue;
    const int64_t end = static_cast<int64_t>(track.NPoints) - s - 1;
    if (end <= 0) continue;
    const int64_t steps = std::min<int64_t>((end - 1) / advance + 1, kMaxStepValues - count);
    runs[nRuns++] = {t, count, static_cast<int32_t>(steps)};
    count += static_cast<int32_t>(steps);
  }
  constexpr int64_t kGrain = 64;
  const int64_t chunks = (nRuns + kGrain - 1) / kGrain;
  std::unique_ptr<float[]> chunkMin(new (std::nothrow) float[static_cast<size_t>(chunks + 1)]);
  if (!chunkMin) return -1;
  pool.ParallelFor(0, nRuns, kGrain, [&](int64_t from, int64_t to, unsigned) {
    float low = 0;
    for (int64_t r = from; r < to; ++r) {
      const Run& run = runs[r];
      const SpotRec& track = spots[run.track];
      float* out = values + run.offset;
      if (advance == 1) {
        StepVelocities(track, run.steps, s, T, absoluteX, out, low);
        continue;
      }
      for (int32_t j = 0, i = 0; j < run.steps; ++j, i += advance) {
        const float v = InstantVelocity(track, i, s, T, absoluteX);
        out[j] = v;
        if (v < low) low = v;
      }
    }
    chunkMin[from / kGrain] = low;
  });
  vmin = 0;
  for (int64_t c = 0; c < chunks; ++c)
    if (chunkMin[c] < vmin) vmin = chunkMin[c];
  return count;
}

}  // namespace

double GaussValue(double x, double sd) {
  if (sd == 0) return 0;
  return std::exp(-x * x / (2 * sd * sd)) / std::sqrt(6.28318530718 * sd * sd);
}

PanelResults CalcVelDist(AnalysisContext& context, TQVgraph& graph) {
  const auto values = RunScratch<float>(context, kTrackScratch, "Can not allocated memory");
  if (!values) return {};

  const TrackStore& spots = context.Spots;
  int32_t n = 0;
  float vmin = 0;
  for (int32_t t = 0; t < spots.NSpots && n < kTrackScratch; ++t) {
    if (!spots[t].Selected) continue;
    const float v = spots[t].AverVel;
    values[n++] = v;
    if (v < vmin) vmin = v;
  }
  const double bin = context.S.VelocityBin;
  const double origin = SignedOrigin(vmin, bin);

  const float* x = context.WorkRow(0);
  const float* bins = context.WorkRow(1);
  float* gauss = context.WorkRow(2);
  ClearRows(context, 2, 4);
  const BinnedValues binned = BinIntoRows(context, values.get(), n, bin, origin);
  const double mean = binned.mean;
  const int32_t last = binned.last;
  const float maxBin = binned.maxBin;

  const double sd = binned.sd;

  const double area = context.Flags.ShowFreq ? 100 * bin : n * bin;
  float mode = x[0];
  for (int32_t i = 0; i <= last; ++i)
    if (bins[i] == maxBin) {
      mode = x[i];
      break;
    }

  // Only the centre is fitted: the width is the sample SD and the area is fixed by N.
  double bestFit = 0;
  double bestQuality = 0;
  const double step = 0.5 * bin;
  if (step > 0) {  // a zero bin width would never move the centre
    for (double c = 0.5 * mode; c < 1.5 * mode; c += step) {
      double error = 0;
      for (int32_t i = 0; i <= last; ++i) {
        const double d = bins[i] - area * GaussValue(x[i] - c, sd);
        error += d * d;
      }
      if (error > 0 && 1000 / error > bestQuality) {
        bestQuality = 1000 / error;
        bestFit = c;
      }
    }
  }
  for (int32_t i = 0; i <= last; ++i)
    gauss[i] = static_cast<float>(area * GaussValue(x[i] - bestFit, sd));

  CopyRowsToPanel(context, graph, 5);
  graph.DataEnd = last;
  graph.DataFirst = 0;
  graph.Series[1].Style = Bar;
  graph.Series[2].Style = Line;
  ShowBarsOnly(graph);
  graph.Series[2].Show = true;
  graph.Series[2].RightAxis = false;
  graph.SeriesCount = 2;

  graph.Notes[0] = "AverVel=" + TruncatedText(mean, 1000.00001, 0.001) + "µm (SD=" +
                   TruncatedText(sd, 1000.00001, 0.001) + ")" + ", bestFit=" +
                   TruncatedText(bestFit, 1000.00001, 0.001) + "um" +
                   ", VelStep=" + std::to_string(context.S.VelocityStep);
  graph.Notes[1].clear();
  graph.Y0Title = CountTitle(context, "Number of Objects");
  graph.XTitle = "Velocity (µm/s)";
  SetHistogramAxes(context, graph, static_cast<float>(origin), x[last], maxBin);
  PanelResults results;
  results.AverVelDist = mean;
  results.Add("mean velocity (µm/s)", mean)
      .Add("SD velocity (µm/s)", sd)
      .Add("Gauss centre velocity (µm/s)", bestFit);
  return results;
}

PanelResults CalcInstantVelDist(AnalysisContext& context, TQVgraph& graph) {
  const auto values =
      RunScratch<float>(context, kStepScratch, "Can not allocate velocity array", true);
  if (!values) return {};

  const LineSink* exportTo = context.InstVelExport;
  const bool exporting = exportTo && *exportTo;
  const int32_t s = context.S.VelocityStep;
  const float T = static_cast<float>(context.S.FramesTime(s));
  const PairRules& rules = context.Flags.Rules;
  const int32_t advance = rules.IndependentPairs ? s : 1;

  const TrackStore& spots = context.Spots;
  int32_t count = 0;
  float vmin = 0;
  bool full = false;
  // As for the per-track velocity, a step of no frames has no velocity (and would
  // never advance under independent pairs). Without an export to feed, the workers may
  // collect the values.
  bool collected = false;
  if (context.Pool && !exporting && s >= 1) {
    count = CollectInstantVelocities(spots, s, T, advance, rules.AbsoluteXspeed, *context.Pool,
                                     values.get(), vmin);
    collected = count >= 0;
    if (!collected) count = 0;
  }
  for (int32_t t = 0; t < spots.NSpots && !collected && !full && s >= 1; ++t) {
    const SpotRec& track = spots[t];
    if (!track.Selected) continue;
    std::string dlatText;
    if (exporting) dlatText = TruncatedText(track.Dlat, 1000, 0.001) + "\t";
    const int64_t end = static_cast<int64_t>(track.NPoints) - s - 1;
    for (int32_t i = 0; i < end; i += advance) {
      const float v = InstantVelocity(track, i, s, T, rules.AbsoluteXspeed);
      values[count] = v;
      if (v < vmin) vmin = v;
      if (exporting) (*exportTo)(dlatText + TruncatedText(v, 1000, 0.001) + "\n");
      // The collection stops as soon as the scratch is nearly full, mid-track too.
      if (++count >= kMaxStepValues) {
        full = true;
        break;
      }
    }
  }

  const double bin = context.S.VelocityBin;
  const double origin = SignedOrigin(vmin, bin);
  ClearRows(context, 2, 4);
  BinOptions options;
  options.xThroughLast = true;
  const BinnedValues binned = BinIntoRows(context, values.get(), count, bin, origin, options);
  const double averInstVel = binned.mean;
  ShowStepHistogram(context, graph, binned, origin, 1);
  graph.Notes[0] = InstantVelocityNote(context, averInstVel);
  graph.Notes[1].clear();
  graph.XTitle = context.Flags.TimeMinutes ? "Velocity(µm/min)" : "Velocity(µm/s)";
  PanelResults results;
  results.AverInstVel = averInstVel;
  results.Add(std::string("mean instant velocity (") +
                  (context.Flags.TimeMinutes ? "µm/min" : "µm/s") + ")",
              averInstVel);
  return results;
}

PanelResults CalcAngleDist(AnalysisContext& context, TQVgraph& graph) {
  const auto angles =
      RunScratch<float>(context, kStepScratch, "Can not allocate velocity array", true);
  if (!angles) return {};

  const int32_t s = context.S.VelocityStep;
  const int32_t advance = context.Flags.Rules.IndependentPairs ? s : 1;
  const TrackStore& spots = context.Spots;
  int32_t count = 0;
  bool full = false;
  for (int32_t t = 0; t < spots.NSpots && !full && s >= 1; ++t) {
    const SpotRec& track = spots[t];
    if (!track.Selected) continue;
    const int64_t end = static_cast<int64_t>(track.NPoints) - 2 * static_cast<int64_t>(s) - 1;
    for (int32_t i = 0; i < end; i += advance) {
      // Slopes of the two step lines; a vertical line gets a huge one.
      const float dx1 = track.X[i + s] - track.X[i];
      const float dy1 = track.Y[i + s] - track.Y[i];
      const float dx2 = track.X[i + 2 * s] - track.X[i + s];
      const float dy2 = track.Y[i + 2 * s] - track.Y[i + s];
      const double m1 = dx1 == 0 ? 1e32 : static_cast<double>(dy1) / dx1;
      const double m2 = dx2 == 0 ? 1e32 : static_cast<double>(dy2) / dx2;
      // The angle between the lines, blind to the direction of travel along them.
      angles[count] = m1 * m2 == -1 ? 1.5707964f
                                    : static_cast<float>(std::atan((m1 - m2) / (1 + m1 * m2)));
      if (++count >= kMaxStepValues) {
        full = true;
        break;
      }
    }
  }

  // Velocity bin and origin 0: negative angles beyond one bin are dropped but still
  // divide the mean. The last bin is looked for below 9995.
  ClearRows(context, 2, 4);
  BinOptions options;
  options.binsEnd = 9995;
  options.xThroughLast = true;
  const BinnedValues binned =
      BinIntoRows(context, angles.get(), count, context.S.VelocityBin, 0, options);
  const double averAngle = binned.mean;
  ShowStepHistogram(context, graph, binned, 0, 5);
  // The note shows the last instant-velocity mean, not the angle mean.
  graph.Notes[0] = InstantVelocityNote(context, context.Registers.AverInstVel);
  graph.XTitle = "AngleChange(rad)";
  PanelResults results;
  results.AverAngle = averAngle;
  results.Add("mean angle change (rad)", averAngle);
  return results;
}
