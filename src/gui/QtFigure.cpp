#include "gui/QtFigure.h"

#include <QBuffer>
#include <QByteArray>
#include <QFontInfo>
#include <QFontMetrics>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgGenerator>
#include <algorithm>
#include <memory>
#include <string>

#include "gui/CanvasClip.h"
#include "gui/QtBitmap.h"
#include "plot/Canvas.h"
#include "plot/VectorFigure.h"

using namespace canvas_clip;

namespace {

// Pages larger than the largest bitmap are refused.
constexpr int kMaxSide = 32767;
// One unit of the page is one pixel of the bitmap pictures, at 96 dots per inch.
constexpr int kDotsPerInch = 96;
// The raster lights the pixel right of and below a stroke's integer coordinate; strokes
// move by half a unit so that they cover the same places on the page.
constexpr double kStrokeOffset = 0.5;

QString ToQString(const std::string& text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// A canvas over the figure's painter, inside one region of the page at a time.
class QtVectorCanvas : public Canvas {
 public:
  explicit QtVectorCanvas(QPainter& painter) : painter_(painter) {}

  // Moves the origin to (x, y), clips to width x height, and starts from a new canvas's
  // pen, brush and font.
  void Begin(int x, int y, int width, int height) {
    painter_.resetTransform();
    painter_.setClipping(false);
    painter_.translate(x, y);
    painter_.setClipRect(QRect(0, 0, width, height));
    width_ = width;
    height_ = height;
    state_ = CanvasState{};
    FontChanged();
  }

  void SetPenColor(TColor color) override { state_.pen = color; }
  void SetPenWidth(int width) override { state_.penWidth = width; }
  void SetPenStyle(PenStyle style) override { state_.penStyle = style; }
  void SetBrushColor(TColor color) override { state_.brush = color; }
  void SetBrushStyle(BrushStyle style) override { state_.brushStyle = style; }
  void SetFontName(const std::string& name) override { state_.fontName = name, FontChanged(); }
  void SetFontSize(int points) override { state_.fontPoints = points, FontChanged(); }
  void SetFontBold(bool bold) override { state_.bold = bold, FontChanged(); }
  void SetFontColor(TColor color) override { state_.font = color; }

  void MoveTo(int x, int y) override { state_.penX = x, state_.penY = y; }

  void LineTo(int x, int y) override {
    double x1 = state_.penX, y1 = state_.penY, x2 = x, y2 = y;
    state_.penX = x, state_.penY = y;
    // Cut at the region's edges: an SVG file keeps no clip, so nothing may reach into the
    // panel beside.
    if (!ClipSegment(x1, y1, x2, y2, 0, 0, width_, height_)) return;
    Stroke();
    painter_.drawLine(QPointF(x1 + kStrokeOffset, y1 + kStrokeOffset),
                      QPointF(x2 + kStrokeOffset, y2 + kStrokeOffset));
  }

  void Ellipse(int x1, int y1, int x2, int y2) override {
    const QRect box = Box(x1, y1, x2, y2);
    if (!Visible(box, std::clamp(state_.penWidth, 0, kMaxPenWidth) + 2)) return;
    Stroke();
    painter_.setBrush(state_.brushStyle == BrushStyle::Solid ? QBrush(ToQColor(state_.brush)) : QBrush());
    painter_.drawEllipse(QRectF(box).translated(kStrokeOffset, kStrokeOffset));
  }

  void Rectangle(int x1, int y1, int x2, int y2) override {
    const QRect box = Box(x1, y1, x2, y2);
    if (box.width() <= 0 || box.height() <= 0 || !Visible(box, 2)) return;
    if (state_.brushStyle == BrushStyle::Solid) painter_.fillRect(box, ToQColor(state_.brush));
    // The outline runs on the outermost pixels of the box, as on a bitmap.
    QPen pen = StrokePen();
    pen.setJoinStyle(Qt::MiterJoin);
    painter_.setPen(pen);
    painter_.setBrush(Qt::NoBrush);
    painter_.drawRect(QRectF(box.x() + kStrokeOffset, box.y() + kStrokeOffset,
                             box.width() - 1, box.height() - 1));
  }

  void FillRect(int x1, int y1, int x2, int y2) override {
    const QRect box = Box(x1, y1, x2, y2);
    if (box.width() > 0 && box.height() > 0 && Visible(box, 0))
      painter_.fillRect(box, ToQColor(state_.brush));
  }

  void TextOut(int x, int y, const std::string& text) override {
    const QString s = ToQString(text);
    const QFontMetrics metrics(measureFont_);
    const QRect cell(ClampCoord(x), ClampCoord(y), metrics.horizontalAdvance(s), metrics.height());
    if (!Visible(cell, 0)) return;
    if (state_.brushStyle == BrushStyle::Solid) painter_.fillRect(cell, ToQColor(state_.brush));
    painter_.setPen(ToQColor(state_.font));
    painter_.setFont(drawFont_);
    painter_.drawText(QPointF(cell.left(), cell.top() + metrics.ascent()), s);
  }

  bool TextOutUpward(int x, int y, const std::string& text) override {
    const QString s = ToQString(text);
    const QFontMetrics metrics(measureFont_);
    const QRect cell(0, 0, metrics.horizontalAdvance(s), metrics.height());
    if (!Visible(QRect(ClampCoord(x), ClampCoord(y) - cell.width(), cell.height(), cell.width()), 0))
      return true;
    painter_.save();
    painter_.translate(ClampCoord(x), ClampCoord(y));
    painter_.rotate(-90);
    if (state_.brushStyle == BrushStyle::Solid) painter_.fillRect(cell, ToQColor(state_.brush));
    painter_.setPen(ToQColor(state_.font));
    painter_.setFont(drawFont_);
    painter_.drawText(QPointF(0, metrics.ascent()), s);
    painter_.restore();
    return true;
  }

  // Measured as the bitmap measures, so the layout comes out the same.
  int TextWidth(const std::string& text) override {
    return QFontMetrics(measureFont_).horizontalAdvance(ToQString(text));
  }
  int TextHeight(const std::string&) override { return QFontMetrics(measureFont_).height(); }

  // A drawing has no pixels to read.
  TColor GetPixel(int, int) override { return 0; }
  void SetPixel(int x, int y, TColor color) override {
    if (x >= 0 && y >= 0 && x < width_ && y < height_)
      painter_.fillRect(QRect(x, y, 1, 1), ToQColor(color));
  }

  void Draw(int x, int y, const Bitmap& source) override {
    CopyRect(x, y, x + source.Width(), y + source.Height(), source, 0, 0, source.Width(),
             source.Height());
  }

  void CopyRect(int dx1, int dy1, int dx2, int dy2, const Bitmap& source, int sx1, int sy1,
                int sx2, int sy2) override {
    const auto* qt = dynamic_cast<const QtBitmap*>(&source);
    const QRect to = Box(dx1, dy1, dx2, dy2), from = Box(sx1, sy1, sx2, sy2);
    if (!qt || to.isEmpty() || from.isEmpty() || !Visible(to, 0)) return;
    painter_.drawImage(to, qt->Image(), from);
  }

 private:
  void FontChanged() {
    measureFont_ = ChartFont(state_.fontName, state_.fontPoints, state_.bold);
    // A reader of the file knows nothing of the fallback: name the face really used.
    drawFont_ = measureFont_;
    drawFont_.setFamily(QFontInfo(measureFont_).family());
  }

  QPen StrokePen() const {
    QPen pen(ToQColor(state_.pen));
    pen.setWidthF(std::clamp(state_.penWidth, 1, kMaxPenWidth));
    if (state_.penStyle == PenStyle::Solid) {
      pen.setCapStyle(Qt::RoundCap);
      pen.setJoinStyle(Qt::RoundJoin);
    } else {
      // Round caps would swell the dots into a line.
      pen.setStyle(state_.penStyle == PenStyle::Dash ? Qt::DashLine : Qt::DotLine);
      pen.setCapStyle(Qt::FlatCap);
    }
    return pen;
  }

  void Stroke() {
    painter_.setPen(StrokePen());
    painter_.setBrush(Qt::NoBrush);
  }

  // Whether a box, grown by `margin`, touches the region at all.
  bool Visible(const QRect& box, int margin) const {
    return box.adjusted(-margin, -margin, margin, margin).intersects(QRect(0, 0, width_, height_));
  }

  QPainter& painter_;
  int width_ = 0, height_ = 0;
  CanvasState state_;
  QFont measureFont_, drawFont_;
};

class QtVectorFigure : public VectorFigure {
 public:
  QtVectorFigure(FigureFormat format, int width, int height)
      : buffer_(&bytes_), canvas_(painter_) {
    if (!buffer_.open(QIODevice::WriteOnly)) return;
    QPaintDevice* device = nullptr;
    if (format == FigureFormat::Pdf) {
      pdf_ = std::make_unique<QPdfWriter>(&buffer_);
      pdf_->setCreator("Kinetra Statistics");
      pdf_->setResolution(kDotsPerInch);
      const double toPoints = 72.0 / kDotsPerInch;
      pdf_->setPageSize(QPageSize(QSizeF(width * toPoints, height * toPoints), QPageSize::Point,
                                  QString(), QPageSize::ExactMatch));
      pdf_->setPageMargins(QMarginsF(0, 0, 0, 0), QPageLayout::Point);
      device = pdf_.get();
    } else {
      svg_ = std::make_unique<QSvgGenerator>();
      svg_->setOutputDevice(&buffer_);
      svg_->setSize(QSize(width, height));
      svg_->setViewBox(QRect(0, 0, width, height));
      svg_->setResolution(kDotsPerInch);
      svg_->setTitle("Kinetra Statistics");
      device = svg_.get();
    }
    if (!painter_.begin(device)) return;
    // White where no panel covers the page, as in the composed bitmap.
    painter_.fillRect(QRect(0, 0, width, height), Qt::white);
  }

  bool Ready() const { return painter_.isActive(); }

  Canvas& Region(int x, int y, int width, int height) override {
    canvas_.Begin(x, y, width, height);
    return canvas_;
  }

  std::string Finish() override {
    if (!painter_.isActive() || !painter_.end()) return {};
    buffer_.close();
    return std::string(bytes_.constData(), static_cast<size_t>(bytes_.size()));
  }

 private:
  QByteArray bytes_;
  QBuffer buffer_;
  std::unique_ptr<QPdfWriter> pdf_;
  std::unique_ptr<QSvgGenerator> svg_;
  QPainter painter_;
  QtVectorCanvas canvas_;
};

std::unique_ptr<VectorFigure> MakeQtFigure(FigureFormat format, int width, int height) {
  if (width > kMaxSide || height > kMaxSide) return nullptr;
  auto figure = std::make_unique<QtVectorFigure>(format, width, height);
  if (!figure->Ready()) return nullptr;
  return figure;
}

}  // namespace

void InstallQtFigureFactory() { SetVectorFigureFactory(&MakeQtFigure); }
