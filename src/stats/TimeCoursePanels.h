#pragma once
// Time courses over the selected tracks: distance from the start, instant velocity and
// intensity against time, each with the number of tracks present on the right axis.
// "All Trajectories at 0 time" aligns every track at its own first frame; otherwise
// tracks sit at their absolute frames, counted from the earliest selected start.
#include "stats/Analysis.h"

// "Show Distance ver Time": the mean squared distance from each track's first point,
// its straight-line fit (MSD = 4 D t) and the survival of tracks fitted for the dwell
// time Tau and the off-rate.
PanelResults CalcDistanceTimeCourse(AnalysisContext& context, TQVgraph& graph);

// "Show Vel. ver Time": the mean instant velocity over VelocityStep frames.
PanelResults CalcVelocityTimeCourse(AnalysisContext& context, TQVgraph& graph);

// "Show Intens ver Time": the mean intensity, fitted from its peak on for a bleaching time.
PanelResults CalcIntensityTimeCourse(AnalysisContext& context, TQVgraph& graph);
