#include "stats/ResampleSums.h"

#include <cstring>

namespace {

// Eight lanes of doubles: one AVX-512 register, or several narrower ones.
using Lanes = double __attribute__((vector_size(64)));
using ByteLanes = uint8_t __attribute__((vector_size(8)));
using IntLanes = int32_t __attribute__((vector_size(32)));
using WordLanes = uint64_t __attribute__((vector_size(64)));

// `G` lags at once from column `first`, their running sums kept in registers.
template <int G>
inline __attribute__((always_inline)) void SumLags(const uint8_t* counts, const double* rows,
                                                   int64_t n, int32_t width, int32_t first,
                                                   double* sums) {
  Lanes acc[G];
  for (int g = 0; g < G; ++g) acc[g] = Lanes{};
  for (int64_t i = 0; i < n; ++i) {
    ByteLanes bytes;
    std::memcpy(&bytes, counts + i * kResampleLanes, sizeof bytes);
    const Lanes c = __builtin_convertvector(__builtin_convertvector(bytes, IntLanes), Lanes);
    const double* row = rows + i * width + first;
    for (int g = 0; g < G; ++g) acc[g] = acc[g] + c * row[g];
  }
  std::memcpy(sums + first * kResampleLanes, acc, sizeof acc);
}

}  // namespace

// Built for AVX-512, AVX2 and the baseline; the loader picks the one the processor runs.
__attribute__((target_clones("avx512f", "avx2", "default"))) void WeightedRowSums(
    const uint8_t* counts, const double* rows, int64_t n, int32_t width, double* sums) {
  int32_t first = 0;
  // Up to ten lags per pass over the rows keeps the sums in registers.
  for (; width - first > 10; first += 8) SumLags<8>(counts, rows, n, width, first, sums);
  switch (width - first) {
    case 10: SumLags<10>(counts, rows, n, width, first, sums); break;
    case 9: SumLags<9>(counts, rows, n, width, first, sums); break;
    case 8: SumLags<8>(counts, rows, n, width, first, sums); break;
    case 7: SumLags<7>(counts, rows, n, width, first, sums); break;
    case 6: SumLags<6>(counts, rows, n, width, first, sums); break;
    case 5: SumLags<5>(counts, rows, n, width, first, sums); break;
    case 4: SumLags<4>(counts, rows, n, width, first, sums); break;
    case 3: SumLags<3>(counts, rows, n, width, first, sums); break;
    case 2: SumLags<2>(counts, rows, n, width, first, sums); break;
    case 1: SumLags<1>(counts, rows, n, width, first, sums); break;
    default: break;
  }
}

namespace {

// The eight streams side by side in vector lanes; the counting stays scalar.
inline __attribute__((always_inline)) bool CountDrawsIn(uint64_t seed, uint64_t first, int lanes,
                                                        uint32_t n, uint8_t* counts) {
  WordLanes state;
  for (int lane = 0; lane < kResampleLanes; ++lane)
    state[lane] = ResampleStream::Start(seed, first + static_cast<uint64_t>(lane));
  uint8_t overflow = 0;
  for (uint32_t d = 0; d < n; ++d) {
    state += ResampleStream::kStep;
    WordLanes z = state;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    z = z ^ (z >> 31);
    const WordLanes draw = (((z >> 32) * n) + (((z & 0xFFFFFFFFull) * n) >> 32)) >> 32;
    for (int lane = 0; lane < lanes; ++lane) {
      uint8_t& c = counts[draw[lane] * kResampleLanes + static_cast<uint64_t>(lane)];
      overflow |= static_cast<uint8_t>(c == 255);
      ++c;
    }
  }
  return overflow == 0;
}

// 64-bit lane products need AVX-512DQ, which target_clones cannot name: chosen by hand.
__attribute__((target("avx512f,avx512dq"))) bool CountDrawsAvx512(uint64_t seed, uint64_t first,
                                                                  int lanes, uint32_t n,
                                                                  uint8_t* counts) {
  return CountDrawsIn(seed, first, lanes, n, counts);
}

bool CountDrawsBaseline(uint64_t seed, uint64_t first, int lanes, uint32_t n, uint8_t* counts) {
  return CountDrawsIn(seed, first, lanes, n, counts);
}

}  // namespace

bool CountDraws(uint64_t seed, uint64_t first, int lanes, uint32_t n, uint8_t* counts) {
  static const bool avx512 =
      __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq");
  return avx512 ? CountDrawsAvx512(seed, first, lanes, n, counts)
                : CountDrawsBaseline(seed, first, lanes, n, counts);
}
