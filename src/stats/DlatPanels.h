#pragma once
// The Dlat distribution and the population MSD against lag.
#include "stats/Analysis.h"

class MsdCurveCache;

PanelResults CalcDlatDist(AnalysisContext& context, TQVgraph& graph);
PanelResults ShowMSDvsDT(AnalysisContext& context, TQVgraph& graph);

// Makes the kept curve (and its Dlat for `lag`) of every selected track current: the
// stale ones are computed, on the workers when there are any. A curve that cannot be
// kept for want of memory stays stale, and the panel computes it on the spot.
void KeepSelectedCurves(const AnalysisContext& context, MsdCurveCache& curves, float lag,
                        bool independent);
