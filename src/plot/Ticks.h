#pragma once
// Tick spacing and tick labels shared by every chart.
#include <string>

// The 1-2-5 tick distance for `ticks` ticks over `range`; 1 when ticks is 0.
double NiceTickDistance(double range, double ticks);

// The label of one tick. Its decimals follow the magnitude of the value itself:
// four below 0.1, three below 1, two below 10, one below 100, none from 100 on.
std::string FormatTickLabel(double value);

// An axis range that can be drawn. Not numbers or reversed: 0 .. 1. Empty: 0 .. 1 at
// zero, else widened by a tenth of the value to either side.
void DrawableRange(double& first, double& last);
