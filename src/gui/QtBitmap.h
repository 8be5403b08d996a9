#pragma once
// The chart's drawing surface on Qt: a 24-bit QImage painted with QPainter. Works with
// any Qt platform, including "offscreen" for the batch tool and the tests.
#include <QColor>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <memory>
#include <string>

#include "plot/Canvas.h"

class QtBitmap;

class QtCanvas : public Canvas {
 public:
  explicit QtCanvas(QtBitmap& owner);
  ~QtCanvas() override;

  void SetPenColor(TColor color) override;
  void SetPenWidth(int width) override;
  void SetPenStyle(PenStyle style) override;
  void SetBrushColor(TColor color) override;
  void SetBrushStyle(BrushStyle style) override;
  void SetFontName(const std::string& name) override;
  void SetFontSize(int points) override;
  void SetFontBold(bool bold) override;
  void SetFontColor(TColor color) override;

  void MoveTo(int x, int y) override;
  void LineTo(int x, int y) override;
  void Ellipse(int x1, int y1, int x2, int y2) override;
  void Rectangle(int x1, int y1, int x2, int y2) override;
  void FillRect(int x1, int y1, int x2, int y2) override;
  void TextOut(int x, int y, const std::string& text) override;
  int TextWidth(const std::string& text) override;
  int TextHeight(const std::string& text) override;
  TColor GetPixel(int x, int y) override;
  void SetPixel(int x, int y, TColor color) override;
  void Draw(int x, int y, const Bitmap& source) override;
  void CopyRect(int dx1, int dy1, int dx2, int dy2, const Bitmap& source, int sx1, int sy1,
                int sx2, int sy2) override;

  // Finishes pending painting so that the image's pixels can be read or written directly.
  void End();

 private:
  QPainter* Painter();  // null while the image is empty
  QFont Font() const;
  QPen Pen() const;

  QtBitmap& owner_;
  std::unique_ptr<QPainter> painter_;
  CanvasState state_;
};

class QtBitmap : public Bitmap {
 public:
  // An empty (0 x 0) bitmap when the size is not positive or cannot be allocated.
  QtBitmap(int width, int height);
  ~QtBitmap() override;

  int Width() const override { return image_.width(); }
  int Height() const override { return image_.height(); }
  bool SetSize(int width, int height) override;
  Canvas& GetCanvas() override { return canvas_; }
  TColor Pixel(int x, int y) const override;
  void SetPixel(int x, int y, TColor color) override;
  std::string EncodePng() const override;

  // The finished picture (pending painting is completed first).
  const QImage& Image() const;

 private:
  friend class QtCanvas;
  QImage& MutableImage() { return image_; }

  QImage image_;
  mutable QtCanvas canvas_;
};

QColor ToQColor(TColor color);
// The chart's font: the named face (or the sans-serif fallback) at `points` on a
// 96-dpi screen, as a pixel size, so every paint device measures it alike.
QFont ChartFont(const std::string& name, int points, bool bold);
TColor FromQRgb(QRgb rgb);

// Makes Qt draw every chart: QtBitmap for bitmaps (see SetBitmapFactory), and the PDF and
// SVG figures (see SetVectorFigureFactory).
void InstallQtBitmapFactory();

// Qt draws and converts images on the calling thread only, so that it never waits for a
// thread the system refused (see QtBitmap.cpp). Call before the application object is
// made.
void KeepQtOnCallingThread();
