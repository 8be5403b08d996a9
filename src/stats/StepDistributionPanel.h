#pragma once
// The pair-distance distribution used to find molecular steps ("Show Distance
// AutoCorr"), and its fit by Gaussians on multiples of one step ("M-GaussFit").
#include <cstdint>

#include "stats/Analysis.h"

struct MultiGaussResult;

// Pairs of points of one track are taken up to this many frames apart.
inline constexpr int32_t kStepWindow = 50;
// No more pairs than this are counted over all tracks, so the panel stays quick.
inline constexpr int64_t kMaxStepPairs = 200000000;

// The pairs of one track's n points up to kStepWindow frames apart: each distance in nm
// is counted into counts[trunc(nm / binWidth)] (kHistogramBins doubles; distances past
// the last bin are dropped) and added to `sum`. Starts no further point once `pairBudget`
// pairs are taken; returns the number of pairs taken.
int64_t AddTrackStepPairs(const float* x, const float* y, int32_t n, float binWidth,
                          double* counts, double& sum, int64_t pairBudget);

// For every selected track the distances between its points up to kStepWindow frames
// apart, in nm, binned by DistanceBin and summed over the tracks.
PanelResults CalcStepDistr(AnalysisContext& context, TQVgraph& graph);

// Redraws the step-distribution panel, fits it and draws the fit as series 2, with
// the step and its width appended to the note. False (after a message) when the
// histogram holds too little to fit; `fit` receives the result when given.
bool StepGaussFit(AnalysisContext& context, TQVgraph& graph, MultiGaussResult* fit = nullptr);
