#include "stats/NeighbourPanel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>

#include "plot/TQVgraph.h"
#include "stats/HistogramPanel.h"
#include "stats/ThreadPool.h"
#include "store/Numbers.h"

namespace {

void CentresOf(const TrackStore& spots, int32_t from, int32_t to, float* cx, float* cy) {
  for (int32_t i = from; i < to; ++i) {
    const SpotRec& track = spots[i];
    const int32_t frames = track.ReadablePoints();
    float sumX = 0, sumY = 0;
    for (int32_t k = 0; k < frames; ++k) {
      sumX += track.X[k];
      sumY += track.Y[k];
    }
    const float meanX = sumX / track.NPoints;  // 0/0 for a track without points
    const float meanY = sumY / track.NPoints;
    cx[i] = static_cast<float>(meanX + track.PosX * 0.1);
    cy[i] = static_cast<float>(meanY + track.PosY * 0.1);
  }
}

}  // namespace

void TrackCentres(const TrackStore& spots, float* cx, float* cy, ThreadPool* pool) {
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  if (!pool) return CentresOf(spots, 0, nSpots, cx, cy);
  pool->ParallelFor(0, nSpots, 1024, [&](int64_t from, int64_t to, unsigned) {
    CentresOf(spots, static_cast<int32_t>(from), static_cast<int32_t>(to), cx, cy);
  });
}

int32_t NearestNeighbourDistancesQuadratic(const TrackStore& spots, const float* cx,
                                           const float* cy, float* squared) {
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  int32_t count = 0;
  for (int32_t i = 0; i < nSpots; ++i) {
    if (!spots[i].Selected) continue;
    float best = kNoNeighbour;
    for (int32_t j = 0; j < nSpots; ++j) {
      if (j == i || !spots[j].Selected) continue;
      const float dx = cx[i] - cx[j];
      const float dy = cy[i] - cy[j];
      const float d2 = dx * dx + dy * dy;
      if (d2 < best) best = d2;  // NaN never replaces the running minimum
    }
    squared[count++] = best;
  }
  return count;
}

namespace {

// A centre in the grid, the grid's points stored cell by cell.
struct GridPoint {
  float x, y;
  int32_t record;  // index in the store
  int32_t output;  // position among the selected tracks
};

// A uniform grid of nx x ny cells over the bounding box of the finite centres.
class CentreGrid {
 public:
  // False when memory is short.
  bool Build(const TrackStore& spots, const float* cx, const float* cy, int32_t finite,
             double minX, double maxX, double minY, double maxY);
  // The smallest squared distance from point p to any other point of the grid, formed
  // as the plain search forms it, starting from kNoNeighbour.
  float Nearest(const GridPoint& p) const;
  const GridPoint& Point(int32_t k) const { return points_[k]; }

 private:
  int64_t CellX(double x) const {
    return width_ > 0 ? static_cast<int64_t>(std::clamp((x - minX_) * perX_, 0.0, nx_ - 1.0)) : 0;
  }
  int64_t CellY(double y) const {
    return height_ > 0 ? static_cast<int64_t>(std::clamp((y - minY_) * perY_, 0.0, ny_ - 1.0)) : 0;
  }

  std::unique_ptr<GridPoint[]> points_;
  std::unique_ptr<int32_t[]> cellStart_;  // nx x ny + 1 offsets into points_
  int64_t nx_ = 1, ny_ = 1;
  double minX_ = 0, minY_ = 0, width_ = 0, height_ = 0;
  double perX_ = 0, perY_ = 0;  // cells per unit of length
  double cellSide_ = 0;         // the shorter side of a cell along an axis with several
};

bool CentreGrid::Build(const TrackStore& spots, const float* cx, const float* cy, int32_t finite,
                       double minX, double maxX, double minY, double maxY) {
  minX_ = minX;
  minY_ = minY;
  width_ = maxX - minX;
  height_ = maxY - minY;
  // About two centres per cell, the cells as square as the box allows.
  const double target = std::max(1.0, finite / 2.0);
  if (width_ > 0 && height_ > 0) {
    nx_ = static_cast<int64_t>(std::clamp(std::round(std::sqrt(target * (width_ / height_))), 1.0, target));
    ny_ = static_cast<int64_t>(std::clamp(std::round(target / nx_), 1.0, target));
  } else if (width_ > 0) {
    nx_ = static_cast<int64_t>(target);
  } else if (height_ > 0) {
    ny_ = static_cast<int64_t>(target);
  }
  perX_ = width_ > 0 ? nx_ / width_ : 0;
  perY_ = height_ > 0 ? ny_ / height_ : 0;
  const double inf = std::numeric_limits<double>::infinity();
  cellSide_ = std::min(nx_ > 1 ? width_ / nx_ : inf, ny_ > 1 ? height_ / ny_ : inf);

  const int64_t cells = nx_ * ny_;
  points_.reset(new (std::nothrow) GridPoint[static_cast<size_t>(finite)]);
  cellStart_.reset(new (std::nothrow) int32_t[static_cast<size_t>(cells + 1)]());
  std::unique_ptr<int32_t[]> cellOf(new (std::nothrow) int32_t[static_cast<size_t>(finite)]);
  if (!points_ || !cellStart_ || !cellOf) return false;

  // Counting sort of the finite selected centres by cell, in store order within a cell.
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  int32_t k = 0;
  for (int32_t i = 0, output = 0; i < nSpots; ++i) {
    if (!spots[i].Selected) continue;
    if (std::isfinite(cx[i]) && std::isfinite(cy[i])) {
      const int64_t cell = CellY(cy[i]) * nx_ + CellX(cx[i]);
      cellOf[k] = static_cast<int32_t>(cell);
      ++cellStart_[cell + 1];
      points_[k++] = {cx[i], cy[i], i, output};
    }
    ++output;
  }
  for (int64_t c = 0; c < cells; ++c) cellStart_[c + 1] += cellStart_[c];
  std::unique_ptr<GridPoint[]> sorted(new (std::nothrow) GridPoint[static_cast<size_t>(finite)]);
  if (!sorted) return false;
  std::unique_ptr<int32_t[]> fill(new (std::nothrow) int32_t[static_cast<size_t>(cells)]);
  if (!fill) return false;
  std::copy(cellStart_.get(), cellStart_.get() + cells, fill.get());
  for (int32_t p = 0; p < finite; ++p) sorted[fill[cellOf[p]]++] = points_[p];
  points_ = std::move(sorted);
  return true;
}

float CentreGrid::Nearest(const GridPoint& p) const {
  const int64_t ix = CellX(p.x), iy = CellY(p.y);
  const int64_t maxRing = std::max({ix, nx_ - 1 - ix, iy, ny_ - 1 - iy});
  float best = kNoNeighbour;
  // Returns true once nothing can come closer: no squared distance is below +0.
  auto visit = [&](int64_t x, int64_t y) {
    const int64_t cell = y * nx_ + x;
    for (int32_t q = cellStart_[cell]; q < cellStart_[cell + 1]; ++q) {
      const GridPoint& other = points_[q];
      if (other.record == p.record) continue;
      const float dx = p.x - other.x;
      const float dy = p.y - other.y;
      const float d2 = dx * dx + dy * dy;
      if (d2 < best) best = d2;
    }
    return best == 0;
  };
  for (int64_t r = 0; r <= maxRing; ++r) {
    // The ring of cells r steps away along the farther axis.
    const int64_t x0 = std::max<int64_t>(ix - r, 0), x1 = std::min(ix + r, nx_ - 1);
    const int64_t y0 = std::max<int64_t>(iy - r, 0), y1 = std::min(iy + r, ny_ - 1);
    for (int64_t y = y0; y <= y1; ++y) {
      if (y == iy - r || y == iy + r) {
        for (int64_t x = x0; x <= x1; ++x)
          if (visit(x, y)) return best;
      } else {
        if (ix - r >= 0 && visit(ix - r, y)) return best;
        if (ix + r < nx_ && visit(ix + r, y)) return best;
      }
    }
    if (r == 0) continue;
    // Every cell not visited yet lies at least r + 1 cells off along some axis, so its
    // centres are at least r cells' length away (edge cells reach outwards only; the
    // margin covers the rounding of the cell index). Float rounding being monotonic,
    // no squared distance of such a centre falls below that length rounded down to a
    // float and squared.
    const double gap = (static_cast<double>(r) - 0.001) * cellSide_ * (1 - 1e-9);
    float reach = static_cast<float>(gap);
    if (static_cast<double>(reach) > gap) reach = std::nextafter(reach, 0.0f);
    if (reach * reach >= best) break;
  }
  return best;
}

// Narrows the box to the bulk of the centres, leaving out the outermost half percent on
// each side: the grid's edge cells take the centres outside and reach outwards without
// end, so the search stays exact, while a few far outliers no longer stretch every
// cell. Left as it is when memory is short.
void NarrowToBulk(const TrackStore& spots, const float* cx, const float* cy, int32_t finite,
                  double& minX, double& maxX, double& minY, double& maxY) {
  const int32_t outliers = finite / 200;
  if (outliers == 0) return;
  std::unique_ptr<float[]> xs(new (std::nothrow) float[static_cast<size_t>(finite)]);
  std::unique_ptr<float[]> ys(new (std::nothrow) float[static_cast<size_t>(finite)]);
  if (!xs || !ys) return;
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  int32_t k = 0;
  for (int32_t i = 0; i < nSpots; ++i)
    if (spots[i].Selected && std::isfinite(cx[i]) && std::isfinite(cy[i])) {
      xs[k] = cx[i];
      ys[k++] = cy[i];
    }
  auto nth = [finite](float* values, int32_t n) {
    std::nth_element(values, values + n, values + finite);
    return static_cast<double>(values[n]);
  };
  minX = nth(xs.get(), outliers);
  maxX = nth(xs.get(), finite - 1 - outliers);
  minY = nth(ys.get(), outliers);
  maxY = nth(ys.get(), finite - 1 - outliers);
}

}  // namespace

int32_t NearestNeighbourDistancesGrid(const TrackStore& spots, const float* cx, const float* cy,
                                      float* squared, ThreadPool* pool) {
  const int32_t nSpots = std::min(spots.NSpots, kStoreCapacity);
  // A track with an infinite or NaN centre is infinitely far (or NaN) from every other
  // and every other from it: it keeps kNoNeighbour and stays out of the grid.
  int32_t count = 0, finite = 0;
  double minX = 0, maxX = 0, minY = 0, maxY = 0;
  for (int32_t i = 0; i < nSpots; ++i) {
    if (!spots[i].Selected) continue;
    squared[count++] = kNoNeighbour;
    if (!std::isfinite(cx[i]) || !std::isfinite(cy[i])) continue;
    if (finite++ == 0) {
      minX = maxX = cx[i];
      minY = maxY = cy[i];
    } else {
      minX = std::min<double>(minX, cx[i]);
      maxX = std::max<double>(maxX, cx[i]);
      minY = std::min<double>(minY, cy[i]);
      maxY = std::max<double>(maxY, cy[i]);
    }
  }
  if (finite < 2) return count;
  NarrowToBulk(spots, cx, cy, finite, minX, maxX, minY, maxY);

  CentreGrid grid;
  if (!grid.Build(spots, cx, cy, finite, minX, maxX, minY, maxY))
    return NearestNeighbourDistancesQuadratic(spots, cx, cy, squared);
  auto search = [&](int64_t from, int64_t to, unsigned) {
    for (int64_t k = from; k < to; ++k) {
      const GridPoint& p = grid.Point(static_cast<int32_t>(k));
      squared[p.output] = grid.Nearest(p);
    }
  };
  if (pool)
    pool->ParallelFor(0, finite, 1024, search);
  else
    search(0, finite, 0);
  return count;
}

PanelResults CalcNeighbDistDist(AnalysisContext& context, TQVgraph& graph) {
  std::unique_ptr<float[]> cx(new (std::nothrow) float[kStoreCapacity]);
  std::unique_ptr<float[]> cy(new (std::nothrow) float[kStoreCapacity]);
  std::unique_ptr<float[]> distances(new (std::nothrow) float[kStoreCapacity]);
  if (!cx || !cy || !distances) return {};

  for (int r = 0; r < 5; ++r) std::fill(context.WorkRow(r), context.WorkRow(r) + kRowLength, 0.0f);
  TrackCentres(context.Spots, cx.get(), cy.get(), context.Pool);
  const int32_t count =
      context.Pool ? NearestNeighbourDistancesGrid(context.Spots, cx.get(), cy.get(),
                                                   distances.get(), context.Pool)
                   : NearestNeighbourDistancesQuadratic(context.Spots, cx.get(), cy.get(),
                                                        distances.get());
  for (int32_t v = 0; v < count; ++v) {
    if (distances[v] >= kNoNeighbour) {
      context.Note(" Error in Distance Calcs");
      break;
    }
  }
  for (int32_t v = 0; v < count; ++v) distances[v] = std::sqrt(distances[v]);

  // The Dlat bin serves as the distance bin.
  const double binWidth = context.S.DlatBin;
  BinOptions options;
  options.binsRow = 5;
  const BinnedValues binned =
      BinIntoRows(context, distances.get(), count, binWidth, 0, options);
  const int32_t points = StaircaseRows(context, graph, 5, 1, binWidth, 0);

  // The staircase alone; rows 2 to 4 are empty.
  graph.Series[1].Show = true;
  graph.Series[1].RightAxis = false;
  for (int s = 2; s <= 4; ++s) graph.Series[s].Show = false;
  CopyRowsToPanel(context, graph, 5);
  // A panel that showed the MSD starts at point 1; the staircase starts at 0.
  graph.DataFirst = 0;
  graph.DataEnd = points;
  // With no point there is no last X: the axis then starts from the origin.
  const float lastX = context.WorkRow(0)[std::max(points - 1, 0)];
  SetHistogramAxes(context, graph, 0, static_cast<float>(lastX + binWidth), binned.maxBin);
  graph.Y0Title = CountTitle(context, "Number of objects");
  graph.XTitle = "Distance (µm)";
  graph.Notes[0] = "Aver. Ddistance=" + TruncatedText(binned.mean, 1000, 0.001) + context.DlatUnit;
  PanelResults results;
  results.Add("mean neighbour distance (µm)", binned.mean);
  return results;
}
