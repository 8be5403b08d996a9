#pragma once
// The main window "Kinetra Statistics": menus from the MenuModel, the two panels,
// the status bar. All logic lives in TMainForm; this class only translates events.
#include <QMainWindow>
#include <QStringList>
#include <memory>

#include "gui/QtPlatform.h"

class QLabel;
class QTimer;
class QtMenus;
class PanelsWidget;
class TMainForm;
class ViewerWindow;

class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  explicit MainWindow(bool askForIntervalAtStart = true);
  ~MainWindow() override;

  TMainForm& form() { return *form_; }
  // The single-track viewer window (null when the store could not be allocated).
  ViewerWindow* viewer() { return viewer_.get(); }
  // Opens the files as "Open New File(s)" would: the first replaces the store.
  void OpenFiles(const QStringList& paths);
  // Runs a menu command by its component name and refreshes the menus.
  void RunCommand(const std::string& name);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  std::unique_ptr<QtPlatform> platform_;
  std::unique_ptr<TMainForm> form_;
  PanelsWidget* panels_ = nullptr;
  QtMenus* menus_ = nullptr;
  QLabel* status_ = nullptr;
  // Declared after form_, so it goes before the viewer logic it shows.
  std::unique_ptr<ViewerWindow> viewer_;
};

