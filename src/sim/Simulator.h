#pragma once
// Simulated tracks with known physics, for the sample file, the tests and the
// benchmarks. Every track is made from a SimRandom, so a seed reproduces it exactly.
//
// Units: positions in µm (absolute, as in a 2016-layout file), time in s, D in µm²/s,
// velocity in µm/s, intensity in counts. The header position PosX/PosY is in units of
// 0.1 µm, the unit the program assumes for it, truncated from the first point.
#include <cstdint>
#include <utility>
#include <vector>

#include "sim/SimRandom.h"

struct SimTrack {
  int32_t PosX = 0;
  int32_t PosY = 0;
  int32_t FirstFrame = 0;
  int32_t NPoints = 0;
  std::vector<float> Int;  // NPoints each
  std::vector<float> X;
  std::vector<float> Y;
};

// Where and when a track starts.
struct TrackStart {
  int32_t nPoints = 100;
  int32_t firstFrame = 0;
  double x = 10;  // µm
  double y = 10;
};

// A stretch of frames with one kind of motion: drift at `velocity` along `direction`
// (radians, counter-clockwise from +X) plus diffusion D, i.e. per frame and axis a
// step of velocity·dT·(cos, sin) + N(0, sqrt(2·D·dT)).
struct MotionPhase {
  int32_t frames = 0;  // steps in this phase; the last phase runs to the end of the track
  double D = 0;
  double velocity = 0;
  double direction = 0;
};

// Motor-like stepping: instantaneous steps of `stepSize` along `direction` after
// exponentially distributed dwell times of mean `meanDwell`.
struct SteppingMotion {
  double stepSize = 0.008;  // µm (8 nm)
  double meanDwell = 0.16;  // s
  double direction = 0;
};

// A base level with Gaussian noise and at most one step (a bleaching drop, or a rise
// for a spot that lands) to `levelAfter` from point index `stepIndex` on.
struct IntensityPlan {
  double level = 100;
  double noise = 5;        // SD, counts
  int32_t stepIndex = -1;  // < 0: no step
  double levelAfter = 0;
};

// Tracks with zeroed intensities; the header position is taken from the start.
SimTrack MakeStillTrack(const TrackStart& start);
SimTrack MakePhasedTrack(SimRandom& random, const TrackStart& start,
                         const std::vector<MotionPhase>& phases, double dT);
SimTrack MakeBrownianTrack(SimRandom& random, const TrackStart& start, double D, double dT);
SimTrack MakeDirectedTrack(SimRandom& random, const TrackStart& start, double velocity,
                           double direction, double D, double dT);
SimTrack MakeSteppingTrack(SimRandom& random, const TrackStart& start, const SteppingMotion& motion,
                           double dT);

// Fills the track's intensities.
void AddIntensity(SimRandom& random, SimTrack& track, const IntensityPlan& plan);
// Adds N(0, sd) to every coordinate: the localisation error of the spot detection.
void AddLocalisationNoise(SimRandom& random, SimTrack& track, double sd);

// Two spots (two colours) that run together for a known stretch. The first track
// diffuses with D; while joint (frames jointStart .. jointStart + jointFrames - 1,
// clipped to the overlap of the two tracks) the second sits `separation` µm from it
// (plus 0.01 µm noise), before and after it keeps at least 0.25 µm away and recedes
// by 0.05 µm per frame, so the joint stretch is exactly the frames closer than 0.2 µm.
struct BindingPlan {
  TrackStart first;
  int32_t secondFirstFrame = 0;
  int32_t secondPoints = 100;
  int32_t jointStart = 30;  // frame number
  int32_t jointFrames = 40;
  double D = 0.05;
  double separation = 0.05;  // µm
};
struct BindingPair {
  SimTrack first;
  SimTrack second;
  int32_t jointStart = 0;  // frame number, after clipping
  int32_t jointFrames = 0;
};
BindingPair MakeBindingPair(SimRandom& random, const BindingPlan& plan, double dT);

// Stage drift shared by every track: a steady velocity plus a diffusive wander.
struct StageDrift {
  double vx = 0;  // µm/s
  double vy = 0;
  double D = 0;  // µm²/s of the wander
  bool Any() const { return vx != 0 || vy != 0 || D != 0; }
};
// Offset of the stage at each frame number 0 .. frames-1, relative to frame 0.
struct DriftPath {
  std::vector<double> x;
  std::vector<double> y;
};
DriftPath MakeDriftPath(SimRandom& random, const StageDrift& drift, int32_t frames, double dT);
// Adds the path to every point; frames past its end take its last offset.
void ApplyDrift(std::vector<SimTrack>& tracks, const DriftPath& path);

// True when the two tracks stay closer than `distance` µm for `frames` frames in a row
// (frames at least 1; only frames both tracks cover count).
bool RunsTogether(const SimTrack& a, const SimTrack& b, double distance, int32_t frames);

// A whole population, as the command line describes it. Single tracks come first
// (Brownian, directed and stepping, spread evenly), with the first member of each
// binding pair after the first half of them and the second members at the end, so a
// file written from it has every first member among its first ceil(K/2) tracks.
struct PopulationPlan {
  uint64_t seed = 1;
  bool mixed = false;    // the preset below; only seed, dT and drift then apply
  int32_t tracks = 100;  // single tracks
  int32_t points = 200;
  double dT = 0.03;
  double D = 0.1;         // every track diffuses with it, directed ones too
  double velocity = 1.0;  // directed and stepping tracks
  double direction = -1;  // radians; < 0: a random direction per track
  double directedFraction = 0;
  double steppingFraction = 0;
  double stepSize = 0.008;  // µm
  double bleachFraction = 0;
  int32_t pairs = 0;
  double intensity = 100;
  double intensityNoise = 5;
  double localisationNoise = 0;  // µm
  double fieldSize = 50;         // µm, square field the tracks start in
  // Non-empty: `tracks` particles moving in these Brownian states (D, share) instead
  // of the single tracks and pairs above (see StateTracks.h); seed, dT, localisation
  // noise, field, intensity and drift apply.
  std::vector<std::pair<double, double>> states = {};
  std::vector<double> switchRates = {};  // 1/s, K x K row-major; empty: none
  double meanPoints = 5;  // mean track length of state tracks, >= 2
  double focalDepth = 0;  // µm; > 0: tracks end where particles leave the slice
  StageDrift drift;
  // The diffusing tracks (not the directed or stepping ones) as fractional Brownian
  // motion with MSD = 4 D t^alpha, and/or blurred over each frame interval
  // (FractionalMotion.h); alpha 1 without blur keeps the plain random walk.
  double alpha = 1;
  bool blur = false;
};

// Sub-steps a blurred frame averages: blur coefficient 399/2400, within 0.3 % of 1/6.
inline constexpr int32_t kBlurSubsteps = 20;

// The mixed preset: 340 single tracks (Brownian at D = 0.01, 0.05 and 0.15, directed
// at 1.5 and 3 µm/s, stop-and-go, 8 nm stepping, landings; about 30 % with a
// bleaching step; 20..400 points; levels 30..200 counts) and 10 binding pairs. No two
// of its tracks come within 0.3 µm for 5 frames in a row except the pairs while joint
// (a track that would is drawn again), so the pairs are the only ones to be found.
std::vector<SimTrack> MakePopulation(const PopulationPlan& plan);

// Evenly spread choice of `count` of `total` items: true for item i when the running
// share floor((i + 1)·count/total) steps up there.
bool EvenlyChosen(int32_t i, int32_t count, int32_t total);
