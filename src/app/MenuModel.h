#pragma once
// A window's menus as data: every item by its component name with caption, check mark,
// radio group and shortcut, as its command table starts them. Commands change captions
// and checks here; the Qt window builds its menus from it and refreshes them after each
// command.
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct MenuItem {
  std::string name;     // component name, e.g. "L_ShowDlat"
  std::string parent;   // name of the menu it sits in; "" for the menu bar, "Popup" for the pop-up
  std::string caption;  // UTF-8
  std::string shortcut; // "Ctrl+O", "F2", "PgUp"; empty when none
  int group = 0;        // radio group; 0 for none
  bool checkable = false;
  bool checked = false;
  bool enabled = true;
  bool isMenu = false;  // a sub-menu rather than a command
};

class MenuModel {
 public:
  // The items of a window's command table, in menu order.
  explicit MenuModel(const std::vector<MenuItem>& items);

  const std::vector<MenuItem>& Items() const { return items_; }
  bool Has(std::string_view name) const;
  const MenuItem& Item(std::string_view name) const;

  bool Checked(std::string_view name) const { return Item(name).checked; }
  // Radio items uncheck the others of their group.
  void SetChecked(std::string_view name, bool checked);
  void Toggle(std::string_view name) { SetChecked(name, !Checked(name)); }
  const std::string& Caption(std::string_view name) const { return Item(name).caption; }
  void SetCaption(std::string_view name, const std::string& caption);
  void SetEnabled(std::string_view name, bool enabled);
  // The checked item of a radio group.
  const std::string& CheckedInGroup(int group) const;

  // Every item as `other` has it (a cancelled command's menus put back); a change too.
  void Replace(const MenuModel& other) {
    items_ = other.items_;
    index_ = other.index_;
    ++revision_;
  }

  // Grows with every change, so a view knows when to refresh.
  uint64_t Revision() const { return revision_; }

 private:
  MenuItem& MutableItem(std::string_view name);
  void Add(MenuItem item);

  std::vector<MenuItem> items_;
  std::unordered_map<std::string, size_t> index_;
  uint64_t revision_ = 0;
};

// Radio groups of the main window.
namespace MenuGroup {
inline constexpr int LeftPanel = 1;
inline constexpr int RightPanel = 2;
inline constexpr int Length = 3;
inline constexpr int Intensity = 4;
inline constexpr int DlatClass = 5;
inline constexpr int Velocity = 6;
}  // namespace MenuGroup
