#pragma once
// The distribution of the mobility slope alpha: the slope of log MSD against log lag
// of each selected track. Near 1 a track diffuses freely, below 1 it is confined,
// near 2 it moves in a directed way.
#include <cstdint>

#include "stats/Analysis.h"

// Bin width of the slope distribution.
inline constexpr double kSlopeBin = 0.05;

// alpha of one track over the lags 1 .. min(fitLimit - 2, n/2 - 2), the lags the MSD
// panel's fit takes from it; NaN with fewer than 3 such lags or an MSD that is not
// above 0 (a track that does not move).
double TrackMobilitySlope(const float* x, const float* y, int32_t n, int32_t fitLimit,
                          bool independentPairs, MsdScratch& scratch);

// "Mobility Slope Distr.": alpha of every selected track that has one, binned.
PanelResults CalcMobilitySlopeDist(AnalysisContext& context, TQVgraph& graph);
