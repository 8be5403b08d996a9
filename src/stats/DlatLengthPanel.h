#pragma once
// How the diffusion coefficient depends on how long a track was followed.
#include "stats/Analysis.h"

// "Show Dlat - Len Distr ": per track length L (in points) the mean Dlat of the selected
// tracks of that length (row 2), its standard error (row 1), their count (row 3).
// Tracks too long for a row (10000 points and more) are left out.
PanelResults CalcDlatLenDist(AnalysisContext& context, TQVgraph& graph);
