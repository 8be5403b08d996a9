#include "edit/DualTrackCandidates.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <ctime>
#include <cstdio>
#include <cstdlib>
static double Cpu(){return 1000.0*std::clock()/CLOCKS_PER_SEC;}


namespace {

// Cell coordinates stay within +-2^30, where the rounding of x / cell moves a point by far
// less than the 0.1 % the cells are widened by; a point farther out makes its track a
// candidate of every track.
constexpr double kGridReach = 1073741824.0;
// Meetings of two points in neighbouring cells, and pairs found, that the grid handles;
// past these so many tracks crowd together that comparing all pairs costs about as much,
// and the pairs would fill too much memory.
constexpr int64_t kMaxMeetings = int64_t{1} << 26;
constexpr size_t kMaxPairs = size_t{1} << 24;

// One sampled point: where it lies, its cell and the frame slot (frame / minRun) it
// belongs to.
struct GridPoint {
  double x, y;
  int64_t frameSlot;
  uint64_t cell;  // row << 32 | column, each offset by 2^30 to be positive
  uint32_t rank;  // row x columns + column, the sort key when it fits
  int32_t track;
};

int64_t FloorMod(int64_t a, int64_t b) {
  const int64_t r = a % b;
  return r < 0 ? r + b : r;
}

// Whether the distance of two points, formed as the search forms it (its sign does not
// matter), is below the critical distance.
bool Close(double ax, double ay, double bx, double by, double criticalDistance) {
  const double dx = ax - bx, dy = ay - by;
  return std::sqrt(dx * dx + dy * dy) < criticalDistance;
}

// Whether two tracks that are close in `frame` stay closer than the critical distance in
// at least minRun frames in a row through it. The search pairs two tracks exactly when
// such a run exists in the frames they share.
class RunCheck {
 public:
  RunCheck(const TrackStore& store, double criticalDistance, int32_t minRun, bool format2016)
      : store_(store), criticalDistance_(criticalDistance), minRun_(minRun), format2016_(format2016) {}

  double CriticalDistance() const { return criticalDistance_; }

  bool operator()(int32_t ia, int32_t ib, int64_t frame) const {
    if (minRun_ <= 1) return true;
    const SpotRec& a = store_[ia];
    const SpotRec& b = store_[ib];
    const int64_t lo = std::max<int64_t>(a.FirstFrame, b.FirstFrame);
    const int64_t hi = std::min<int64_t>(int64_t{a.FirstFrame} + a.ReadablePoints(),
                                         int64_t{b.FirstFrame} + b.ReadablePoints());
    auto close = [&](int64_t f) {
      const int32_t ja = static_cast<int32_t>(f - a.FirstFrame);
      const int32_t jb = static_cast<int32_t>(f - b.FirstFrame);
      return Close(AbsoluteX(a, ja, format2016_), AbsoluteY(a, ja, format2016_),
                   AbsoluteX(b, jb, format2016_), AbsoluteY(b, jb, format2016_),
                   criticalDistance_);
    };
    int64_t length = 1;
    for (int64_t f = frame - 1; f >= lo && length < minRun_ && close(f); --f) ++length;
    for (int64_t f = frame + 1; f < hi && length < minRun_ && close(f); ++f) ++length;
    return length >= minRun_;
  }

 private:
  const TrackStore& store_;
  double criticalDistance_;
  int64_t minRun_;
  bool format2016_;
};

// The points of one frame, sorted by cell: each cell meets itself, the next cell of its
// row and the three cells of the next row beside it (a pointer through the next row only
// moves forward), so every pair of neighbouring cells is visited once. Pairs that pass
// the run check are added to `pairs` as (lower track << 32 | higher track). False when
// `meetings` runs out or the pairs grow past kMaxPairs.
bool CollectPairs(const GridPoint* points, size_t n, int64_t frame, const RunCheck& runs,
                  int64_t& meetings, std::vector<uint64_t>& pairs) {
  const double critical = runs.CriticalDistance();
  auto meet = [&](const GridPoint& p, const GridPoint& q) {
    --meetings;
    if (p.track == q.track || !Close(p.x, p.y, q.x, q.y, critical) ||
        !runs(p.track, q.track, frame))
      return;
    const uint32_t lo = static_cast<uint32_t>(std::min(p.track, q.track));
    const uint32_t hi = static_cast<uint32_t>(std::max(p.track, q.track));
    pairs.push_back((uint64_t{lo} << 32) | hi);
  };
  size_t below = 0;
  for (size_t begin = 0; begin < n;) {
    const uint64_t key = points[begin].cell;
    size_t end = begin + 1;
    while (end < n && points[end].cell == key) ++end;
    for (size_t a = begin; a < end; ++a)
      for (size_t b = a + 1; b < end; ++b) meet(points[a], points[b]);
    for (size_t b = end; b < n && points[b].cell == key + 1; ++b)
      for (size_t a = begin; a < end; ++a) meet(points[a], points[b]);
    const uint64_t row = key >> 32, column = key & 0xffffffffu;
    const uint64_t first = ((row + 1) << 32) | (column > 0 ? column - 1 : 0);
    const uint64_t last = ((row + 1) << 32) | (column + 1);
    while (below < n && points[below].cell < first) ++below;
    for (size_t b = below; b < n && points[b].cell <= last; ++b)
      for (size_t a = begin; a < end; ++a) meet(points[a], points[b]);
    if (meetings < 0 || pairs.size() > kMaxPairs) return false;
    begin = end;
  }
  return true;
}

// Sorts one frame's points by cell: by rank in two 16-bit counting passes when the ranks
// fit (through `spare`, which holds n points), else by comparison.
void SortByCell(GridPoint* points, size_t n, bool ranked, GridPoint* spare,
                std::vector<size_t>& counts) {
  if (!ranked || n < 4096) {
    std::sort(points, points + n,
              [](const GridPoint& a, const GridPoint& b) { return a.cell < b.cell; });
    return;
  }
  GridPoint* from = points;
  GridPoint* to = spare;
  for (const int shift : {0, 16}) {
    counts.assign(65537, 0);
    for (size_t p = 0; p < n; ++p) ++counts[((from[p].rank >> shift) & 0xffffu) + 1];
    for (size_t d = 1; d <= 65536; ++d) counts[d] += counts[d - 1];
    for (size_t p = 0; p < n; ++p) to[counts[(from[p].rank >> shift) & 0xffffu]++] = from[p];
    std::swap(from, to);
  }
}

// The points grouped by frame slot in rising order (counted into place when the slots
// are dense, else sorted), each group sorted by cell.
void SortPoints(std::vector<GridPoint>& points, bool ranked) {
  if (points.empty()) return;
  const auto [lo, hi] = std::minmax_element(
      points.begin(), points.end(),
      [](const GridPoint& a, const GridPoint& b) { return a.frameSlot < b.frameSlot; });
  const int64_t first = lo->frameSlot;
  const uint64_t range = static_cast<uint64_t>(hi->frameSlot - first) + 1;
  std::vector<GridPoint> sorted(points.size());
  if (range > 4 * points.size() + 16) {
    std::sort(points.begin(), points.end(), [](const GridPoint& a, const GridPoint& b) {
      return a.frameSlot != b.frameSlot ? a.frameSlot < b.frameSlot : a.cell < b.cell;
    });
    return;
  }
  std::vector<size_t> place(range + 1, 0);
  for (const GridPoint& p : points) ++place[static_cast<size_t>(p.frameSlot - first) + 1];
  for (size_t s = 1; s <= range; ++s) place[s] += place[s - 1];
  std::vector<size_t> next(place.begin(), place.end() - 1);
  for (const GridPoint& p : points) sorted[next[static_cast<size_t>(p.frameSlot - first)]++] = p;
  std::vector<size_t> counts;
  for (size_t s = 0; s < range; ++s)
    SortByCell(sorted.data() + place[s], place[s + 1] - place[s], ranked,
               points.data() + place[s], counts);
  points.swap(sorted);
}

}  // namespace

bool PairCandidates::Build(const TrackStore& store, double criticalDistance, int32_t minRun,
                           bool format2016) {
  if (minRun < 1) return false;
  try {
    count_ = std::max(store.NSpots, 0);
    const size_t count = static_cast<size_t>(count_);
    everywhere_.assign(count, 0);
    farOut_.clear();
    start_.assign(count + 1, 0);
    list_.clear();
    // Nothing is closer than a distance that is not positive (or not a number).
    if (!(criticalDistance > 0)) return true;
    // A close pair differs by less than the critical distance (up to rounding) on each
    // axis; the cells are a little wider, so such points are at most one cell apart.
    const double cell = std::max(criticalDistance * 1.001, 1e-150);

    // The points of the frames that are multiples of minRun.
    double t0=Cpu();
    std::vector<GridPoint> points;
    size_t expected = 0;
    for (int32_t i = 0; i < count_; ++i)
      if (store[i].Selected)
        expected += static_cast<size_t>(store[i].ReadablePoints() / minRun + 1);
    points.reserve(expected);
    double lowColumn = kGridReach, lowRow = kGridReach, highColumn = -kGridReach,
           highRow = -kGridReach;
    for (int32_t i = 0; i < count_; ++i) {
      const SpotRec& t = store[i];
      if (!t.Selected) continue;
      const int32_t n = t.ReadablePoints();
      for (int64_t j = FloorMod(-int64_t{t.FirstFrame}, minRun); j < n; j += minRun) {
        const int32_t jj = static_cast<int32_t>(j);
        const double x = AbsoluteX(t, jj, format2016), y = AbsoluteY(t, jj, format2016);
        if (!std::isfinite(x) || !std::isfinite(y)) continue;  // never close to anything
        const double column = std::floor(x / cell), row = std::floor(y / cell);
        if (!(std::fabs(column) <= kGridReach && std::fabs(row) <= kGridReach)) {
          everywhere_[static_cast<size_t>(i)] = 1;
          farOut_.push_back(i);
          break;
        }
        lowColumn = std::min(lowColumn, column);
        highColumn = std::max(highColumn, column);
        lowRow = std::min(lowRow, row);
        highRow = std::max(highRow, row);
        points.push_back({x, y, (t.FirstFrame + j) / minRun,
                          (static_cast<uint64_t>(row + kGridReach) << 32) |
                              static_cast<uint64_t>(column + kGridReach),
                          0, i});
      }
    }
    const double columns = highColumn - lowColumn + 1, rows = highRow - lowRow + 1;
    const bool ranked = columns * rows <= 4294967295.0;
    // Rows and columns counted from the lowest occupied ones give a rank that fits in
    // 32 bits on any field of ordinary size.
    if (ranked) {
      const uint64_t firstColumn = static_cast<uint64_t>(lowColumn + kGridReach);
      const uint64_t firstRow = static_cast<uint64_t>(lowRow + kGridReach);
      for (GridPoint& p : points)
        p.rank = static_cast<uint32_t>(((p.cell >> 32) - firstRow) * static_cast<uint64_t>(columns) +
                                       ((p.cell & 0xffffffffu) - firstColumn));
    }
    double t1=Cpu();
    SortPoints(points, ranked);
    double t2=Cpu();

    const RunCheck runs(store, criticalDistance, minRun, format2016);
    std::vector<uint64_t> pairs;
    int64_t meetings = kMaxMeetings;
    for (size_t from = 0; from < points.size();) {
      size_t to = from + 1;
      while (to < points.size() && points[to].frameSlot == points[from].frameSlot) ++to;
      if (!CollectPairs(points.data() + from, to - from, points[from].frameSlot * minRun, runs,
                        meetings, pairs))
        return false;
      from = to;
    }
    double t3=Cpu();
    std::vector<GridPoint>().swap(points);
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());

    // Both directions of every pair. The pairs are sorted by their lower track, so each
    // track receives its lower partners first and its higher ones after, each rising.
    for (const uint64_t p : pairs) {
      ++start_[(p >> 32) + 1];
      ++start_[(p & 0xffffffffu) + 1];
    }
    for (size_t i = 0; i < count; ++i) start_[i + 1] += start_[i];
    list_.resize(static_cast<size_t>(start_[count]));
    std::vector<int64_t> fill(start_.begin(), start_.end() - 1);
    for (const uint64_t p : pairs) {
      const uint32_t a = static_cast<uint32_t>(p >> 32), b = static_cast<uint32_t>(p);
      list_[static_cast<size_t>(fill[a]++)] = static_cast<int32_t>(b);
      list_[static_cast<size_t>(fill[b]++)] = static_cast<int32_t>(a);
    }
    if(getenv("KDEBUG"))fprintf(stderr,"gather %.0f sort %.0f collect %.0f final %.0f points\n",t1-t0,t2-t1,t3-t2,Cpu()-t3);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}
