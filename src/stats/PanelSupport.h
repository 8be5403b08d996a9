#pragma once
// Small guards and loops shared by the time-course, correlation, slope and step panels.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "plot/TQVgraph.h"
#include "plot/Ticks.h"
#include "stats/Analysis.h"
#include "stats/Histogram.h"
#include "store/SpotRec.h"
#include "store/TrackStore.h"

// Records of the store an analysis may visit.
inline int32_t StoredTrackCount(const TrackStore& spots) {
  return std::clamp(spots.NSpots, 0, kStoreCapacity);
}

// Calls visit(track) for every selected record of the store, in store order.
template <class Visit>
void ForEachSelectedTrack(const TrackStore& spots, Visit&& visit) {
  const int32_t count = StoredTrackCount(spots);
  for (int32_t t = 0; t < count; ++t)
    if (spots[t].Selected) visit(spots[t]);
}

// Work rows 0 .. rows-1 to the panel; points [0, dataEnd) drawn as series 1 alone, on
// the left axis.
inline void ShowOneSeries(const AnalysisContext& context, TQVgraph& graph, int rows,
                          int32_t dataEnd) {
  CopyRowsToPanel(context, graph, rows);
  graph.DataFirst = 0;
  graph.DataEnd = dataEnd;
  graph.SeriesCount = 1;
  graph.Series[1].Show = true;
  graph.Series[1].RightAxis = false;
}

// SetAxes with 5 ticks over the three ranges, each made drawable first.
inline void SetDrawableAxes(TQVgraph& graph, double xFirst, double xLast, double y0First,
                            double y0Last, double y1First, double y1Last) {
  DrawableRange(xFirst, xLast);
  DrawableRange(y0First, y0Last);
  DrawableRange(y1First, y1Last);
  SetAxes(graph, static_cast<float>(xFirst), static_cast<float>(xLast), static_cast<float>(y0First),
          static_cast<float>(y0Last), static_cast<float>(y1First), static_cast<float>(y1Last), 5);
}
