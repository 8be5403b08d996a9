#pragma once
// How much of a protein is bound and how fast the rest moves: mixtures of 1, 2 and 3
// planar Brownian states fitted by maximum likelihood to the raw jump lengths of many
// short tracks at a few lags at once (the kinetic-model approach of Hansen et al., eLife
// 2018, "Spot-On"), the number of states chosen by the Bayesian information criterion.
//
// State i at lag t gives jumps of density p(r) = r / (2 a) exp(-r² / (4 a)) with
// a = D_i t + sigma², sigma the localisation error per coordinate, shared by all states.
// The log-likelihood is that of the squared lengths r² (an exponential density per
// state), which differs from that of r by a constant only and stays finite when jumps
// are exactly zero.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct JumpSet;
class ThreadPool;

inline constexpr int32_t kMaxJumpStates = 3;

struct JumpFitOptions {
  double dT = 0.03;     // s per frame
  double sigma = -1;    // µm; < 0: fitted (needs jumps at two lags or more)
  // Axial detection range in µm; > 0 corrects for particles that leave the focal slice
  // (see SliceSurvival.h): the fractions are then those of all jumps the states would
  // make in view of an endless slab. 0: no correction.
  double focalDepth = 0;
  // µm; > 0: longer jumps (mislinks) are left out and the densities cut there; the
  // fractions still count each state's jumps beyond the cut.
  double maxJump = 0;
  int32_t bootstrap = 0;  // resamplings of the tracks for the 95 % intervals; 0: none
  uint64_t seed = 1;
  int32_t shownLag = 1;             // the lag of the curves and of the note's jump count
  std::vector<double> binCentres = {};  // µm, where the curves are evaluated
  ThreadPool* pool = nullptr;       // null: everything on the calling thread
  // Called on the calling thread between the fits and the bootstrap's batches with the
  // share done; false stops the fit (the result is then marked cancelled).
  std::function<bool(double)> progress = {};
};

struct JumpInterval {
  double low = 0, high = 0;
};

struct JumpModel {
  int32_t states = 0;  // 0: not fitted
  double F[kMaxJumpStates] = {};  // fractions of jumps, summing to 1
  double D[kMaxJumpStates] = {};  // µm²/s, slow to fast
  double sigma = 0;               // µm
  double logLikelihood = 0;
  double bic = 0;
  int32_t parameters = 0;
  int32_t replicates = 0;  // bootstrap fits behind the intervals
  JumpInterval FInterval[kMaxJumpStates], DInterval[kMaxJumpStates], sigmaInterval;
  // At the shown lag, per µm of r, at the bin centres: the whole mixture and each state
  // (times jumps x bin width gives counts per bin).
  std::vector<double> density;
  std::vector<double> stateDensity[kMaxJumpStates];
};

struct JumpFitResult {
  JumpModel models[kMaxJumpStates];  // models[k - 1] has k states
  int32_t chosen = 0;                // states of the model BIC picks; 0: nothing fitted
  int32_t tracksUsed = 0;            // tracks with at least one jump in the fit
  int64_t jumpsUsed = 0;             // jumps at the shown lag
  int64_t jumpsFitted = 0;           // jumps at every lag
  int32_t shownLag = 1;
  bool sigmaFitted = false;
  // "F1=0.310 D1=0.0120µm2/s; F2=0.690 D2=3.95µm2/s; sigma=35.0nm (2 states by BIC,
  // 14316 tracks, 46282 jumps)"
  std::string note;
  std::string warning;  // empty, or why the fit is limited (shown to the user)
  bool cancelled = false;  // progress said stop: the result is incomplete
};

JumpFitResult FitJumpStates(const JumpSet& jumps, const JumpFitOptions& options);

// The note of the fit with `states` states ("... (2 states by BIC, ...)" for the one BIC
// picks, "... (3 states, ...)" for another).
std::string JumpNote(const JumpFitResult& result, int32_t states);
