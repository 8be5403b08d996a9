#pragma once
// Drawing surfaces without a window system. The Qt side implements them with
// QImage + QPainter; tests use a recording fake with fixed text metrics.
//
// Coordinates follow the usual raster conventions: Rectangle and FillRect cover
// x1..x2-1 and y1..y2-1 (corners in any order), Ellipse fits the same box, TextOut puts
// the top-left corner of the text cell at (x, y) and, while the brush is solid, fills the
// cell behind the text with the brush colour.
#include <cstdint>
#include <memory>
#include <string>

#include "plot/Color.h"

class Bitmap;

enum class PenStyle { Solid, Dash, Dot };
enum class BrushStyle { Solid, Clear };

// What a canvas remembers between calls: its pen, brush, font and the pen's position.
struct CanvasState {
  TColor pen = 0, brush = 0xFFFFFF, font = 0;
  int penWidth = 1;
  PenStyle penStyle = PenStyle::Solid;
  BrushStyle brushStyle = BrushStyle::Solid;
  std::string fontName;
  int fontPoints = 8;
  bool bold = false;
  int penX = 0, penY = 0;
};

class Canvas {
 public:
  virtual ~Canvas() = default;

  virtual void SetPenColor(TColor color) = 0;
  virtual void SetPenWidth(int width) = 0;  // 0 or 1: one pixel
  virtual void SetPenStyle(PenStyle style) = 0;
  virtual void SetBrushColor(TColor color) = 0;
  virtual void SetBrushStyle(BrushStyle style) = 0;
  virtual void SetFontName(const std::string& name) = 0;
  virtual void SetFontSize(int points) = 0;
  virtual void SetFontBold(bool bold) = 0;
  virtual void SetFontColor(TColor color) = 0;

  virtual void MoveTo(int x, int y) = 0;
  virtual void LineTo(int x, int y) = 0;
  virtual void Ellipse(int x1, int y1, int x2, int y2) = 0;
  // Outline in the pen, inside in the brush (none while the brush is clear).
  virtual void Rectangle(int x1, int y1, int x2, int y2) = 0;
  // The brush colour without outline.
  virtual void FillRect(int x1, int y1, int x2, int y2) = 0;
  virtual void TextOut(int x, int y, const std::string& text) = 0;  // UTF-8
  virtual int TextWidth(const std::string& text) = 0;
  virtual int TextHeight(const std::string& text) = 0;
  // Text turned a quarter to the left, reading from bottom to top, with the top-left
  // corner of its (turned) cell at (x, y): the cell spans x .. x + TextHeight to the right
  // and y - TextWidth .. y upward. False when this canvas cannot turn text, as bitmaps
  // cannot: the chart then copies the pixels of horizontal text instead.
  virtual bool TextOutUpward(int /*x*/, int /*y*/, const std::string& /*text*/) { return false; }

  // Pixels outside the surface read as black and are not written.
  virtual TColor GetPixel(int x, int y) = 0;
  virtual void SetPixel(int x, int y, TColor color) = 0;

  // Copies a whole bitmap with its top-left corner at (x, y).
  virtual void Draw(int x, int y, const Bitmap& source) = 0;
  // Copies the source rectangle (sx1, sy1)-(sx2, sy2) of `source` onto the destination
  // rectangle (dx1, dy1)-(dx2, dy2), stretched by nearest pixel when the sizes differ.
  // Source pixels outside `source` come out black.
  virtual void CopyRect(int dx1, int dy1, int dx2, int dy2, const Bitmap& source, int sx1,
                        int sy1, int sx2, int sy2) = 0;
};

// A 24-bit off-screen picture with its canvas.
class Bitmap {
 public:
  virtual ~Bitmap() = default;
  virtual int Width() const = 0;
  virtual int Height() const = 0;
  // New pixels are white. False when the size cannot be allocated; the bitmap is then empty.
  virtual bool SetSize(int width, int height) = 0;
  virtual Canvas& GetCanvas() = 0;
  // Pixel access in BGR order; outside the bitmap: black (read) and ignored (write).
  virtual TColor Pixel(int x, int y) const = 0;
  virtual void SetPixel(int x, int y, TColor color) = 0;
  // The picture as a PNG file's bytes; empty when this kind of bitmap cannot encode it.
  virtual std::string EncodePng() const { return {}; }
};

// The column (or row) of a stretched copy's source that destination offset i reads, for a
// source span of `sourceSpan` pixels drawn over `destSpan` pixels (both positive).
inline int StretchSource(int sourceStart, int i, int sourceSpan, int destSpan) {
  return sourceStart + static_cast<int>(static_cast<int64_t>(i) * sourceSpan / destSpan);
}

// Copies wider or higher than this are refused as absurd.
inline constexpr int kMaxCopySpan = 1 << 16;

// CopyRect done pixel by pixel through Pixel/SetPixel; an empty or reversed rectangle
// copies nothing.
void CopyRectByPixels(Canvas& dest, int dx1, int dy1, int dx2, int dy2, const Bitmap& source,
                      int sx1, int sy1, int sx2, int sy2);

// Core code asks for bitmaps through this hook, so it never needs to know the toolkit.
// The Qt program and the batch tool install QtBitmap; tests install a recording fake.
// Without a factory no bitmap can be made and nothing is drawn.
using BitmapFactory = std::unique_ptr<Bitmap> (*)(int width, int height);
void SetBitmapFactory(BitmapFactory factory);
BitmapFactory GetBitmapFactory();
// A white bitmap of the given size; null when there is no factory, the size is not
// positive or it cannot be allocated.
std::unique_ptr<Bitmap> NewBitmap(int width, int height);
