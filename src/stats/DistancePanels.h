#pragma once
// How far tracks get from their first point, and how that distribution decays.
#include "stats/Analysis.h"

// The distribution of the largest distance each selected track reaches from its
// first point, with a falling exponential fitted from the peak on ("Tau").
PanelResults CalcMaxDistDist(AnalysisContext& context, TQVgraph& graph);
