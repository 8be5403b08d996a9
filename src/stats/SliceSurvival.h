#pragma once
// How many particles of one diffusive state stay in view of a microscope that sees only
// a slab of thickness `depth` along z: the particle is found at a uniformly random depth
// inside the slab at frame 0, moves by free diffusion in z (D, the same as in the plane)
// and is looked for at each frame. A track ends at the first frame that finds it
// outside; leaving and coming back between two frames goes unseen.
#include <cstdint>
#include <vector>

// survival[n] = probability of being inside at every frame 0 .. n, for n = 0 .. maxFrames
// (survival[0] = 1). The slab is cut into layers (at least three per step SD) and the
// z density carried from frame to frame with the Gaussian step averaged over each layer;
// past 256 frames the decay goes on at its last rate. D <= 0 or depth <= 0 (no slab)
// gives 1 everywhere.
void SliceSurvival(double D, double dT, double depth, int32_t maxFrames, double* survival);

// log SliceSurvival for any D, interpolated (cubic, in log of the step size over the
// depth) from a table built once over 16 steps per decade: the fit asks for thousands
// of D values. Below the table's smallest step the loss is taken as proportional to
// the step, as it is for steps far thinner than the slab.
class SliceSurvivalTable {
 public:
  SliceSurvivalTable(double dT, double depth, int32_t maxFrames);
  int32_t MaxFrames() const { return frames_; }
  // out[n] = log survival through frame n, n = 0 .. MaxFrames().
  void LogSurvival(double D, double* out) const;

 private:
  double dT_, depth_;
  int32_t frames_;
  std::vector<double> table_;  // [point * (frames_ + 1) + n]
};
