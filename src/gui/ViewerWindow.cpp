#include "gui/ViewerWindow.h"

#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QRubberBand>
#include <QStatusBar>
#include <QTimer>

#include "app/GraphForm.h"
#include "app/MainForm.h"
#include "gui/QtBitmap.h"
#include "gui/QtKeys.h"
#include "gui/QtMenus.h"

ViewerWindow::ViewerWindow(TMainForm& main, QWidget* parent)
    : QMainWindow(parent, Qt::Window), main_(main), graph_(*main.GraphForm) {
  setWindowTitle("Kinetra - Graph");
  status_ = new QLabel(this);
  statusBar()->addWidget(status_, 1);
  statusHeight_ = statusBar()->sizeHint().height();

  menus_ = new QtMenus(*this, graph_.Menu, [this](const std::string& name) { RunCommand(name); });
  canvas_ = new ViewerCanvas(*this, graph_, menus_->Popup());
  setCentralWidget(canvas_);

  timer_ = new QTimer(this);
  timer_->setInterval(kGraphTimerInterval);
  connect(timer_, &QTimer::timeout, this, [this] { graph_.GraphTimerTimer(); });

  graph_.OnRepaint = [this] { canvas_->update(); };
  graph_.OnStatus = [this](const std::string& text) { status_->setText(QString::fromStdString(text)); };
  graph_.OnTimer = [this](bool enabled) {
    if (enabled)
      timer_->start();
    else
      timer_->stop();
  };
  resize(kViewerWidth, kViewerHeight + statusHeight_ + menuBar()->sizeHint().height());
}

ViewerWindow::~ViewerWindow() {
  // The viewer logic outlives nothing of this window: its hooks go first.
  graph_.OnRepaint = nullptr;
  graph_.OnStatus = nullptr;
  graph_.OnTimer = nullptr;
}

void ViewerWindow::ShowTrack() {
  status_->setText(QString::fromStdString(graph_.StatusText));
  if (graph_.TimerEnabled) timer_->start();
  show();
  raise();
  activateWindow();
  RefreshMenus();
  canvas_->update();
}

void ViewerWindow::CloseForLoad() {
  if (!isVisible()) return;
  closingForLoad_ = true;
  close();
  closingForLoad_ = false;
}

void ViewerWindow::RunCommand(const std::string& name) {
  graph_.RunCommand(name);
  RefreshMenus();
}

void ViewerWindow::RefreshMenus() {
  if (menus_) menus_->Refresh();
}

void ViewerWindow::closeEvent(QCloseEvent* event) {
  timer_->stop();
  graph_.FormClose(!closingForLoad_);
  RefreshMenus();
  QMainWindow::closeEvent(event);
}

void ViewerWindow::keyPressEvent(QKeyEvent* event) {
  const int key = VirtualKeyOf(event->key(), event->modifiers() & Qt::KeypadModifier);
  if (key == 0 || event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) {
    QMainWindow::keyPressEvent(event);
    return;
  }
  graph_.KeyDown(key);
  RefreshMenus();
}

ViewerCanvas::ViewerCanvas(ViewerWindow& window, TGraphForm& graph, QMenu* popup)
    : QWidget(&window), window_(window), graph_(graph), popup_(popup) {
  setMouseTracking(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setFocusPolicy(Qt::StrongFocus);
  band_ = new QRubberBand(QRubberBand::Rectangle, this);
}

ViewerCanvas::~ViewerCanvas() = default;

void ViewerCanvas::paintEvent(QPaintEvent*) {
  if (!canvas_ || canvas_->Width() != width() || canvas_->Height() != height())
    canvas_ = std::make_unique<QtBitmap>(width(), height());
  if (canvas_->Width() <= 0 || canvas_->Height() <= 0) return;
  graph_.FormPaint(canvas_->GetCanvas());
  QPainter painter(this);
  painter.drawImage(0, 0, canvas_->Image());
}

void ViewerCanvas::resizeEvent(QResizeEvent*) {
  // The viewer's client area includes the status bar below this widget.
  const int statusHeight = window_.StatusBarHeight();
  graph_.FormResize(width(), height() + statusHeight, statusHeight);
}

void ViewerCanvas::mouseMoveEvent(QMouseEvent* event) {
  const QPoint at = event->position().toPoint();
  if (band_->isVisible()) band_->setGeometry(QRect(QPoint(pressed_.x(), 0), QPoint(at.x(), height())).normalized());
  graph_.MouseMove(at.x(), at.y());
}

void ViewerCanvas::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  pressed_ = event->position().toPoint();
  band_->setGeometry(QRect(pressed_.x(), 0, 1, height()));
  band_->show();
  graph_.MouseDown(pressed_.x(), pressed_.y());
}

void ViewerCanvas::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  band_->hide();
  const QPoint at = event->position().toPoint();
  graph_.MouseUp(at.x(), at.y());
  window_.RefreshMenus();
}

void ViewerCanvas::contextMenuEvent(QContextMenuEvent* event) {
  popup_->exec(event->globalPos());
}
