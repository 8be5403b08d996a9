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

// For every selected track the distances between its points up to kStepWindow frames
// apart, in nm, binned by DistanceBin and summed over the tracks.
void CalcStepDistr(AnalysisContext& context, TQVgraph& graph);

// Redraws the step-distribution panel, fits it and draws the fit as series 2, with
// the step and its width appended to the note. False (after a message) when the
// histogram holds too little to fit; `fit` receives the result when given.
bool StepGaussFit(AnalysisContext& context, TQVgraph& graph, MultiGaussResult* fit = nullptr);
