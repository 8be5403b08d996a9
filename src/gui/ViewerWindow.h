#pragma once
// The single-track viewer window "Kinetra - Graph": menus from the viewer's own model,
// the graph, a status bar and the 50 ms replay timer. All logic lives in TGraphForm;
// this class only translates events.
#include <QMainWindow>
#include <QPoint>
#include <QWidget>
#include <memory>
#include <string>

class QLabel;
class QMenu;
class QRubberBand;
class QTimer;
class QtBitmap;
class QtMenus;
class TGraphForm;
class TMainForm;
class ViewerCanvas;

class ViewerWindow : public QMainWindow {
  Q_OBJECT
 public:
  // A window of its own that closes with `parent` (the main window).
  ViewerWindow(TMainForm& main, QWidget* parent);
  ~ViewerWindow() override;

  TGraphForm& graph() { return graph_; }
  // Shows the window (again) with whatever the viewer logic holds, on top.
  void ShowTrack();
  // A file load closes the viewer without the recomputation a user's close runs.
  void CloseForLoad();
  // Runs a viewer menu command by its component name and refreshes the menus.
  void RunCommand(const std::string& name);
  // After a key or mouse event: menus may have changed.
  void RefreshMenus();
  int StatusBarHeight() const { return statusHeight_; }

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  TMainForm& main_;
  TGraphForm& graph_;
  ViewerCanvas* canvas_ = nullptr;
  QtMenus* menus_ = nullptr;
  QLabel* status_ = nullptr;
  QTimer* timer_ = nullptr;
  int statusHeight_ = 0;
  bool closingForLoad_ = false;
};

// The client area: the graph painted from an off-screen picture, the mouse read-out, the
// dragged zoom range and the pop-up menu.
class ViewerCanvas : public QWidget {
  Q_OBJECT
 public:
  ViewerCanvas(ViewerWindow& window, TGraphForm& graph, QMenu* popup);
  ~ViewerCanvas() override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  ViewerWindow& window_;
  TGraphForm& graph_;
  QMenu* popup_;
  std::unique_ptr<QtBitmap> canvas_;
  QRubberBand* band_ = nullptr;
  QPoint pressed_;
};

