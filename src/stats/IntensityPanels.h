#pragma once
// Distributions of spot brightness: per-track mean intensities and every single
// measurement, each with a Gaussian whose centre is reported as GaussMax.
#include <cstdint>

#include "stats/Analysis.h"

// Size of the single-measurement scratch; collecting stops once it is full.
inline constexpr int32_t kMaxIntensityValues = 10000005;

// "Show Intens Distr": the mean intensity (AverInt) of every selected track.
PanelResults CalcIntensDist(AnalysisContext& context, TQVgraph& graph);
// "Instant Intens. Distr.": every intensity of every selected track, inside the
// time window when "Use Time Window" is checked.
PanelResults CalcInstIntensDist(AnalysisContext& context, TQVgraph& graph);

// Fits the centre of a Gaussian of fixed width `sd` and area to the bins of work row 1
// over the X of work row 0, points 0 .. graph.DataEnd; writes the curve into work row 2
// for the points below DataEnd and returns the centre (GaussMax).
double IntensGaussFit(AnalysisContext& context, const TQVgraph& graph, double sd);
