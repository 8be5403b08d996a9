#pragma once
// A canvas that records every drawing call, with fixed text metrics (6 pixels per byte,
// 14 pixels high), over a bitmap with real pixels. TextOut paints its cell with pixels
// that encode their position in the text (TextPixel), so copies can be traced back.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "plot/Canvas.h"

struct DrawOp {
  std::string kind;  // "Line", "Ellipse", "Rectangle", "FillRect", "Text", "Draw", "CopyRect"
  int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  std::string text;
  TColor pen = 0, brush = 0, font = 0;
  int penWidth = 0;
  PenStyle penStyle = PenStyle::Solid;
  BrushStyle brushStyle = BrushStyle::Solid;
  bool bold = false;
};

class RecordingCanvas : public Canvas {
 public:
  static constexpr int kCharWidth = 6;
  static constexpr int kTextHeight = 14;
  // The pixel TextOut leaves at offset (dx, dy) of its cell.
  static TColor TextPixel(int dx, int dy) {
    return 0x800000u | (static_cast<TColor>(dx & 0x7FFF) << 8) | static_cast<TColor>(dy & 0xFF);
  }

  explicit RecordingCanvas(Bitmap& owner) : owner_(owner) {}

  std::vector<DrawOp> ops;

  void SetPenColor(TColor c) override { pen_ = c; }
  void SetPenWidth(int w) override { penWidth_ = w; }
  void SetPenStyle(PenStyle s) override { penStyle_ = s; }
  void SetBrushColor(TColor c) override { brush_ = c; }
  void SetBrushStyle(BrushStyle s) override { brushStyle_ = s; }
  void SetFontName(const std::string&) override {}
  void SetFontSize(int) override {}
  void SetFontBold(bool bold) override { bold_ = bold; }
  void SetFontColor(TColor c) override { font_ = c; }

  void MoveTo(int x, int y) override { penX_ = x, penY_ = y; }
  void LineTo(int x, int y) override {
    Record("Line", penX_, penY_, x, y);
    penX_ = x, penY_ = y;
  }
  void Ellipse(int x1, int y1, int x2, int y2) override { Record("Ellipse", x1, y1, x2, y2); }
  void Rectangle(int x1, int y1, int x2, int y2) override {
    Record("Rectangle", x1, y1, x2, y2);
    if (brushStyle_ == BrushStyle::Solid) Fill(x1, y1, x2, y2);
  }
  void FillRect(int x1, int y1, int x2, int y2) override {
    Record("FillRect", x1, y1, x2, y2);
    Fill(x1, y1, x2, y2);
  }
  void TextOut(int x, int y, const std::string& text) override {
    Record("Text", x, y, x + TextWidth(text), y + kTextHeight, text);
    for (int dy = 0; dy < kTextHeight; ++dy)
      for (int dx = 0; dx < TextWidth(text); ++dx)
        owner_.SetPixel(x + dx, y + dy, TextPixel(dx, dy));
  }
  int TextWidth(const std::string& text) override {
    return kCharWidth * static_cast<int>(text.size());
  }
  int TextHeight(const std::string&) override { return kTextHeight; }
  TColor GetPixel(int x, int y) override { return owner_.Pixel(x, y); }
  void SetPixel(int x, int y, TColor color) override { owner_.SetPixel(x, y, color); }
  void Draw(int x, int y, const Bitmap& source) override {
    Record("Draw", x, y, x + source.Width(), y + source.Height());
    CopyRectByPixels(*this, x, y, x + source.Width(), y + source.Height(), source, 0, 0,
                     source.Width(), source.Height());
  }
  void CopyRect(int dx1, int dy1, int dx2, int dy2, const Bitmap& source, int sx1, int sy1, int sx2,
                int sy2) override {
    Record("CopyRect", dx1, dy1, dx2, dy2);
    CopyRectByPixels(*this, dx1, dy1, dx2, dy2, source, sx1, sy1, sx2, sy2);
  }

  // Recorded operations of one kind.
  std::vector<DrawOp> Of(const std::string& kind) const {
    std::vector<DrawOp> out;
    for (const DrawOp& op : ops)
      if (op.kind == kind) out.push_back(op);
    return out;
  }
  // The first text operation with this text, or null.
  const DrawOp* FindText(const std::string& text) const {
    for (const DrawOp& op : ops)
      if (op.kind == "Text" && op.text == text) return &op;
    return nullptr;
  }

 private:
  void Record(const char* kind, int x1, int y1, int x2, int y2, std::string text = {}) {
    ops.push_back({kind, x1, y1, x2, y2, std::move(text), pen_, brush_, font_, penWidth_, penStyle_,
                   brushStyle_, bold_});
  }
  void Fill(int x1, int y1, int x2, int y2) {
    const int left = std::max(std::min(x1, x2), 0), top = std::max(std::min(y1, y2), 0);
    const int right = std::min(std::max(x1, x2), owner_.Width());
    const int bottom = std::min(std::max(y1, y2), owner_.Height());
    for (int y = top; y < bottom; ++y)
      for (int x = left; x < right; ++x) owner_.SetPixel(x, y, brush_);
  }

  Bitmap& owner_;
  TColor pen_ = 0, brush_ = 0xFFFFFF, font_ = 0;
  int penWidth_ = 1, penX_ = 0, penY_ = 0;
  PenStyle penStyle_ = PenStyle::Solid;
  BrushStyle brushStyle_ = BrushStyle::Solid;
  bool bold_ = false;
};

// White until first drawn on, so an unused 3000 x 2000 bitmap costs nothing.
class RecordingBitmap : public Bitmap {
 public:
  RecordingBitmap(int width, int height) : canvas_(*this) { SetSize(width, height); }

  int Width() const override { return width_; }
  int Height() const override { return height_; }
  bool SetSize(int width, int height) override {
    width_ = std::max(width, 0), height_ = std::max(height, 0);
    pixels_.clear();
    return true;
  }
  Canvas& GetCanvas() override { return canvas_; }
  RecordingCanvas& Recorder() { return canvas_; }
  TColor Pixel(int x, int y) const override {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return 0;
    return pixels_.empty() ? 0xFFFFFF : pixels_[static_cast<size_t>(y) * width_ + x];
  }
  void SetPixel(int x, int y, TColor color) override {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    if (pixels_.empty()) pixels_.assign(static_cast<size_t>(width_) * height_, 0xFFFFFF);
    pixels_[static_cast<size_t>(y) * width_ + x] = color;
  }

 private:
  int width_ = 0, height_ = 0;
  std::vector<TColor> pixels_;
  RecordingCanvas canvas_;
};

// Installs the recording bitmap as the factory for the life of the object.
class RecordingFactoryScope {
 public:
  RecordingFactoryScope() : previous_(GetBitmapFactory()) { SetBitmapFactory(&Make); }
  ~RecordingFactoryScope() { SetBitmapFactory(previous_); }
  RecordingFactoryScope(const RecordingFactoryScope&) = delete;
  RecordingFactoryScope& operator=(const RecordingFactoryScope&) = delete;
  static std::unique_ptr<Bitmap> Make(int width, int height) {
    return std::make_unique<RecordingBitmap>(width, height);
  }

 private:
  BitmapFactory previous_;
};

inline RecordingCanvas& RecorderOf(Bitmap& bitmap) {
  return static_cast<RecordingBitmap&>(bitmap).Recorder();
}
