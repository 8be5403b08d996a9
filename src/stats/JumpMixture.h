#pragma once
// The maximum-likelihood engine behind FitJumpStates: a mixture of planar Brownian
// states fitted to squared jump lengths by expectation-maximisation, sped up by squared
// extrapolation (SQUAREM, Varadhan & Roland 2008). The E step is one pass over the
// jumps; the M step sees only per-class sums, so it is cheap, and NLopt solves it within
// the bounds (D >= 0, sigma >= its floor): L-BFGS with exact gradients for D and sigma
// (the fractions then follow in closed form), or BOBYQA for fractions, D and sigma
// together when the slice correction or the cut ties the fractions to D.
#include <cstdint>
#include <vector>

struct JumpSet;
class SliceSurvivalTable;
class ThreadPool;

inline constexpr int32_t kMixtureMaxStates = 3;

// The jumps regrouped by class: jumps of one class share the lag and, when the slice
// correction is on, the end point in their track (which sets how long the particle had
// to stay in view).
struct JumpClasses {
  struct Piece {
    int32_t cls;
    int64_t from, to;
  };
  std::vector<int32_t> lag, end;  // per class; end is 0 when classes ignore it
  std::vector<int64_t> first;     // class c holds jumps first[c] .. first[c + 1] - 1
  std::vector<float> r2;          // µm², in class order
  std::vector<int32_t> track;
  std::vector<Piece> pieces;  // the units of parallel work, in class order
  int32_t maxEnd = 0;
  int32_t Classes() const { return static_cast<int32_t>(lag.size()); }
  int64_t Jumps() const { return static_cast<int64_t>(r2.size()); }
};

// Jumps with r² <= maxR2, grouped by lag (and end point when byEnd); every stride-th
// jump of each class when stride > 1.
JumpClasses GroupJumps(const JumpSet& jumps, bool byEnd, double maxR2);
JumpClasses Subsample(const JumpClasses& all, int64_t stride);

struct MixtureModel {
  int32_t K = 1;
  double F[kMixtureMaxStates] = {1, 0, 0};
  double D[kMixtureMaxStates] = {};
  double s = 0;  // sigma², µm²
};

struct MixtureSetup {
  double dT = 0.03;
  bool fitSigma = true;
  double sMin = 1e-12, sMax = 1;  // bounds of sigma²
  double DMax = 1e6;
  double maxR2 = 0;      // truncation of the densities; <= 0: none
  // The slice correction: survival by end point for any D; null: none. Must reach the
  // classes' largest end point.
  const SliceSurvivalTable* survival = nullptr;
  double aRef = 1e-3;    // typical D t + sigma², µm², for scaling
};

class MixtureFitter {
 public:
  MixtureFitter(const JumpClasses& classes, const MixtureSetup& setup)
      : classes_(classes), setup_(setup) {}

  // When a cycle of EM steps counts as the last: the scaled parameters moved less than
  // `move` (relative, or absolute below 1e-3), or the log-likelihood rose by less than
  // `gain`; or `cycles` have run.
  struct Limits {
    double move = 1e-7;
    double gain = 1e-4;
    int32_t cycles = 400;
  };
  // EM from `model` within `limits`; leaves the result in `model` and returns its
  // log-likelihood. `trackWeights` (per track index, or null for 1) repeat a track's
  // jumps, for the bootstrap. A null pool runs on the calling thread; the sums are
  // taken piece by piece in a fixed order, so the result is the same either way.
  double Fit(MixtureModel& model, const int32_t* trackWeights, ThreadPool* pool,
             const Limits& limits) const;

  // Share of state i among the jumps of class c (log), for the densities.
  void ClassLogShares(const MixtureModel& model, std::vector<double>& logShare) const;

  struct Sums {
    double logLikelihood = 0;
    std::vector<double> n, W, X;  // per class; W and X per class and state
  };
  // One E step: the log-likelihood at `model` and the posterior sums.
  void EStep(const MixtureModel& model, const int32_t* trackWeights, ThreadPool* pool,
             Sums& sums) const;

 private:
  void MStep(const Sums& sums, MixtureModel& model) const;

  const JumpClasses& classes_;
  MixtureSetup setup_;
};

// The observed-jump density of r (per µm) for a state with a = D t + sigma², truncated
// at maxR2 when that is > 0.
double StateJumpDensity(double r, double a, double maxR2);
