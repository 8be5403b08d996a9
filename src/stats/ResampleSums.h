#pragma once
// The two building blocks of the track bootstrap: the draws of one resample and the
// count-weighted sums of per-track rows over eight resamples at once.
#include <cstdint>

// Draws of one resample: a stream fixed by (seed, resample index) alone, so a resample
// is the same whichever thread makes it and however many there are.
class ResampleStream {
 public:
  ResampleStream(uint64_t seed, uint64_t resample) : state_(Mix(seed ^ Mix(resample + 1))) {}

  // Uniform integer in [0, n), n >= 1, without bias (multiply-shift with rejection).
  uint32_t Below(uint32_t n) {
    uint64_t m = uint64_t{Next32()} * n;
    if (static_cast<uint32_t>(m) < n) {
      const uint32_t threshold = (0u - n) % n;
      while (static_cast<uint32_t>(m) < threshold) m = uint64_t{Next32()} * n;
    }
    return static_cast<uint32_t>(m >> 32);
  }

 private:
  static uint64_t Mix(uint64_t z) {  // the splitmix64 finaliser
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  uint32_t Next32() {
    if (spare_) {
      spare_ = false;
      return half_;
    }
    state_ += 0x9E3779B97F4A7C15ull;
    const uint64_t z = Mix(state_);
    half_ = static_cast<uint32_t>(z >> 32);
    spare_ = true;
    return static_cast<uint32_t>(z);
  }
  uint64_t state_;
  uint32_t half_ = 0;
  bool spare_ = false;
};

// Resamples summed side by side by WeightedRowSums.
inline constexpr int kResampleLanes = 8;

// sums[k * 8 + lane] = sum over i = 0 .. n-1, in that order, of
// counts[i * 8 + lane] x rows[i * width + k], for k < width, in double. Each lane and
// lag is its own running sum, so every instruction set gives the same bits.
void WeightedRowSums(const uint8_t* counts, const double* rows, int64_t n, int32_t width,
                     double* sums);
