#include "stats/Analysis.h"

#include <algorithm>

#include "plot/TQVgraph.h"

void CopyRowsToPanel(const AnalysisContext& context, TQVgraph& graph, int rows) {
  if (!graph.Data) return;
  const int length = std::min(graph.Stride, kRowLength);
  for (int r = 0; r < rows && r < kWorkRows; ++r)
    std::copy(context.WorkRow(r), context.WorkRow(r) + length,
              graph.Data + static_cast<size_t>(r) * graph.Stride);
}

void AnalysisRegisters::Record(const PanelResults& results) {
  if (results.AverDlat) AverDlat = *results.AverDlat;
  if (results.DlatSD) DlatSD = *results.DlatSD;
  if (results.NMSDPoints) NMSDPoints = *results.NMSDPoints;
  if (results.FitSlope) FitSlope = *results.FitSlope;
  if (results.AverIntens) AverIntens = *results.AverIntens;
  if (results.IntensSD) IntensSD = *results.IntensSD;
  if (results.GaussMax) GaussMax = *results.GaussMax;
  if (results.AverVelDist) AverVelDist = *results.AverVelDist;
  if (results.AverInstVel) AverInstVel = *results.AverInstVel;
  if (results.AverAngle) AverAngle = *results.AverAngle;
}
