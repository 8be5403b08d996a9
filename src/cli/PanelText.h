#pragma once
// The texts of a panel as kinetra-batch --notes prints them.
#include <ostream>

class TQVgraph;

// "left.caption: TEXT" ... "left.note2: TEXT", one line each (UTF-8).
void WritePanelNotes(std::ostream& out, const char* side, const TQVgraph& graph);
