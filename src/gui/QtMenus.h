#pragma once
// Builds Qt menus from the MenuModel once and refreshes captions and check marks
// after each command; every action reports its component name.
#include <QObject>
#include <QString>
#include <functional>
#include <map>
#include <string>

class MenuModel;
class QAction;
class QMainWindow;
class QMenu;

class QtMenus : public QObject {
  Q_OBJECT
 public:
  QtMenus(QMainWindow& window, MenuModel& model, std::function<void(const std::string&)> run);

  // The client area's pop-up menu.
  QMenu* Popup() const { return popup_; }
  // Copies captions, checks and enabled states from the model when it changed.
  void Refresh();

 private:
  QMenu* BuildMenu(const std::string& menuName, QMenu* menu);

  MenuModel& model_;
  std::function<void(const std::string&)> run_;
  std::map<std::string, QAction*> actions_;
  std::map<std::string, QMenu*> menus_;
  QMenu* popup_ = nullptr;
  uint64_t shownRevision_ = ~uint64_t{0};
};

// Menu captions may contain '&', which Qt would read as a mnemonic.
QString MenuText(const std::string& caption);
