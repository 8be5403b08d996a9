#include "cli/PanelText.h"

#include <algorithm>
#include <cmath>

#include "plot/TQVgraph.h"
#include "store/Numbers.h"

void WritePanelNotes(std::ostream& out, const char* side, const TQVgraph& graph) {
  out << side << ".caption: " << graph.Caption << '\n'
      << side << ".xtitle: " << graph.XTitle << '\n'
      << side << ".y0title: " << graph.Y0Title << '\n'
      << side << ".y1title: " << graph.Y1Title << '\n';
  for (int i = 0; i < 3; ++i) out << side << ".note" << i << ": " << graph.Notes[i] << '\n';
}

void WritePanelRows(std::ostream& out, const char* side, const TQVgraph& graph) {
  out << "# " << side << '\n' << 'X';
  const int series = std::clamp(graph.SeriesCount, 0, kMaxSeries);
  for (int s = 1; s <= series; ++s) out << "\tS" << s;
  out << '\n';
  if (!graph.Data) return;
  const int first = std::max(graph.DataFirst, 0);
  const int end = std::min(graph.DataEnd, graph.Stride);
  for (int i = first; i < end; ++i) {
    for (int r = 0; r <= series; ++r) {
      const float v = graph.Data[static_cast<size_t>(r) * graph.Stride + i];
      if (r > 0) out << '\t';
      out << (std::isnan(v) ? std::string("nan") : FormatG(v, 9));
    }
    out << '\n';
  }
}
