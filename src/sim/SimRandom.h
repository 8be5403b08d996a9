#pragma once
// The simulator's random source. std::mt19937_64 is defined bit for bit by the
// language, but the standard distributions are not, so the transforms are our own:
// uniform doubles from the top 53 bits, normals by Box-Muller, exponentials by
// inversion. The same seed therefore gives the same tracks with any standard library.
#include <cstdint>
#include <random>

class SimRandom {
 public:
  explicit SimRandom(uint64_t seed) : engine_(seed) {}

  // [0, 1) with 53 random bits.
  double Uniform();
  double Uniform(double lo, double hi) { return lo + (hi - lo) * Uniform(); }
  // Integer in [lo, hi], both included, without modulo bias; lo when hi < lo.
  int32_t UniformInt(int32_t lo, int32_t hi);
  // Standard normal (mean 0, SD 1); Box-Muller, the second value kept for the next call.
  double Normal();
  // Exponential with the given mean.
  double Exponential(double mean);

 private:
  std::mt19937_64 engine_;
  bool hasSpare_ = false;
  double spare_ = 0;
};
