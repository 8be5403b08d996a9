#pragma once
// The Dlat distribution and the population MSD against lag.
#include "stats/Analysis.h"

void CalcDlatDist(AnalysisContext& context, TQVgraph& graph);
void ShowMSDvsDT(AnalysisContext& context, TQVgraph& graph);
