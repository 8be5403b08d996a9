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
