#include "gui/QtBitmap.h"

#include <QBuffer>
#include <QFontMetrics>
#include <QString>
#include <QThreadPool>
#include <algorithm>
#include <cstdint>
#include <cstdlib>

// Qt's painter and image conversions (Qt 6.4) hand the pieces of a large fill to
// QThreadPool::globalInstance() and wait for them. Where the system refuses the pool a
// thread (a low process limit), a refused piece never runs and the painter waits for
// ever. When there is no pool they draw on the calling thread, with the same pixels. So
// the program withholds it: this definition, being the executable's, is the one Qt's
// libraries bind to (of Qt's libraries only QtGui asks for the pool, and every one of its
// callers accepts none). The program's pictures are small, so one thread draws them about
// as fast; nothing here may need Qt's global pool (make a QThreadPool of your own).
QThreadPool* QThreadPool::globalInstance() { return nullptr; }

void KeepQtOnCallingThread() {
  // Later Qt versions draw on a pool of their own, which this variable turns off.
  setenv("QT_NO_GUI_THREADPOOL", "1", 0);
}

#include "gui/CanvasClip.h"
#include "gui/QtFigure.h"

using namespace canvas_clip;

namespace {

// Larger pictures are refused rather than allocated.
constexpr int kMaxSide = 32767;
constexpr int64_t kMaxBytes = int64_t{1} << 30;

std::unique_ptr<Bitmap> MakeQtBitmap(int width, int height) {
  auto bitmap = std::make_unique<QtBitmap>(width, height);
  if (bitmap->Width() != width || bitmap->Height() != height) return nullptr;
  return bitmap;
}

}  // namespace

QColor ToQColor(TColor color) {
  return QColor(color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF);
}

TColor FromQRgb(QRgb rgb) {
  return static_cast<TColor>(qRed(rgb)) | (static_cast<TColor>(qGreen(rgb)) << 8) |
         (static_cast<TColor>(qBlue(rgb)) << 16);
}

void InstallQtBitmapFactory() {
  SetBitmapFactory(&MakeQtBitmap);
  InstallQtFigureFactory();
}

// --- QtCanvas

QtCanvas::QtCanvas(QtBitmap& owner) : owner_(owner) {}

QtCanvas::~QtCanvas() { End(); }

void QtCanvas::End() { painter_.reset(); }

QFont ChartFont(const std::string& name, int points, bool bold) {
  QFont font(QString::fromStdString(name));
  font.setStyleHint(QFont::SansSerif);
  // Points at 96 dots per inch, rounded like the platform's MulDiv, so that the size in
  // pixels does not depend on the paint device.
  font.setPixelSize((std::clamp(points, 1, 500) * 96 + 36) / 72);
  font.setBold(bold);
  return font;
}

QFont QtCanvas::Font() const { return ChartFont(state_.fontName, state_.fontPoints, state_.bold); }

QPen QtCanvas::Pen() const {
  QPen pen(ToQColor(state_.pen));
  pen.setWidth(std::clamp(state_.penWidth, 0, kMaxPenWidth));
  pen.setStyle(state_.penStyle == PenStyle::Dash  ? Qt::DashLine
               : state_.penStyle == PenStyle::Dot ? Qt::DotLine
                                            : Qt::SolidLine);
  pen.setCapStyle(Qt::RoundCap);
  pen.setJoinStyle(Qt::RoundJoin);
  return pen;
}

QPainter* QtCanvas::Painter() {
  if (owner_.image_.isNull()) return nullptr;
  if (!painter_) {
    painter_ = std::make_unique<QPainter>(&owner_.MutableImage());
    painter_->setPen(Pen());
    painter_->setFont(Font());
    if (state_.brushStyle == BrushStyle::Solid)
      painter_->setBrush(ToQColor(state_.brush));
    else
      painter_->setBrush(Qt::NoBrush);
  }
  return painter_.get();
}

void QtCanvas::SetPenColor(TColor color) {
  state_.pen = color;
  if (painter_) painter_->setPen(Pen());
}

void QtCanvas::SetPenWidth(int width) {
  state_.penWidth = width;
  if (painter_) painter_->setPen(Pen());
}

void QtCanvas::SetPenStyle(PenStyle style) {
  state_.penStyle = style;
  if (painter_) painter_->setPen(Pen());
}

void QtCanvas::SetBrushColor(TColor color) {
  state_.brush = color;
  if (painter_ && state_.brushStyle == BrushStyle::Solid) painter_->setBrush(ToQColor(state_.brush));
}

void QtCanvas::SetBrushStyle(BrushStyle style) {
  state_.brushStyle = style;
  if (!painter_) return;
  if (style == BrushStyle::Solid)
    painter_->setBrush(ToQColor(state_.brush));
  else
    painter_->setBrush(Qt::NoBrush);
}

void QtCanvas::SetFontName(const std::string& name) {
  state_.fontName = name;
  if (painter_) painter_->setFont(Font());
}

void QtCanvas::SetFontSize(int points) {
  state_.fontPoints = points;
  if (painter_) painter_->setFont(Font());
}

void QtCanvas::SetFontBold(bool bold) {
  state_.bold = bold;
  if (painter_) painter_->setFont(Font());
}

void QtCanvas::SetFontColor(TColor color) { state_.font = color; }

void QtCanvas::MoveTo(int x, int y) {
  state_.penX = x;
  state_.penY = y;
}

void QtCanvas::LineTo(int x, int y) {
  double x1 = state_.penX, y1 = state_.penY, x2 = x, y2 = y;
  state_.penX = x;
  state_.penY = y;
  QPainter* painter = Painter();
  if (!painter) return;
  const double margin = std::clamp(state_.penWidth, 0, kMaxPenWidth) + 2.0;
  if (!ClipSegment(x1, y1, x2, y2, -margin, -margin, owner_.Width() + margin,
                   owner_.Height() + margin))
    return;
  painter->drawLine(QPointF(x1, y1), QPointF(x2, y2));
}

void QtCanvas::Ellipse(int x1, int y1, int x2, int y2) {
  QPainter* painter = Painter();
  if (!painter) return;
  const QRect box = Box(x1, y1, x2, y2);
  const int margin = std::clamp(state_.penWidth, 0, kMaxPenWidth) + 2;
  if (!box.adjusted(-margin, -margin, margin, margin).intersects(owner_.image_.rect())) return;
  painter->drawEllipse(box);
}

void QtCanvas::Rectangle(int x1, int y1, int x2, int y2) {
  QPainter* painter = Painter();
  if (!painter) return;
  const QRect box = Box(x1, y1, x2, y2);
  if (box.width() <= 0 || box.height() <= 0) return;
  if (state_.brushStyle == BrushStyle::Solid) painter->fillRect(box, ToQColor(state_.brush));
  // The outline runs on the outermost pixels of the box.
  painter->save();
  painter->setBrush(Qt::NoBrush);
  painter->drawRect(box.adjusted(0, 0, -1, -1));
  painter->restore();
}

void QtCanvas::FillRect(int x1, int y1, int x2, int y2) {
  QPainter* painter = Painter();
  if (!painter) return;
  painter->fillRect(Box(x1, y1, x2, y2), ToQColor(state_.brush));
}

void QtCanvas::TextOut(int x, int y, const std::string& text) {
  QPainter* painter = Painter();
  if (!painter) return;
  const QString s = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
  const QFontMetrics metrics(painter->font());
  const QRect cell(ClampCoord(x), ClampCoord(y), metrics.horizontalAdvance(s), metrics.height());
  if (!cell.intersects(owner_.image_.rect())) return;
  if (state_.brushStyle == BrushStyle::Solid) painter->fillRect(cell, ToQColor(state_.brush));
  painter->save();
  painter->setPen(ToQColor(state_.font));
  painter->drawText(cell.left(), cell.top() + metrics.ascent(), s);
  painter->restore();
}

int QtCanvas::TextWidth(const std::string& text) {
  const QFontMetrics metrics(Font());
  return metrics.horizontalAdvance(
      QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
}

int QtCanvas::TextHeight(const std::string&) { return QFontMetrics(Font()).height(); }

TColor QtCanvas::GetPixel(int x, int y) { return owner_.Pixel(x, y); }

void QtCanvas::SetPixel(int x, int y, TColor color) { owner_.SetPixel(x, y, color); }

void QtCanvas::Draw(int x, int y, const Bitmap& source) {
  if (&source == &owner_) return;
  if (const auto* qt = dynamic_cast<const QtBitmap*>(&source)) {
    const QImage& image = qt->Image();
    QPainter* painter = Painter();
    if (painter) painter->drawImage(ClampCoord(x), ClampCoord(y), image);
    return;
  }
  CopyRect(x, y, x + source.Width(), y + source.Height(), source, 0, 0, source.Width(),
           source.Height());
}

void QtCanvas::CopyRect(int dx1, int dy1, int dx2, int dy2, const Bitmap& source, int sx1,
                        int sy1, int sx2, int sy2) {
  const auto* qt = dynamic_cast<const QtBitmap*>(&source);
  if (!qt || qt == &owner_) {
    CopyRectByPixels(*this, dx1, dy1, dx2, dy2, source, sx1, sy1, sx2, sy2);
    return;
  }
  const int64_t spans[] = {int64_t{dx2} - dx1, int64_t{dy2} - dy1, int64_t{sx2} - sx1,
                           int64_t{sy2} - sy1};
  for (int64_t span : spans)
    if (span <= 0 || span > kMaxCopySpan) return;
  const QImage& from = qt->Image();
  End();
  QImage& to = owner_.MutableImage();
  if (to.isNull()) return;
  const int dw = dx2 - dx1, dh = dy2 - dy1, sw = sx2 - sx1, sh = sy2 - sy1;
  for (int j = 0; j < dh; ++j) {
    const int ty = dy1 + j;
    if (ty < 0 || ty >= to.height()) continue;
    const int sy = StretchSource(sy1, j, sh, dh);
    const bool rowInside = sy >= 0 && sy < from.height();
    const uchar* in = rowInside ? from.constScanLine(sy) : nullptr;
    uchar* out = to.scanLine(ty);
    for (int i = 0; i < dw; ++i) {
      const int tx = dx1 + i;
      if (tx < 0 || tx >= to.width()) continue;
      const int sx = StretchSource(sx1, i, sw, dw);
      uchar* pixel = out + 3 * tx;
      if (in && sx >= 0 && sx < from.width()) {
        const uchar* source_pixel = in + 3 * sx;
        pixel[0] = source_pixel[0];
        pixel[1] = source_pixel[1];
        pixel[2] = source_pixel[2];
      } else {
        pixel[0] = pixel[1] = pixel[2] = 0;  // outside the source: black
      }
    }
  }
}

// --- QtBitmap

QtBitmap::QtBitmap(int width, int height) : canvas_(*this) { SetSize(width, height); }

QtBitmap::~QtBitmap() { canvas_.End(); }

bool QtBitmap::SetSize(int width, int height) {
  canvas_.End();
  if (width <= 0 || height <= 0) {
    image_ = QImage();
    return width >= 0 && height >= 0;
  }
  if (width > kMaxSide || height > kMaxSide ||
      int64_t{width} * height * 3 > kMaxBytes) {
    image_ = QImage();
    return false;
  }
  QImage image(width, height, QImage::Format_RGB888);
  if (image.isNull()) {
    image_ = QImage();
    return false;
  }
  image.fill(Qt::white);
  image_ = std::move(image);
  return true;
}

const QImage& QtBitmap::Image() const {
  canvas_.End();
  return image_;
}

TColor QtBitmap::Pixel(int x, int y) const {
  canvas_.End();
  if (x < 0 || y < 0 || x >= image_.width() || y >= image_.height()) return 0;
  const uchar* p = image_.constScanLine(y) + 3 * x;
  return static_cast<TColor>(p[0]) | (static_cast<TColor>(p[1]) << 8) |
         (static_cast<TColor>(p[2]) << 16);
}

void QtBitmap::SetPixel(int x, int y, TColor color) {
  canvas_.End();
  if (x < 0 || y < 0 || x >= image_.width() || y >= image_.height()) return;
  uchar* p = image_.scanLine(y) + 3 * x;
  p[0] = color & 0xFF;
  p[1] = (color >> 8) & 0xFF;
  p[2] = (color >> 16) & 0xFF;
}

std::string QtBitmap::EncodePng() const {
  if (image_.isNull()) return {};
  QByteArray bytes;
  QBuffer buffer(&bytes);
  if (!buffer.open(QIODevice::WriteOnly) || !Image().save(&buffer, "PNG")) return {};
  return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}
