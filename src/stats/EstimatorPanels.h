#pragma once
// Panels of the estimators beside Dlat: the pooled MSD with its bootstrap intervals, the
// distribution of the per-track covariance D, and the jump-length states.
#include "stats/Analysis.h"

// "Show Pooled MSD": the MSD of every displacement pair of the selected tracks per lag,
// with 95 % bars from the bootstrap over tracks and the line 4 D t + offset. Note
// "D=..µm2/s [low-high], alpha=.. [low-high], sigma=..nm (N tracks, P pairs)".
PanelResults CalcPooledMSD(AnalysisContext& context, TQVgraph& graph);

// "Show D (CVE) Distr": the covariance-based D of every selected track where it is
// defined. Note "Aver. D=..µm2/s, median=.., SD=.. (N used of M)".
PanelResults CalcDcveDist(AnalysisContext& context, TQVgraph& graph);

// "Jump Length Distr.": the jumps of the selected tracks at the shown lag, with the fitted
// mixture of diffusive states and each state's part.
PanelResults CalcJumpDistr(AnalysisContext& context, TQVgraph& graph);
