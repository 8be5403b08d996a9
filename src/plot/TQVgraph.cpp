#include "plot/TQVgraph.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>

#include "plot/Canvas.h"
#include "plot/GraphMath.h"

using graph_math::PixelTrunc;

namespace {
constexpr int kInitialWidth = 3000;
constexpr int kInitialHeight = 2000;
}  // namespace

TQVgraph::TQVgraph() {
  // Series 10 to 14 get no colour of their own: black like 6 to 9.
  const TColor defaults[] = {Colors::Black, Colors::Blue, Colors::Red,  Colors::Black,
                             Colors::Green, Colors::Red};
  for (int s = 0; s <= kMaxSeries; ++s) Series[s].Color = s < 6 ? defaults[s] : Colors::Black;
  EnsureBitmap();
}

TQVgraph::~TQVgraph() = default;

bool TQVgraph::EnsureBitmap() {
  if (Bitmap) return true;
  Bitmap = NewBitmap(kInitialWidth, kInitialHeight);
  if (!Bitmap) return false;
  PrepareCanvas(Bitmap->GetCanvas());
  return true;
}

void TQVgraph::PrepareCanvas(Canvas& canvas) {
  // Spelled so on purpose: no such face exists, and the platform falls back to its default.
  canvas.SetFontName("Areal");
  canvas.SetPenColor(Colors::Black);
}

Canvas* TQVgraph::Surface() {
  if (surface_) return surface_;
  return Bitmap ? &Bitmap->GetCanvas() : nullptr;
}

int TQVgraph::SurfaceWidth() const {
  if (surface_) return surfaceWidth_;
  return Bitmap ? Bitmap->Width() : 0;
}

int TQVgraph::SurfaceHeight() const {
  if (surface_) return surfaceHeight_;
  return Bitmap ? Bitmap->Height() : 0;
}

bool TQVgraph::SetBitmapSize(int width, int height) {
  if (!EnsureBitmap()) return false;
  return Bitmap->SetSize(std::max(width, 0), std::max(height, 0));
}

void TQVgraph::Beep() {
  if (OnBeep) OnBeep();
}

int TQVgraph::ShownSeriesCount() const { return std::clamp(SeriesCount, 0, kMaxSeries); }

int TQVgraph::RowCount() const { return DataRows > 0 ? DataRows : ShownSeriesCount() + 1; }

float TQVgraph::Value(int r, int i) const {
  if (!Data || r < 0 || r >= RowCount() || i < 0 || i >= Stride) return 0.0f;
  return Data[static_cast<ptrdiff_t>(r) * Stride + i];
}

float TQVgraph::XProbe(int i) const {
  if (!Data || i < 0 || Stride <= 0) return 0.0f;
  if (static_cast<int64_t>(i) >= static_cast<int64_t>(RowCount()) * Stride) return 0.0f;
  return Data[i];
}

int TQVgraph::XOffset() const { return PixelTrunc(FirstXval * XScale - LeftMargin); }

int TQVgraph::LeftYBase() const { return PixelTrunc(PlotBottom + FirstY0val * Y0Scale); }

// Rounded differently from the left axis on purpose: the offset is truncated on its own.
int TQVgraph::RightYBase() const { return PlotBottom + PixelTrunc(FirstY1val * Y1Scale); }

bool TQVgraph::CheckRanges() {
  bool good = true;
  auto range = [&good](double& first, double& last) {
    if (first >= last) {
      first = 0;
      last = 10;
      good = false;
    }
  };
  auto tick = [&good](double& dist) {
    if (dist == 0) {
      dist = 1.0;
      good = false;
    }
  };
  range(FirstXval, LastXval);
  range(FirstY0val, LastY0val);
  range(FirstY1val, LastY1val);
  tick(TickXdist);
  tick(TickY0dist);
  tick(TickY1dist);
  return good;
}

void TQVgraph::DrawGraph() {
  if (!CheckRanges()) {
    // The old picture stays until the next paint shows the repaired axes.
    Beep();
    return;
  }
  if (!EnsureBitmap()) return;
  CalcLayout();
  DrawFrame(true);
  if (HasData) DrawAllSeries();
}

void TQVgraph::DrawOnto(Canvas& canvas, int width, int height) {
  if (!CheckRanges()) {
    Beep();
    return;
  }
  PrepareCanvas(canvas);
  surface_ = &canvas;
  surfaceWidth_ = std::max(width, 0);
  surfaceHeight_ = std::max(height, 0);
  CalcLayout();
  DrawFrame(true);
  if (HasData) DrawAllSeries();
  surface_ = nullptr;
}

void TQVgraph::Paint() {
  if (!TargetCanvas) return;
  DrawGraph();
  if (Bitmap) TargetCanvas->Draw(DrawX, DrawY, *Bitmap);
}

bool TQVgraph::PickValues(int mouseX, int mouseY) {
  const int count = ShownSeriesCount();
  for (int r = 0; r <= count; ++r) CursorValues[r] = 0;
  // The right bound adds the margin a second time; kept as the viewer has always had it.
  if (mouseX <= LeftMargin || mouseX > PlotRight + LeftMargin || !HasData) return false;
  const int xOff = XOffset();
  const int end = std::min(LastOut, Stride);
  for (int i = std::max(FirstOut, 0); i < end; ++i) {
    if (Value(0, i) * XScale - xOff > mouseX) {
      for (int r = 0; r <= count; ++r) CursorValues[r] = Value(r, i);
      CursorIndex = i;
      break;
    }
  }
  CursorSeries = 0;
  for (int k = 1; k <= count; ++k) {
    if (!Series[k].Show) continue;
    const bool right = Series[k].RightAxis;
    const int yBase = right ? RightYBase() : LeftYBase();
    // Taken as a 32-bit float, clamped so that an absurd scale does not overflow it.
    const double wide = right ? Y1Scale : Y0Scale;
    const float scale = std::isnan(wide) ? NAN
                                          : static_cast<float>(std::clamp(
                                                wide, -double{FLT_MAX}, double{FLT_MAX}));
    const float y = static_cast<float>(yBase) - Value(k, CursorIndex) * scale;
    const int pixel = PixelTrunc(y);
    const int64_t distance = static_cast<int64_t>(pixel) - mouseY;
    if (distance < 2 && distance > -2) {
      CursorSeries = k;
      break;
    }
  }
  return true;
}
