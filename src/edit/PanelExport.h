#pragma once
// The numbers behind the two graph panels, as text for a spreadsheet and as CSV.
#include <ostream>
#include <string>

class TQVgraph;

// "Save Graphs as (TXT)": both panels, point by point, X in 5 and Y in 4 significant
// digits. A panel that shows the MSD curve starts at point 1, and once the left panel
// starts there the right one does too.
void WritePanelsText(std::ostream& out, const TQVgraph& left, const TQVgraph& right,
                     bool leftShowsMSD, bool rightShowsMSD);

// "Save Graphs as CSV": UTF-8, one header line, the two panels side by side. Each panel
// gives its X column and one column per shown series, named "<panel>: <axis title>" and
// "<panel>: <axis title> [<series>]"; the rows are each panel's own points
// [DataFirst, DataEnd). Cells past a panel's last point, missing values and values that
// are not finite are empty, so the file loads as one table with gaps.
void WritePanelsCsv(std::ostream& out, const TQVgraph& left, const TQVgraph& right);
// The same table as text, its cells separated by `separator` (',' or '\t').
std::string PanelsTableText(const TQVgraph& left, const TQVgraph& right, char separator);
