#include "cli/PanelText.h"

#include "plot/TQVgraph.h"

void WritePanelNotes(std::ostream& out, const char* side, const TQVgraph& graph) {
  out << side << ".caption: " << graph.Caption << '\n'
      << side << ".xtitle: " << graph.XTitle << '\n'
      << side << ".y0title: " << graph.Y0Title << '\n'
      << side << ".y1title: " << graph.Y1Title << '\n';
  for (int i = 0; i < 3; ++i) out << side << ".note" << i << ": " << graph.Notes[i] << '\n';
}
