#pragma once
// The two building blocks of the track bootstrap: the draws of one resample and the
// count-weighted sums of per-track rows over eight resamples at once.
#include <cstdint>

// Draws of one resample: a stream fixed by (seed, resample index) alone, so a resample
// is the same whichever thread makes it and however many there are. One splitmix64
// output per draw, scaled to [0, n) by floor(z n / 2^64): no rejection (so eight streams
// run in step), a bias below n / 2^64.
class ResampleStream {
 public:
  static constexpr uint64_t kStep = 0x9E3779B97F4A7C15ull;

  ResampleStream(uint64_t seed, uint64_t resample) : state_(Start(seed, resample)) {}
  uint32_t Below(uint32_t n) {
    state_ += kStep;
    return Scale(Mix(state_), n);
  }

  static uint64_t Start(uint64_t seed, uint64_t resample) { return Mix(seed ^ Mix(resample + 1)); }
  static uint64_t Mix(uint64_t z) {  // the splitmix64 finaliser
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  // floor(z n / 2^64) exactly, from the 32-bit halves of z.
  static uint32_t Scale(uint64_t z, uint32_t n) {
    const uint64_t low = (z & 0xFFFFFFFFull) * n, high = (z >> 32) * n;
    return static_cast<uint32_t>((high + (low >> 32)) >> 32);
  }

 private:
  uint64_t state_;
};

// Resamples summed side by side by WeightedRowSums.
inline constexpr int kResampleLanes = 8;

// sums[k * 8 + lane] = sum over i = 0 .. n-1, in that order, of
// counts[i * 8 + lane] x rows[i * width + k], for k < width, in double. Each lane and
// lag is its own running sum, so every instruction set gives the same bits.
void WeightedRowSums(const uint8_t* counts, const double* rows, int64_t n, int32_t width,
                     double* sums);

// The n draws from [0, n) of each resample first .. first + lanes - 1 (lanes <= 8, the
// streams of ResampleStream), counted into counts[i * 8 + lane], which start at 0.
// False when a count passed 255 (then the counts are of no use).
bool CountDraws(uint64_t seed, uint64_t first, int lanes, uint32_t n, uint8_t* counts);
