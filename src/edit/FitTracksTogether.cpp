// Fit Tracks Together without going through the points in most passes, leaving every float
// as the plain passes leave it.
//
// A pass shifts track T by mx = sx / n, sx being the sum in double, in point order, of the
// float differences T[j] - R[j] to the reference R. Each coordinate of each track (a lane)
// is kept as the values last written to the store minus one exact shift per binade, and
// a pass is done on those few numbers when all of this holds:
//  - the lane's values and the reference's first n values are positive and lie within
//    less than 2^(e+1) of each other, 2^e being the binade of the smallest: then every
//    float difference is exact and so is every partial sum in double (at most 40
//    significant bits), hence sx = sum(T) - sum(R) exactly, both sums kept exactly;
//  - the lane's values lie in at most two binades and every t = x - mx stays inside its
//    point's binade, clear of its ends: there all floats are spaced alike (u), so
//    fl64(x - mx) = x - c for one c, and rounding that to float subtracts the same multiple
//    of u from every point; except when c is half-way between two multiples of u, where
//    the result depends on each point's last bit, unless all points of the binade share
//    that bit (which the first such pass, done point by point, leaves behind).
// Otherwise the pass runs point by point on that lane, as the plain form does.
//
// The references are finished a stretch at a time; then every later track takes the
// stretch's passes in order, tracks shared among the pool's workers.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

#include "edit/Transforms.h"
#include "stats/ThreadPool.h"
#include "store/TrackStore.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The power of two at or below a positive normal x (0 for a subnormal).
double BinadeStart(double x) {
  return std::bit_cast<double>(std::bit_cast<uint64_t>(x) & 0x7ff0000000000000ULL);
}

// Values from lo to hi (lo > 0) that every difference and every sum of up to 10,000 of
// them, in float and double, holds exactly.
bool CloseEnough(double lo, double hi) { return lo > 0 && hi - lo < 2 * BinadeStart(lo); }

// One coordinate of one track: the values in the store minus shift[g] for the points of
// binade g (g = 0 from `start`, g = 1 from 2 x start). Not lazy: every pass point by point.
struct Lane {
  bool lazy = false;
  bool sameLastBit[2] = {false, false};
  int32_t count[2] = {0, 0};
  double start = 0;
  double sum = 0;  // exact sum of the current values
  double shift[2] = {0, 0};
  double min[2] = {kInfinity, kInfinity}, max[2] = {-kInfinity, -kInfinity};  // current values
};

float* Values(SpotRec& t, int c) { return c == 0 ? t.X.data() : t.Y.data(); }

// Takes the lane's current values as the ones written: sets it up from them.
void Rebuild(Lane& lane, const float* v, int32_t n) {
  lane = Lane{};
  double lo = kInfinity, hi = -kInfinity, sum = 0;
  for (int32_t j = 0; j < n; ++j) {
    if (!(v[j] > 0) || !std::isfinite(v[j])) return;
    lo = std::min<double>(lo, v[j]);
    hi = std::max<double>(hi, v[j]);
    sum += v[j];
  }
  if (n <= 0 || !CloseEnough(lo, hi)) return;  // else the values fill at most two binades
  lane.start = BinadeStart(lo);
  lane.sum = sum;
  uint32_t lastBit[2] = {2, 2};
  lane.sameLastBit[0] = lane.sameLastBit[1] = true;
  for (int32_t j = 0; j < n; ++j) {
    const int g = v[j] >= 2 * lane.start ? 1 : 0;
    ++lane.count[g];
    lane.min[g] = std::min<double>(lane.min[g], v[j]);
    lane.max[g] = std::max<double>(lane.max[g], v[j]);
    const uint32_t bit = std::bit_cast<uint32_t>(v[j]) & 1u;
    if (lastBit[g] != 2 && lastBit[g] != bit) lane.sameLastBit[g] = false;
    lastBit[g] = bit;
  }
  lane.lazy = true;
}

// Writes the lane's current values to the store (exact: each stays in its binade).
void Materialize(Lane& lane, float* v, int32_t n) {
  if (!lane.lazy || (lane.shift[0] == 0 && lane.shift[1] == 0)) return;
  for (int32_t j = 0; j < n; ++j)
    v[j] = static_cast<float>(v[j] - lane.shift[v[j] >= 2 * lane.start ? 1 : 0]);
  lane.shift[0] = lane.shift[1] = 0;
}

// The first n values of a finished reference: exact prefix sums where CloseEnough holds
// for the prefix, and the prefix's extremes (lowest 0 once a value is not positive or not
// a number, so that CloseEnough fails).
struct Prefix {
  std::vector<double> sum, lowest, highest;

  void Build(const float* r, int32_t n) {
    sum.resize(static_cast<size_t>(n) + 1);
    lowest.resize(static_cast<size_t>(n) + 1);
    highest.resize(static_cast<size_t>(n) + 1);
    sum[0] = 0, lowest[0] = kInfinity, highest[0] = -kInfinity;
    for (int32_t k = 0; k < n; ++k) {
      const double v = r[k];
      sum[k + 1] = sum[k] + v;
      lowest[k + 1] = v > 0 ? std::min(lowest[k], v) : 0;
      highest[k + 1] = std::max(highest[k], v);
    }
  }
};

// One pass on a lazy lane of n points (all of them move); false when it must run point
// by point.
bool LazyPass(Lane& lane, const Prefix& ref, int32_t n) {
  const double lo = std::min({lane.min[0], lane.min[1], ref.lowest[static_cast<size_t>(n)]});
  const double hi = std::max({lane.max[0], lane.max[1], ref.highest[static_cast<size_t>(n)]});
  if (!CloseEnough(lo, hi)) return false;
  const double mx = (lane.sum - ref.sum[static_cast<size_t>(n)]) / n;
  double move[2] = {0, 0};
  for (int g = 0; g < 2; ++g) {
    if (lane.count[g] == 0) continue;
    const double binade = g == 0 ? lane.start : 2 * lane.start;
    const double u = binade * 0x1p-23;  // float spacing in the binade
    if (!(lane.min[g] - mx >= binade + u && lane.max[g] - mx <= 2 * binade - u)) return false;
    const double r = lane.min[g] - mx;
    const double y = static_cast<float>(r);
    if (std::fabs(r - y) == 0.5 * u && !lane.sameLastBit[g]) return false;
    move[g] = lane.min[g] - y;
  }
  lane.sum -= lane.count[0] * move[0] + lane.count[1] * move[1];
  for (int g = 0; g < 2; ++g) {
    lane.shift[g] += move[g];
    lane.min[g] -= move[g];
    lane.max[g] -= move[g];
  }
  return true;
}

// What a lane needs to know of a stretch of references at its point count n: the range
// of their sums and of their values over the first n points. Not usable when a reference
// of the stretch has fewer than n points.
struct StretchBounds {
  bool usable = false;
  double sumLow = kInfinity, sumHigh = -kInfinity, lowest = kInfinity, highest = -kInfinity;
  std::vector<double> sums;
  // The sums modulo `period`, sorted (worked out when first asked for).
  double period = 0;
  std::vector<double> residues;

  // Whether some sum is congruent to `sum` modulo `period` (fmod is exact).
  bool Meets(double sum, double period_) {
    if (period != period_) {
      period = period_;
      residues.clear();
      for (const double s : sums) residues.push_back(std::fmod(s, period));
      std::sort(residues.begin(), residues.end());
    }
    return std::binary_search(residues.begin(), residues.end(), std::fmod(sum, period));
  }
};

// All passes of a stretch at once on a lane whose values fill one binade. A pass takes the
// lane's lowest value to the float nearest to lowest - (sum - reference sum) / n (on a tie
// to the even one), whatever passes came before it; so when the bounds show that every
// pass of the stretch keeps to the conditions of LazyPass, the last pass alone gives the
// lane's state after the stretch. A tie needs the points to share their last bit, or no
// reference sum congruent to sum + n u / 2 modulo n u (u the float spacing), which is
// when the offset lands half-way. False when a pass could break a condition; the lane is
// then unchanged.
bool SkipStretch(Lane& lane, StretchBounds& b, const Prefix& last, int32_t n) {
  if (!b.usable || lane.count[1] != 0) return false;
  const double u = lane.start * 0x1p-23;
  // The extreme mean offsets, and how far the lane may have moved before any pass
  // (each pass leaves it within u/2 of the offset; the margins cover the rounding here).
  const double lowOffset = (lane.sum - b.sumHigh) / n, highOffset = (lane.sum - b.sumLow) / n;
  if (!(lane.min[0] - highOffset >= lane.start + 2 * u &&
        lane.max[0] - lowOffset <= 2 * lane.start - 2 * u))
    return false;
  const double movedLow = std::min(0.0, lowOffset - u), movedHigh = std::max(0.0, highOffset + u);
  if (!CloseEnough(std::min(lane.min[0] - movedHigh, b.lowest),
                   std::max(lane.max[0] - movedLow, b.highest)))
    return false;
  // With every sum exact (as CloseEnough now says), a tie is a matter of whole multiples.
  if (!lane.sameLastBit[0] && b.Meets(lane.sum + 0.5 * n * u, n * u)) return false;
  return LazyPass(lane, last, n);
}

// One pass of the plain form on one coordinate.
void PlainPass(float* v, const float* r, int32_t n) {
  double s = 0;
  for (int32_t j = 0; j < n; ++j) s += v[j] - r[j];
  const double mean = s / n;
  for (int32_t j = 0; j < n; ++j) v[j] = static_cast<float>(v[j] - mean);
}

class Passes {
 public:
  Passes(TrackStore& store, std::vector<int32_t> order)
      : store_(store), order_(std::move(order)), m_(order_.size()), points_(m_), lanes_(2 * m_) {
    int32_t longest = 0;
    for (size_t q = 0; q < m_; ++q) {
      points_[q] = Track(q).ReadablePoints();
      longest = std::max(longest, points_[q]);
      for (int c = 0; c < 2; ++c) Rebuild(lanes_[2 * q + c], Values(Track(q), c), points_[q]);
    }
    // As many references a stretch as keep their prefixes within about 4 MB.
    stretch_ = std::clamp<size_t>((size_t{1} << 22) / (48 * (static_cast<size_t>(longest) + 1)), 1, 256);
    prefixes_.resize(2 * stretch_);
  }

  bool Run(const std::function<bool(double)>& progress) {
    ThreadPool& pool = ThreadPool::Shared();
    const double total = 0.5 * static_cast<double>(m_) * (static_cast<double>(m_) - 1);
    for (size_t first = 0; first < m_; first += stretch_) {
      const size_t end = std::min(first + stretch_, m_);
      // The stretch's references, each finished by the passes before it.
      for (size_t p = first; p < end; ++p) {
        Finish(p, p - first);
        for (size_t q = p + 1; q < end; ++q)
          for (int c = 0; c < 2; ++c) Pass(q, c, p, p - first);
      }
      // Every later track takes the stretch's passes in order.
      pool.ParallelFor(static_cast<int64_t>(end), static_cast<int64_t>(m_), 256,
                       [&](int64_t from, int64_t to, unsigned) {
                         std::array<StretchBounds, 2> bounds;
                         int32_t boundsFor = -1;
                         for (size_t q = static_cast<size_t>(from); q < static_cast<size_t>(to); ++q) {
                           if (points_[q] != boundsFor) {
                             boundsFor = points_[q];
                             bounds = Bounds(first, end, boundsFor);
                           }
                           for (int c = 0; c < 2; ++c) {
                             if (lanes_[2 * q + c].lazy &&
                                 SkipStretch(lanes_[2 * q + c], bounds[c],
                                             prefixes_[2 * (end - 1 - first) + c], points_[q]))
                               continue;
                             for (size_t p = first; p < end; ++p) Pass(q, c, p, p - first);
                           }
                         }
                       });
      const double done = static_cast<double>(end) * (static_cast<double>(m_) - 1) -
                          0.5 * static_cast<double>(end) * (static_cast<double>(end) - 1);
      if (progress && !progress(total > 0 ? done / total : 1.0)) {
        for (size_t q = end; q < m_; ++q)
          for (int c = 0; c < 2; ++c)
            Materialize(lanes_[2 * q + c], Values(Track(q), c), points_[q]);
        return false;
      }
    }
    return true;
  }

 private:
  SpotRec& Track(size_t q) { return store_[order_[q]]; }

  // The bounds of the references first .. end - 1 at n points, X and Y.
  std::array<StretchBounds, 2> Bounds(size_t first, size_t end, int32_t n) const {
    std::array<StretchBounds, 2> b;
    if (n <= 0) return b;
    for (size_t p = first; p < end; ++p)
      if (points_[p] < n) return b;
    for (int c = 0; c < 2; ++c) {
      b[c].usable = true;
      for (size_t p = first; p < end; ++p) {
        const Prefix& r = prefixes_[2 * (p - first) + c];
        const size_t k = static_cast<size_t>(n);
        b[c].sums.push_back(r.sum[k]);
        b[c].sumLow = std::min(b[c].sumLow, r.sum[k]);
        b[c].sumHigh = std::max(b[c].sumHigh, r.sum[k]);
        b[c].lowest = std::min(b[c].lowest, r.lowest[k]);
        b[c].highest = std::max(b[c].highest, r.highest[k]);
      }
    }
    return b;
  }

  // Reference p is done with: its values go to the store and its prefixes to `slot`.
  void Finish(size_t p, size_t slot) {
    SpotRec& t = Track(p);
    t.SecondHalf = 1;
    for (int c = 0; c < 2; ++c) {
      Materialize(lanes_[2 * p + c], Values(t, c), points_[p]);
      prefixes_[2 * slot + c].Build(Values(t, c), points_[p]);
    }
  }

  // Pass p (its reference's prefixes in `slot`) on coordinate c of track q.
  void Pass(size_t q, int c, size_t p, size_t slot) {
    const int32_t n = std::min(points_[q], points_[p]);
    if (n <= 0) return;  // the plain pass moves nothing
    Lane& lane = lanes_[2 * q + c];
    if (lane.lazy && n == points_[q] && LazyPass(lane, prefixes_[2 * slot + c], n)) return;
    float* v = Values(Track(q), c);
    Materialize(lane, v, points_[q]);
    PlainPass(v, Values(Track(p), c), n);
    Rebuild(lane, v, points_[q]);
  }

  TrackStore& store_;
  std::vector<int32_t> order_;
  size_t m_;
  std::vector<int32_t> points_;
  std::vector<Lane> lanes_;  // X and Y of each track of the order
  size_t stretch_ = 1;
  std::vector<Prefix> prefixes_;  // X and Y of each reference of the stretch
};

}  // namespace

bool FitTracksTogether(TrackStore& store, const std::function<bool(double)>& progress) {
  const int32_t count = store.NSpots;
  for (int32_t i = 0; i < count; ++i) store[i].SecondHalf = 0;
  std::vector<int32_t> order = AlignmentOrder(store);
  const size_t references = order.size();
  if (!Passes(store, std::move(order)).Run(progress)) return false;
  // Passes left over once no track qualifies take track 0 as the reference.
  if (static_cast<size_t>(count) > references) store[0].SecondHalf = 1;
  RaiseY(store);
  return true;
}
