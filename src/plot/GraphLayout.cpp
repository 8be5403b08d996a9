// Layout and frame of the chart: tick bounds, margins, scales, labels, titles,
// tick lines, caption and notes.
#include <algorithm>

#include "plot/Canvas.h"
#include "plot/GraphMath.h"
#include "plot/TQVgraph.h"
#include "plot/Ticks.h"

using namespace graph_math;

namespace {

// Widest label of the ticks from `first` up to `last`.
int WidestLabel(Canvas& canvas, double first, double last, double dist) {
  int widest = 0;
  int drawn = 0;
  for (double t = first; t <= last && drawn < kMaxTicksDrawn; t += dist, ++drawn)
    widest = std::max(widest, canvas.TextWidth(FormatTickLabel(t)));
  return widest;
}

PenStyle TickPenStyle(int type) {
  if (type == TickDashed) return PenStyle::Dash;
  if (type == TickDotted) return PenStyle::Dot;
  return PenStyle::Solid;
}

}  // namespace

void TQVgraph::CalcLayout() {
  if (!surface_ && !EnsureBitmap()) return;
  Canvas& canvas = *Surface();

  // The right-axis flag is brought up to date before the bounds, so that the first
  // draw after a series moves to the right axis already has that axis' ticks.
  const int count = ShownSeriesCount();
  HasRightAxis = false;
  for (int k = 1; k <= count; ++k)
    if (Series[k].Show && Series[k].RightAxis) HasRightAxis = true;

  XTickFirst = XTickLast = Y0TickFirst = Y0TickLast = Y1TickFirst = Y1TickLast = 0;
  XTickFirst = FirstTick(FirstXval, TickXdist);
  XTickLast = LastTick(LastXval, TickXdist);
  Y0TickFirst = FirstTick(FirstY0val, TickY0dist);
  Y0TickLast = LastTick(LastY0val, TickY0dist);
  if (HasRightAxis) {
    Y1TickFirst = FirstTick(FirstY1val, TickY1dist);
    Y1TickLast = LastTick(LastY1val, TickY1dist);
  }

  if (FontSize < 8) FontSize = 8;
  canvas.SetFontSize(FontSize);
  canvas.SetFontBold(true);
  LineHeight = canvas.TextHeight("HJyyp{") + 3;

  LeftMargin = WidestLabel(canvas, Y0TickFirst, Y0TickLast, TickY0dist) + LineHeight + 4;
  RightMargin = HasRightAxis
                    ? WidestLabel(canvas, Y1TickFirst, Y1TickLast, TickY1dist) + LineHeight
                    : 0;

  PlotRight = SurfaceWidth() - RightMargin;
  PlotBottom = SurfaceHeight() - 2 * LineHeight;
  for (const std::string& note : Notes)
    if (!note.empty()) PlotBottom -= LineHeight;

  XScale = (PlotRight - LeftMargin) / (LastXval - FirstXval);
  Y0Scale = PlotBottom / (LastY0val - FirstY0val);
  Y1Scale = PlotBottom / (LastY1val - FirstY1val);
}

void TQVgraph::DrawTickLabelsY(double tickFirst, double first, double scale, double dist,
                               bool right) {
  Canvas& canvas = *Surface();
  double p = PlotBottom - (tickFirst - first) * scale;
  double t = tickFirst;
  for (int drawn = 0; p > 5 && drawn < kMaxTicksDrawn; ++drawn) {
    const std::string label = FormatTickLabel(t);
    const int x = right ? PlotRight + 2 : LeftMargin - canvas.TextWidth(label) - 2;
    canvas.TextOut(x, PixelTrunc(p - 5), label);
    p -= scale * dist;
    t += dist;
  }
}

void TQVgraph::DrawTickLinesY(double tickFirst, double first, double scale, double dist,
                              int type, TColor color) {
  if (type == TickNone) return;
  Canvas& canvas = *Surface();
  canvas.SetPenColor(color);
  canvas.SetPenStyle(TickPenStyle(type));
  double p = PlotBottom - (tickFirst - first) * scale;
  for (int drawn = 0; p > 0 && drawn < kMaxTicksDrawn; ++drawn) {
    canvas.MoveTo(LeftMargin, PixelTrunc(p));
    canvas.LineTo(PlotRight, PixelTrunc(p));
    p -= scale * dist;
  }
}

// The title reads from bottom to top in the columns starting at `firstColumn`. A canvas
// that turns text draws it so; on a bitmap it is written horizontally into a scratch strip
// below the plot and copied pixel by pixel, and then the strip is cleared again.
void TQVgraph::DrawRotatedTitle(const std::string& title, int firstColumn, bool right) {
  Canvas& canvas = *Surface();
  const int top = PlotBottom + LineHeight;
  const int w = canvas.TextWidth(title);
  const int centre = PlotBottom / 2 + w / 2;
  // Source column i of the strip lands on row centre - i, so the text's left edge (column
  // 1) meets row centre.
  if (canvas.TextOutUpward(firstColumn, centre, title)) return;
  canvas.TextOut(1, top, title);
  const int end = PlotBottom + 2 * LineHeight - (right ? 3 : 1);
  int column = firstColumn;
  for (int y = top; y < end; ++y, ++column)
    for (int i = 1; i <= w - 1; ++i) canvas.SetPixel(column, centre - i, canvas.GetPixel(i, y));
  // The two strips differ by two rows at the top; both are kept as they are.
  canvas.FillRect(1, right ? top - 2 : top, w, PlotBottom + 2 * LineHeight - 1);
}

void TQVgraph::DrawFrame(bool clear) {
  if (!Surface()) return;
  Canvas& canvas = *Surface();
  const int width = SurfaceWidth();
  const int height = SurfaceHeight();

  canvas.SetBrushStyle(BrushStyle::Solid);
  canvas.SetBrushColor(PanelColor);
  canvas.SetFontSize(FontSize);
  canvas.SetPenWidth(1);
  canvas.SetFontColor(NotesColor);
  canvas.SetFontBold(true);

  // The outline keeps whatever pen colour was last in use.
  if (clear) canvas.Rectangle(0, 0, width, height);

  canvas.SetFontColor(XColor);
  {
    double r = (XTickFirst - FirstXval) * XScale;
    double t = XTickFirst;
    for (int drawn = 0; r < PlotRight - LeftMargin && drawn < kMaxTicksDrawn; ++drawn) {
      canvas.TextOut(PixelTrunc(LeftMargin + r - 3), PlotBottom + 1, FormatTickLabel(t));
      r += XScale * TickXdist;
      t += TickXdist;
    }
  }

  canvas.SetFontColor(Y0Color);
  DrawTickLabelsY(Y0TickFirst, FirstY0val, Y0Scale, TickY0dist, false);

  if (HasRightAxis) {
    canvas.SetFontColor(Y1Color);
    DrawTickLabelsY(Y1TickFirst, FirstY1val, Y1Scale, TickY1dist, true);
    DrawRotatedTitle(Y1Title, PlotRight + RightMargin - LineHeight + 1, true);
    DrawTickLinesY(Y1TickFirst, FirstY1val, Y1Scale, TickY1dist, Y1tickType, Y1Color);
  }

  canvas.SetFontColor(Y0Color);
  DrawRotatedTitle(Y0Title, 3, false);

  canvas.SetFontColor(XColor);
  canvas.TextOut(width / 2 - canvas.TextWidth(XTitle) / 2, PlotBottom + LineHeight - 2, XTitle);

  DrawTickLinesY(Y0TickFirst, FirstY0val, Y0Scale, TickY0dist, Y0tickType, Y0Color);

  if (XtickType != TickNone) {
    canvas.SetPenColor(XColor);
    canvas.SetPenStyle(TickPenStyle(XtickType));
    double x = LeftMargin + (XTickFirst - FirstXval) * XScale;
    for (int drawn = 0; x < PlotRight && drawn < kMaxTicksDrawn; ++drawn) {
      canvas.MoveTo(PixelTrunc(x), 1);
      canvas.LineTo(PixelTrunc(x), PlotBottom);
      x += XScale * TickXdist;
    }
  }

  canvas.SetPenStyle(PenStyle::Solid);
  canvas.SetFontColor(NotesColor);
  canvas.TextOut(width / 2 - canvas.TextWidth(Caption) / 2, 1, Caption);

  canvas.SetFontBold(false);
  if (CheckMark) {
    canvas.SetPenWidth(7);
    canvas.SetPenColor(Colors::Green);
    canvas.MoveTo(10, 10);
    canvas.LineTo(20, 40);
    canvas.LineTo(30, 10);
    canvas.SetPenWidth(1);
  }

  int y = PlotBottom + 2 * LineHeight;
  for (const std::string& note : Notes) {
    if (note.empty()) continue;
    canvas.TextOut(5, y, note);
    y += LineHeight;
  }
}
