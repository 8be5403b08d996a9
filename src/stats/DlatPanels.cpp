#include "stats/DlatPanels.h"

#include "plot/TQVgraph.h"

void CalcDlatDist(AnalysisContext&, TQVgraph& graph) { graph.DataEnd = graph.DataFirst = 0; }
void ShowMSDvsDT(AnalysisContext&, TQVgraph& graph) { graph.DataEnd = graph.DataFirst = 0; }
