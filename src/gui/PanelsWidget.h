#pragma once
// The client area under the menus: both panels, painted from an off-screen picture so
// that a repaint never flickers.
#include <QWidget>
#include <memory>

class QMenu;
class QtBitmap;
class TMainForm;

class PanelsWidget : public QWidget {
  Q_OBJECT
 public:
  PanelsWidget(TMainForm& form, QMenu* popup, int statusBarHeight, QWidget* parent);
  ~PanelsWidget() override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  TMainForm& form_;
  QMenu* popup_;
  int statusBarHeight_;
  std::unique_ptr<QtBitmap> canvas_;
};
