#include "edit/PanelExport.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <vector>

#include "edit/TableText.h"
#include "edit/TextExport.h"
#include "plot/TQVgraph.h"
#include "store/Numbers.h"

namespace {

// Row r, point i of a panel's matrix; 0 for a cell the matrix does not hold, as the
// graph itself reads it.
float Cell(const TQVgraph& graph, int r, int i) {
  const int rows =
      graph.DataRows > 0 ? graph.DataRows : std::clamp(graph.SeriesCount, 0, kMaxSeries) + 1;
  if (!graph.Data || r < 0 || r >= rows || i < 0 || i >= graph.Stride) return 0;
  return graph.Data[static_cast<size_t>(r) * static_cast<size_t>(graph.Stride) + i];
}

// One past the last point that can be read.
int PointEnd(const TQVgraph& graph) {
  return graph.Data ? std::clamp(graph.DataEnd, 0, std::max(graph.Stride, 0)) : 0;
}

void WriteSection(std::ostream& out, const TQVgraph& graph, int firstRow, int lastSeries,
                  bool nudgeX) {
  const int end = PointEnd(graph);
  for (int r = firstRow; r < end; ++r) {
    double x = Cell(graph, 0, r);
    if (nudgeX) x += 1e-8;
    std::string line = FormatG(x, 5);
    for (int s = 1; s <= lastSeries; ++s)
      if (graph.Series[s].Show) line += "\t" + FormatG(Cell(graph, s, r), 4);
    line += "\n";
    WriteExportText(out, line);
  }
}

int SeriesShown(const TQVgraph& graph) { return std::clamp(graph.SeriesCount, 0, kMaxSeries); }

// A panel value as a table cell: empty for a missing value.
std::string CsvNumber(float value) {
  return value <= kMissingValue ? std::string() : TableText::Float(value);
}

struct CsvPanel {
  const TQVgraph& graph;
  std::string name;
  std::vector<int> series;  // shown series, in order
  int first = 0, end = 0;
};

CsvPanel DescribePanel(const TQVgraph& graph, const char* name) {
  CsvPanel panel{graph, name, {}, 0, 0};
  for (int s = 1; s <= SeriesShown(graph); ++s)
    if (graph.Series[s].Show) panel.series.push_back(s);
  panel.end = PointEnd(graph);
  panel.first = std::clamp(graph.DataFirst, 0, panel.end);
  return panel;
}

}  // namespace

void WritePanelsText(std::ostream& out, const TQVgraph& left, const TQVgraph& right,
                     bool leftShowsMSD, bool rightShowsMSD) {
  WriteExportText(out, "Left Panel Graphs\nX-axis\tY-data->\n");
  // Row 0 of the MSD panel is lag 0; it is left out.
  int firstRow = leftShowsMSD ? 1 : 0;
  // The left panel always offers five series, whatever its count.
  WriteSection(out, left, firstRow, 5, false);
  WriteExportText(out, "\n\nRight Panel Graphs\nX-axis\tY-data->\n");
  // Never reset between the panels: a left MSD panel also skips the right panel's row 0.
  if (rightShowsMSD) firstRow = 1;
  // Its X values are nudged by 1e-8 before formatting.
  WriteSection(out, right, firstRow, SeriesShown(right), true);
}

std::string PanelsTableText(const TQVgraph& left, const TQVgraph& right, char separator) {
  const CsvPanel panels[2] = {DescribePanel(left, "Left"), DescribePanel(right, "Right")};
  std::string text;
  int rows = 0;
  for (const CsvPanel& panel : panels) {
    if (!text.empty()) text += separator;
    text += TableText::Quoted(panel.name + ": " + panel.graph.XTitle, separator);
    for (int s : panel.series) {
      const SeriesRec& series = panel.graph.Series[s];
      const std::string& title = !series.Name.empty() ? series.Name
                                 : series.RightAxis ? panel.graph.Y1Title
                                                    : panel.graph.Y0Title;
      text += separator +
              TableText::Quoted(panel.name + ": " + title + " [" + std::to_string(s) + "]", separator);
    }
    rows = std::max(rows, panel.end - panel.first);
  }
  text += "\n";
  for (int j = 0; j < rows; ++j) {
    for (int p = 0; p < 2; ++p) {
      const CsvPanel& panel = panels[p];
      if (p > 0) text += separator;
      const int i = panel.first + j;
      const bool has = i < panel.end;
      if (has) text += CsvNumber(Cell(panel.graph, 0, i));
      for (int s : panel.series) {
        text += separator;
        if (has) text += CsvNumber(Cell(panel.graph, s, i));
      }
    }
    text += "\n";
  }
  return text;
}

void WritePanelsCsv(std::ostream& out, const TQVgraph& left, const TQVgraph& right) {
  out << PanelsTableText(left, right, ',');
}
