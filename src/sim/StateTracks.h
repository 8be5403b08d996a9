#pragma once
// Short tracks of particles that move in a few Brownian states, as in live-cell
// single-molecule tracking: geometric track lengths from 2 points up, switching between
// states at given rates (or none), and optionally a thin focal slice that particles
// leave by diffusing in z.
#include <cstdint>
#include <vector>

#include "sim/Simulator.h"

struct DiffusiveState {
  double D = 0;         // µm²/s, in x, y and z alike
  double fraction = 0;  // share of particles that start in this state
};

struct StateTrackPlan {
  std::vector<DiffusiveState> states = {};  // fractions are taken relative to their sum
  // Rates in 1/s of switching from state i to j at [i * K + j] (the diagonal is
  // ignored); empty: no switching.
  std::vector<double> switchRates = {};
  int32_t particles = 1000;
  double meanPoints = 5;  // mean track length, >= 2; lengths are 2 + a geometric count
  double dT = 0.03;
  double localisationNoise = 0;  // µm, SD per coordinate
  // µm; > 0: the particle starts at a uniformly random depth in a slice this thick and
  // its track ends at the first point outside (a track left with one point is dropped).
  double focalDepth = 0;
  double fieldSize = 50;  // µm, square field the tracks start in
};

// One track per particle (fewer when the slice drops some), intensities zero. Within a
// frame the state may switch; the step is then the sum of the pieces' Gaussian steps.
std::vector<SimTrack> MakeStateTracks(SimRandom& random, const StateTrackPlan& plan);
