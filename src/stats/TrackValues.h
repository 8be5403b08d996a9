#pragma once
// Per-track values: MSD and Dlat, average velocity, mean intensity, intensity drop.
#include <cstdint>

struct SpotRec;
struct Settings;

// The menu toggles that change how pairs of points are taken.
struct PairRules {
  bool IndependentPairs = false;  // non-overlapping pairs only
  bool AbsoluteXspeed = false;    // steps towards smaller X count negative
};

// MSD[k] and Dk[k] for k = 1 .. n/2 - 1 (slot 0 untouched); returns the mean of
// Dk[2 .. n/2 - 1]. Both arrays must hold at least max(n/2, 1) floats; n is clipped
// to kMaxPoints. Tracks of fewer than 6 points give NaN. Safe to call from several
// threads at once with different output arrays.
double CalcTrackMSD(const float* x, const float* y, int32_t n, float lag, float* Dk, float* MSD,
                    bool independentPairs);
// The same with the plain scalar loops, one lag after the other: the reference the
// vector kernels are checked and timed against.
double CalcTrackMSDReference(const float* x, const float* y, int32_t n, float lag, float* Dk,
                             float* MSD, bool independentPairs);

// Which loops CalcTrackMSD and FindIntensityDrop run. All give the same results bit for
// bit; the fastest the processor has is chosen at start.
enum class KernelSet { Reference, Sse2, Avx2, Avx512 };
// False (and nothing changed) when the processor lacks the set.
bool SelectKernels(KernelSet set);
KernelSet ActiveKernels();

// Average velocity over steps of `velocityStep` frames (0 when no step fits).
double CalcTrackVelocity(const SpotRec& track, const Settings& settings, const PairRules& rules);

// The instant velocity of the step from point i to point i + s taking the time T: the
// distance in double, divided, rounded to float; negative towards smaller X with
// absoluteX.
float InstantVelocity(const SpotRec& track, int32_t i, int32_t s, float T, bool absoluteX);

// Mean intensity over all frames.
float AverageIntensity(const SpotRec& track);

// Finds the largest intensity drop between two windows of `window` frames and sets
// StepIndex, IntBefore, IntAfter and STest.
void FindIntensityDrop(SpotRec& track, int32_t window);
void FindIntensityDropReference(SpotRec& track, int32_t window);

// Work arrays for CalcTrackMSD, one lag per slot.
struct MsdScratch {
  float MSD[10000];
  float Dk[10000];
};

// Dcve, SigmaCve and Alpha of a track whose MSD curve CalcTrackMSD has just left in `MSD`
// under the current pair rule.
void SetCovarianceValues(SpotRec& track, const Settings& settings, const PairRules& rules,
                         const float* MSD);

// AverInt, Dlat, AverVel and the intensity drop, in that order, as on load (with the
// covariance values after Dlat).
void ComputeTrackValues(SpotRec& track, const Settings& settings, const PairRules& rules,
                        MsdScratch& scratch);
// Work arrays for ComputeTrackValuesBatch: MSD arrays and velocity terms per track.
struct BatchScratch {
  static constexpr int kTracks = 4;
  MsdScratch Msd[kTracks];
  double Terms[kTracks][10000];
  float Window[10000];  // the intensity window sums of one track at a time
};
// ComputeTrackValues for up to BatchScratch::kTracks tracks at once (the sums of the
// tracks interleaved, the same values as one by one).
void ComputeTrackValuesBatch(SpotRec* const* tracks, int count, const Settings& settings,
                             const PairRules& rules, BatchScratch& scratch);
// The same with the plain loops only.
void ComputeTrackValuesReference(SpotRec& track, const Settings& settings, const PairRules& rules,
                                 MsdScratch& scratch);
// Dlat and AverVel only, after coordinates or time settings change.
void RecomputeMobility(SpotRec& track, const Settings& settings, const PairRules& rules,
                       MsdScratch& scratch);
