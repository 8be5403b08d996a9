#pragma once
// Unweighted least-squares line in double precision, for the estimators (the described
// fits with their float rounding live in Fits.h).
#include <cstdint>
#include <limits>

struct Line {
  double slope = std::numeric_limits<double>::quiet_NaN();
  double intercept = std::numeric_limits<double>::quiet_NaN();
};

// Sums of a line fit, filled point by point so callers need no arrays.
class LineSums {
 public:
  void Add(double x, double y) {
    ++n_;
    sx_ += x;
    sy_ += y;
    sxx_ += x * x;
    sxy_ += x * y;
  }
  int32_t Points() const { return n_; }
  // NaN slope and intercept with fewer than two points or all x equal.
  Line Fit() const {
    Line line;
    if (n_ < 2) return line;
    const double mx = sx_ / n_, my = sy_ / n_;
    const double sxx = sxx_ - sx_ * mx;
    if (!(sxx > 0)) return line;
    line.slope = (sxy_ - sx_ * my) / sxx;
    line.intercept = my - line.slope * mx;
    return line;
  }

 private:
  int32_t n_ = 0;
  double sx_ = 0, sy_ = 0, sxx_ = 0, sxy_ = 0;
};
