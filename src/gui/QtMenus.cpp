#include "gui/QtMenus.h"

#include <QActionGroup>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include "app/MenuModel.h"

QString MenuText(const std::string& caption) {
  return QString::fromStdString(caption).replace('&', "&&");
}

QtMenus::QtMenus(QMainWindow& window, MenuModel& model,
                 std::function<void(const std::string&)> run)
    : QObject(&window), model_(model), run_(std::move(run)) {
  for (const MenuItem& item : model_.Items()) {
    if (!item.isMenu || !item.parent.empty()) continue;
    QMenu* menu = window.menuBar()->addMenu(MenuText(item.caption));
    menus_[item.name] = menu;
    BuildMenu(item.name, menu);
  }
  popup_ = new QMenu(&window);
  BuildMenu("Popup", popup_);
  // Shortcuts of the pop-up work without opening it.
  for (QAction* action : popup_->actions()) window.addAction(action);
  Refresh();
}

QMenu* QtMenus::BuildMenu(const std::string& menuName, QMenu* menu) {
  std::map<int, QActionGroup*> groups;
  for (const MenuItem& item : model_.Items()) {
    if (item.parent != menuName || item.isMenu) continue;
    QAction* action = menu->addAction(MenuText(item.caption));
    action->setCheckable(item.checkable);
    if (!item.shortcut.empty()) action->setShortcut(QKeySequence(QString::fromStdString(item.shortcut)));
    if (item.group != 0) {
      QActionGroup*& group = groups[item.group];
      if (!group) group = new QActionGroup(menu);
      group->addAction(action);
    }
    const std::string name = item.name;
    connect(action, &QAction::triggered, this, [this, name] {
      run_(name);
      // Qt toggled the check mark itself; the model decides what it really is.
      shownRevision_ = ~uint64_t{0};
      Refresh();
    });
    actions_[name] = action;
  }
  return menu;
}

void QtMenus::Refresh() {
  if (model_.Revision() == shownRevision_) return;
  shownRevision_ = model_.Revision();
  for (auto& [name, action] : actions_) {
    const MenuItem& item = model_.Item(name);
    action->setText(MenuText(item.caption));
    action->setChecked(item.checked);
    action->setEnabled(item.enabled);
  }
  for (auto& [name, menu] : menus_) menu->setTitle(MenuText(model_.Item(name).caption));
}
