#pragma once
// The Dlat distribution and the population MSD against lag.
#include "stats/Analysis.h"

PanelResults CalcDlatDist(AnalysisContext& context, TQVgraph& graph);
PanelResults ShowMSDvsDT(AnalysisContext& context, TQVgraph& graph);
