// The series of the chart: visible-range clipping, missing values and the styles.
#include <algorithm>

#include "plot/Canvas.h"
#include "plot/GraphMath.h"
#include "plot/TQVgraph.h"

using graph_math::PixelTrunc;

namespace {
constexpr double kNoLineBelow = -1e6;    // a value at or below this breaks a line
constexpr double kNoCircleBelow = -1e8;  // below this not even the circle is drawn
}  // namespace

void TQVgraph::DrawAllSeries() {
  if (!Surface() || !Data) return;
  Canvas& canvas = *Surface();
  FirstOut = DataFirst;
  LastOut = DataEnd;
  const int xOff = XOffset();
  const int yBaseLeft = LeftYBase();
  const int yBaseRight = RightYBase();

  // A range reaching outside the matrix is refused like one past its capacity.
  if (DataFirst < 0 || DataEnd > Stride) {
    FirstOut = std::clamp(DataFirst, 0, std::max(Stride - 1, 0));
    LastOut = std::clamp(DataEnd, 1, std::max(Stride - 1, 1));
    Beep();
    return;
  }

  // Clip to the visible X range, keeping one point outside on each side so that lines
  // enter the plot from its edges. The right probe reads X at LastOut itself, one past
  // the range; past the end of the matrix it reads 0.
  while (FirstOut < LastOut - 1 && XProbe(FirstOut) * XScale < xOff + LeftMargin) ++FirstOut;
  if (FirstOut > DataFirst) --FirstOut;
  while (DataFirst + 1 < LastOut && XProbe(LastOut) * XScale - xOff > PlotRight + 1) --LastOut;
  if (LastOut < DataEnd) ++LastOut;

  if (LastOut < 1) {
    LastOut = 1;
    return;
  }
  if (LastOut > Stride - 1) {
    LastOut = Stride - 1;
    Beep();
    return;
  }
  if (FirstOut >= LastOut) {
    FirstOut = LastOut - 1;
    canvas.TextOut(2, 2, "firstOut >= LastOut");
    return;
  }

  canvas.SetBrushStyle(BrushStyle::Clear);
  const int count = ShownSeriesCount();
  for (int k = 1; k <= count; ++k) {
    if (!Series[k].Show || Series[k].Style != Marks) continue;
    DrawMarks(k, FirstOut, LastOut, Y1Scale, xOff, yBaseRight);
    // Labels, titles and tick lines go back on top of the marks.
    DrawFrame(false);
  }

  for (int k = 1; k <= count; ++k) {
    if (!Series[k].Show) continue;
    const bool right = Series[k].RightAxis;
    const double scale = right ? Y1Scale : Y0Scale;
    const int yBase = right ? yBaseRight : yBaseLeft;
    if (!SkipMissing) {
      DrawSeries(k, FirstOut, LastOut, scale, xOff, yBase);
      continue;
    }
    // The run of valid values. Both indexes start at 0, so a first value in range that is
    // valid starts the run at index 0, and the run stops before its last valid point.
    int start = 0;
    int last = 0;
    for (int i = FirstOut; i < LastOut; ++i) {
      const float v = Value(k, i);
      if (last == 0 && v < kNoLineBelow) start = i + 1;
      if (v > kNoLineBelow) last = i;
    }
    DrawSeries(k, start, last, scale, xOff, yBase);
  }

  if (CrossOut) {
    const int width = SurfaceWidth();
    const int height = SurfaceHeight();
    canvas.SetPenColor(Colors::Black);
    canvas.SetPenWidth(5);
    canvas.MoveTo(10, 10);
    canvas.LineTo(width - 10, height - 10);
    canvas.MoveTo(10, height - 10);
    canvas.LineTo(width - 10, 10);
  }
  canvas.SetPenColor(Colors::Black);
  canvas.SetPenWidth(1);
}

void TQVgraph::DrawSeries(int k, int from, int to, double scale, int xOff, int yBase) {
  if (!Surface()) return;
  Canvas& canvas = *Surface();
  const SeriesRec& series = Series[std::clamp(k, 0, kMaxSeries)];
  canvas.SetPenColor(series.Color);
  canvas.SetBrushStyle(BrushStyle::Clear);
  canvas.SetPenWidth(series.PenWidth);
  if (from < 0 || to > DataEnd) return;
  // Past the end of a row or outside the matrix there is nothing to draw.
  if (to > Stride || k < 0 || k >= RowCount()) return;
  const int h = series.SymbolSize / 2;

  auto xAt = [&](int i) { return Value(0, i) * XScale - xOff; };
  auto yAt = [&](int i) { return yBase - Value(k, i) * scale; };
  // An X of half-size h on every point, for Cross and LineCross.
  auto drawCrosses = [&] {
    for (int i = from; i < to; ++i) {
      const int x = PixelTrunc(xAt(i));
      const int y = PixelTrunc(yAt(i));
      canvas.MoveTo(x - h, y - h);
      canvas.LineTo(x + h, y + h);
      canvas.MoveTo(x + h, y - h);
      canvas.LineTo(x - h, y + h);
    }
  };

  switch (series.Style) {
    case Line:
    case Circle: {
      if (series.Style == Line) canvas.MoveTo(PixelTrunc(xAt(from)), PixelTrunc(yAt(from)));
      // A point that lands exactly on the pixel just drawn is skipped, which keeps very
      // long tracks drawable.
      int lastX = -100;
      int lastY = -100;
      for (int i = from; i < to; ++i) {
        const double xu = xAt(i);
        const double yu = yAt(i);
        if (xu == lastX && yu == lastY) continue;
        const int x = PixelTrunc(xu);
        const int y = PixelTrunc(yu);
        if (series.Style == Line)
          canvas.LineTo(x, y);
        else
          canvas.Ellipse(x - h, y - h, x + h, y + h);
        lastX = x;
        lastY = y;
      }
      break;
    }
    case Cross:
      drawCrosses();
      break;
    case LineCircle:
      for (int i = from + 1; i < to; ++i) {
        if (Value(k, i - 1) > kNoLineBelow && Value(k, i) > kNoLineBelow) {
          canvas.MoveTo(PixelTrunc(xAt(i - 1)), PixelTrunc(yAt(i - 1)));
          canvas.LineTo(PixelTrunc(xAt(i)), PixelTrunc(yAt(i)));
        }
      }
      // Values between the two thresholds still get their circle.
      for (int i = from; i < to; ++i) {
        if (Value(k, i) < kNoCircleBelow) continue;
        const int x = PixelTrunc(xAt(i));
        const int y = PixelTrunc(yAt(i));
        canvas.Ellipse(x - h, y - h, x + h, y + h);
      }
      break;
    case LineCross:
      canvas.MoveTo(PixelTrunc(xAt(from)), PixelTrunc(yAt(from)));
      for (int i = from + 1; i < to; ++i) canvas.LineTo(PixelTrunc(xAt(i)), PixelTrunc(yAt(i)));
      drawCrosses();
      break;
    case Bar:
      canvas.SetBrushStyle(BrushStyle::Solid);
      canvas.SetBrushColor(series.Color);
      canvas.SetPenWidth(1);
      for (int i = from; i < to; ++i) {
        const int x = PixelTrunc(xAt(i));
        canvas.Rectangle(x - h, PixelTrunc(yAt(i)), x + h, yBase);
      }
      break;
    case Variation: {
      const int base = series.BaseSeries;
      if (base < 0 || base >= RowCount()) break;
      for (int i = from; i < to; ++i) {
        const int x = PixelTrunc(xAt(i));
        const int c = PixelTrunc(yBase - Value(base, i) * scale);
        const int e = PixelTrunc(Value(k, i) * scale);
        canvas.MoveTo(x - h, c - e);
        canvas.LineTo(x + h, c - e);
        canvas.MoveTo(x - h, c + e);
        canvas.LineTo(x + h, c + e);
        canvas.MoveTo(x, c - e);
        canvas.LineTo(x, c + e);
      }
      break;
    }
    default:
      break;  // Marks and unknown styles draw nothing here
  }
}

void TQVgraph::DrawMarks(int k, int from, int to, double /*scale*/, int xOff, int /*yBase*/) {
  if (!Surface()) return;
  if (from < 0 || to > Stride || k < 0 || k >= RowCount()) return;
  Canvas& canvas = *Surface();
  // The average point spacing; X at `to` is read one past the range, as by the clipping.
  int s = 1;
  if (to > from) s = PixelTrunc((XProbe(to) * XScale - XProbe(from) * XScale) / (to - from));
  canvas.SetPenWidth(s + 1);
  int lastMark = -100;
  for (int i = from; i < to; ++i) {
    const double xu = Value(0, i) * XScale - xOff;
    if (xu == lastMark || Value(k, i) != 1.0f) continue;
    const int x = PixelTrunc(xu);
    canvas.SetPenColor(Colors::White);
    canvas.MoveTo(x, s);
    canvas.LineTo(x, PlotBottom - s);
    lastMark = x;
  }
}
