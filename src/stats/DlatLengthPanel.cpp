#include "stats/DlatLengthPanel.h"

#include <algorithm>
#include <cmath>

#include "plot/TQVgraph.h"
#include "stats/Histogram.h"
#include "store/Numbers.h"

namespace {

// A length that indexes a slot of a row; a track of 10000 points would index one past it.
bool FitsRow(int32_t nPoints) { return nPoints >= 0 && nPoints < kRowLength; }

}  // namespace

PanelResults CalcDlatLenDist(AnalysisContext& context, TQVgraph& graph) {
  for (int r = 0; r < 5; ++r) std::fill(context.WorkRow(r), context.WorkRow(r) + kRowLength, 0.0f);
  float* length = context.WorkRow(0);
  float* error = context.WorkRow(1);
  float* mean = context.WorkRow(2);
  float* count = context.WorkRow(3);
  const TrackStore& spots = context.Spots;
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);

  int32_t maxLen = 0;
  for (int32_t i = 0; i < nSpots; ++i) {
    const SpotRec& track = spots[i];
    if (!track.Selected || !FitsRow(track.NPoints)) continue;
    maxLen = std::max(maxLen, track.NPoints);
    mean[track.NPoints] += track.Dlat;
    count[track.NPoints] += 1;
  }
  // The lengths drawn end below maxLen, so the longest tracks are never shown; their
  // slot is still finished, so the rows hold a mean and an error for every length.
  const int32_t finished = std::min(maxLen + 1, kRowLength);
  for (int32_t L = 0; L < maxLen; ++L) length[L] = static_cast<float>(L);
  for (int32_t L = 0; L < finished; ++L)
    if (count[L] > 0) mean[L] = mean[L] / count[L];
  float maxMean = 0, maxCount = 0;
  for (int32_t L = 0; L < maxLen; ++L) {
    if (mean[L] > maxMean) maxMean = mean[L];
    if (count[L] > maxCount) maxCount = count[L];
  }
  for (int32_t i = 0; i < nSpots; ++i) {
    const SpotRec& track = spots[i];
    if (!track.Selected || !FitsRow(track.NPoints)) continue;
    const float d = track.Dlat - mean[track.NPoints];
    error[track.NPoints] += d * d;
  }
  for (int32_t L = 0; L < finished; ++L) {
    if (!(count[L] > 0)) continue;
    const float variance = error[L] / count[L];
    error[L] = static_cast<float>(std::sqrt(static_cast<double>(variance)) /
                                  std::sqrt(static_cast<double>(count[L])));
  }

  CopyRowsToPanel(context, graph, 5);
  graph.DataFirst = 0;
  graph.DataEnd = maxLen;
  graph.SeriesCount = 5;
  if (context.Flags.AutoScaling)
    SetAxes(graph, 0, maxLen + 1, 0, maxMean * 1.2, 0, maxCount * 1.2, 5);

  graph.Y0Title = "Mobility (µm2/s)";
  graph.Series[3].RightAxis = true;
  graph.Series[1].Style = Variation;
  // Error bars and means on the left axis, counts on the right; row 4 is empty.
  for (int s = 1; s <= 3; ++s) graph.Series[s].Show = true;
  graph.Series[1].RightAxis = graph.Series[2].RightAxis = false;
  graph.Series[4].Show = false;
  graph.Y1Title = "Number of objects";
  graph.XTitle = "Track Length (points)";
  if (context.Flags.ShowFreq) graph.Y0Title = "Frequency (%)";

  const AnalysisRegisters& r = context.Registers;
  graph.Notes[0] = "Aver. Dlat=" + TruncatedText(r.AverDlat, 1000, 0.001) +
                   context.DlatUnit + ", SD=" + TruncatedText(r.DlatSD, 10000, 0.0001);
  return {};
}
