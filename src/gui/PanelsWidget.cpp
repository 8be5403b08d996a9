#include "gui/PanelsWidget.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

#include "app/MainForm.h"
#include "gui/QtBitmap.h"

PanelsWidget::PanelsWidget(TMainForm& form, QMenu* popup, int statusBarHeight, QWidget* parent)
    : QWidget(parent), form_(form), popup_(popup), statusBarHeight_(statusBarHeight) {
  setMouseTracking(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setFocusPolicy(Qt::StrongFocus);
}

PanelsWidget::~PanelsWidget() = default;

void PanelsWidget::paintEvent(QPaintEvent*) {
  if (!canvas_ || canvas_->Width() != width() || canvas_->Height() != height())
    canvas_ = std::make_unique<QtBitmap>(width(), height());
  canvas_->GetCanvas().SetBrushColor(0xF0F0F0);
  canvas_->GetCanvas().FillRect(0, 0, width(), height());
  form_.FormPaint(canvas_->GetCanvas());
  QPainter painter(this);
  painter.drawImage(0, 0, canvas_->Image());
}

void PanelsWidget::resizeEvent(QResizeEvent*) {
  // The form's client area includes the status bar below this widget.
  form_.FormResize(width(), height() + statusBarHeight_, statusBarHeight_);
}

void PanelsWidget::mouseMoveEvent(QMouseEvent* event) {
  form_.MouseX = static_cast<int>(event->position().x());
}

void PanelsWidget::contextMenuEvent(QContextMenuEvent* event) {
  form_.MouseX = event->pos().x();
  popup_->exec(event->globalPos());
}
