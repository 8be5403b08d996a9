#include "stats/ResampleSums.h"

#include <cstring>

namespace {

// Eight lanes of doubles: one AVX-512 register, or several narrower ones.
using Lanes = double __attribute__((vector_size(64)));
using ByteLanes = uint8_t __attribute__((vector_size(8)));
using IntLanes = int32_t __attribute__((vector_size(32)));

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
  // Eight lags per pass over the rows keeps the sums in registers.
  for (; first + 8 <= width; first += 8) SumLags<8>(counts, rows, n, width, first, sums);
  switch (width - first) {
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
