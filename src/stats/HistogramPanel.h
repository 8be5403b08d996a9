#pragma once
// The steps every distribution panel shares: the values binned into the work rows over
// an X row, the bins drawn as a staircase or as bars, the count axis and its title.
// Each panel calls them with its own origin, look, titles and note.
#include <cstdint>

#include "stats/Analysis.h"
#include "stats/Histogram.h"

struct BinnedValues {
  double mean = 0;    // BuildHistogram's mean
  double sd = 0;      // the values' population SD around `mean` (NaN without values)
  int32_t last = 0;   // the last bin with a count
  float maxBin = 0;   // the largest count over bins 0 .. last
};

struct BinOptions {
  int binsRow = 1;                   // work row of the bins
  int32_t binsEnd = kHistogramBins;  // the last filled bin is looked for below this
  bool xThroughLast = false;         // X only up to the last filled bin, not every slot
  bool emptyAsCounts = false;        // no values: bins of 0 even with ShowFreq
};

// Bins of signed data start at a multiple of the bin width at or below the smallest
// value `vmin` (never above 0). An exact negative multiple gets one empty bin more.
double SignedOrigin(float vmin, double bin);

// Work row 0 gets the X of every bin (i x bin + origin), the bins row the histogram of
// `values` with BuildHistogram's rule (percent with ShowFreq).
BinnedValues BinIntoRows(AnalysisContext& context, const float* values, int32_t n, double bin,
                         double origin, const BinOptions& options = {});

// Series 1 as the staircase of the bins in work row `binsRow`, written into work row
// `pointsRow` over X in row 0 (the raw bins instead when the user chose the Bar style;
// otherwise the style becomes Line). Returns the points drawn.
int32_t StaircaseRows(AnalysisContext& context, TQVgraph& graph, int binsRow, int pointsRow,
                      double bin, double origin);

// With AutoScaling: X over xFirst .. xLast, Y0 from 0 to 1.2 x the largest count, Y1 0 .. 1,
// five ticks each.
void SetHistogramAxes(const AnalysisContext& context, TQVgraph& graph, float xFirst, float xLast,
                      float maxBin);

// "Frequency (%)" with ShowFreq, otherwise `countTitle`.
const char* CountTitle(const AnalysisContext& context, const char* countTitle);
