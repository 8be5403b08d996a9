#pragma once
// Two-parameter panels: one point per selected track, its mean intensity against its
// mobility (Dlat) or against its average velocity, with the correlation coefficient.
#include "stats/Analysis.h"

// "Show Int-Mob Distr ": AverInt against Dlat.
PanelResults CalcIntMobDistr(AnalysisContext& context, TQVgraph& graph);
// "Show Int-Vel Distr": AverInt against AverVel.
PanelResults CalcIntVelDistr(AnalysisContext& context, TQVgraph& graph);
