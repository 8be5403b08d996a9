#include "gui/MainWindow.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QStatusBar>
#include <QTimer>

#include "app/MainForm.h"
#include "gui/PanelsWidget.h"
#include "gui/QtKeys.h"
#include "gui/QtMenus.h"
#include "gui/ViewerWindow.h"

namespace {

constexpr int kClientWidth = 1197;
constexpr int kClientHeight = 623;
constexpr int kStatusPanelWidth = 500;

}  // namespace

MainWindow::MainWindow(bool askForIntervalAtStart) {
  setWindowTitle("Kinetra Statistics");
  setAcceptDrops(true);

  status_ = new QLabel(this);
  status_->setMinimumWidth(kStatusPanelWidth);
  statusBar()->addWidget(status_);

  QtPlatform::WindowHooks hooks;
  hooks.repaint = [this] {
    if (panels_) panels_->update();
  };
  hooks.setCaption = [this](const std::string& caption) {
    setWindowTitle(QString::fromStdString(caption));
  };
  hooks.setStatus = [this](const std::string& text) { status_->setText(QString::fromStdString(text)); };
  hooks.closeMainWindow = [this] { QTimer::singleShot(0, this, &QWidget::close); };
  hooks.showViewer = [this] {
    if (viewer_) viewer_->ShowTrack();
  };
  hooks.closeViewer = [this] {
    if (viewer_) viewer_->CloseForLoad();
  };
  platform_ = std::make_unique<QtPlatform>(this, std::move(hooks));
  form_ = std::make_unique<TMainForm>(*platform_);
  if (!form_->Ready()) return;

  menus_ = new QtMenus(*this, form_->Menu, [this](const std::string& name) { RunCommand(name); });
  viewer_ = std::make_unique<ViewerWindow>(*form_, this);
  const int statusHeight = statusBar()->sizeHint().height();
  panels_ = new PanelsWidget(*form_, menus_->Popup(), statusHeight, this);
  setCentralWidget(panels_);
  resize(kClientWidth, kClientHeight + menuBar()->sizeHint().height());

  if (askForIntervalAtStart) {
    // Asked once, shortly after the window shows, so the user sets the frame interval first.
    QTimer::singleShot(500, this, [this] {
      form_->StartupTimerFired();
      menus_->Refresh();
    });
  }
}

MainWindow::~MainWindow() = default;

void MainWindow::RunCommand(const std::string& name) {
  form_->RunCommand(name);
  if (menus_) menus_->Refresh();
}

void MainWindow::OpenFiles(const QStringList& paths) {
  if (!form_->Ready()) return;
  std::vector<std::string> files;
  for (const QString& path : paths) files.push_back(path.toStdString());
  form_->OpenTrackFiles(files, true);
  menus_->Refresh();
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
  const int key = VirtualKeyOf(event->key(), event->modifiers() & Qt::KeypadModifier);
  if (key == 0 || event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) {
    QMainWindow::keyPressEvent(event);
    return;
  }
  form_->KeyDown(key);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  QStringList paths;
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) paths << url.toLocalFile();
  OpenFiles(paths);
  event->acceptProposedAction();
}
