#pragma once
// Guards shared by the Qt canvases: Qt's rasteriser (and a PDF or SVG reader) works in
// limited precision, so shapes are clipped or skipped before they reach it, and pen
// widths are kept sensible.
#include <QRect>
#include <algorithm>

namespace canvas_clip {

inline constexpr int kMaxPenWidth = 1000;
inline constexpr int kCoordLimit = 1 << 22;

inline int ClampCoord(int v) { return std::clamp(v, -kCoordLimit, kCoordLimit); }

// Clips the segment to the rectangle [lo, hi] in both axes (Liang-Barsky); false when
// nothing of it is inside.
inline bool ClipSegment(double& x1, double& y1, double& x2, double& y2, double lo_x,
                        double lo_y, double hi_x, double hi_y) {
  double t0 = 0, t1 = 1;
  const double dx = x2 - x1, dy = y2 - y1;
  const double p[4] = {-dx, dx, -dy, dy};
  const double q[4] = {x1 - lo_x, hi_x - x1, y1 - lo_y, hi_y - y1};
  for (int i = 0; i < 4; ++i) {
    if (p[i] == 0) {
      if (q[i] < 0) return false;
      continue;
    }
    const double t = q[i] / p[i];
    if (p[i] < 0)
      t0 = std::max(t0, t);
    else
      t1 = std::min(t1, t);
    if (t0 > t1) return false;
  }
  const double ox = x1, oy = y1;
  x1 = ox + t0 * dx;
  y1 = oy + t0 * dy;
  x2 = ox + t1 * dx;
  y2 = oy + t1 * dy;
  return true;
}

// Corners in any order to a rectangle covering x1..x2-1, y1..y2-1.
inline QRect Box(int x1, int y1, int x2, int y2) {
  const int left = ClampCoord(std::min(x1, x2)), right = ClampCoord(std::max(x1, x2));
  const int top = ClampCoord(std::min(y1, y2)), bottom = ClampCoord(std::max(y1, y2));
  return QRect(left, top, right - left, bottom - top);
}

}  // namespace canvas_clip
