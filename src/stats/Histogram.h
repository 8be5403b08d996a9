#pragma once
// The one histogram and axis rule of all distributions.
#include <cstdint>

class TQVgraph;

inline constexpr int32_t kHistogramBins = 10000;
// The staircase of a histogram is cut at this many bins, so its points fit one row.
inline constexpr int32_t kMaxStaircaseBins = 5000;

// Counts values into bins of `binWidth` from `origin` (index truncated toward zero,
// so up to one width below the origin still lands in bin 0); values outside are
// dropped but still divide the mean. Returns the mean; with asPercent the bins
// become percentages of all values.
double BuildHistogram(const float* values, float* bins, float binWidth, float origin,
                      int32_t nBins, int32_t nValues, bool asPercent);

// Sets the six axis limits and a 1-2-5 tick distance for `nTicks` ticks on each axis.
void SetAxes(TQVgraph& graph, float xFirst, float xLast, float y0First, float y0Last,
             float y1First, float y1Last, int32_t nTicks);

// The largest bin index below `end` with a count above 0 (0 if none).
int32_t LastFilledBin(const float* bins, int32_t end = kHistogramBins);

// The largest count over bins 0 .. last.
float MaxBin(const float* bins, int32_t last);

// Turns bins into the points a panel draws: a staircase (two points per bin) unless
// `bars`, in which case the raw bins. Writes X into `xRow` (which must not alias
// `bins`) and Y into `yRow` (which may be `bins` itself), returns the number of points.
int32_t HistogramPoints(const float* bins, float* xRow, float* yRow, double binWidth, double origin,
                        bool bars);
