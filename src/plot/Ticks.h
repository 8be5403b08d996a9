#pragma once
// Tick spacing and tick labels shared by every chart.
#include <string>

// The 1-2-5 tick distance for `ticks` ticks over `range`; 1 when ticks is 0.
double NiceTickDistance(double range, double ticks);
