#pragma once
// Headless views of the two panels: their texts and their drawn rows.
#include <ostream>

class TQVgraph;

// "left.caption: TEXT" ... "left.note2: TEXT", one line each (UTF-8).
void WritePanelNotes(std::ostream& out, const char* side, const TQVgraph& graph);

// "# left" then a header (X and each series by number) and one tab-separated line
// per point from DataFirst to DataEnd, floats with 9 significant digits.
void WritePanelRows(std::ostream& out, const char* side, const TQVgraph& graph);
