#pragma once
// How fast and how straight the selected tracks move.
#include "stats/Analysis.h"

// Values collected at most by the instant-velocity and angle distributions.
inline constexpr int32_t kMaxStepValues = 1999996;

// The normal density exp(-x^2 / (2 sd^2)) / sqrt(2 pi sd^2); 0 when sd is 0.
double GaussValue(double x, double sd);

// Per-track average velocities, with a Gaussian whose centre is fitted by a scan.
PanelResults CalcVelDist(AnalysisContext& context, TQVgraph& graph);
// Every step of every selected track; also feeds the armed Dlat - velocity export.
PanelResults CalcInstantVelDist(AnalysisContext& context, TQVgraph& graph);
// The change of direction between consecutive steps.
PanelResults CalcAngleDist(AnalysisContext& context, TQVgraph& graph);
