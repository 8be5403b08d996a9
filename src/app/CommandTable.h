#pragma once
// A window's commands as one table: each row is a menu item (or a sub-menu) with its
// caption, shortcut and kind, the handler that runs it, what running it may change and
// what a kinetra-batch `=ANSWER` gives it. The window's MenuModel, its RunCommand, the
// batch help and the staleness of the kept MSD curves all follow from the rows.
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "app/MenuModel.h"

enum class ItemKind : uint8_t { SubMenu, Command, Toggle, Radio };

// What a command may change, each level including the ones before. The kept MSD curves
// go stale before a command of level PairRule or above; a cancelled command puts back
// what its level says.
enum class Changes : uint8_t {
  Nothing,   // only reads: pictures, exports, views, the viewer
  Settings,  // settings, check marks, captions, and per-track flags and header values
  PairRule,  // how point pairs are taken
  Points,    // coordinates or point counts
};

// What the answer of a batch step `--cmd NAME=ANSWER` stands for.
enum class Answer : uint8_t {
  None,       // the command asks nothing
  Value,      // a prompt's value
  OpenFiles,  // the open dialog's file
  SaveFile,   // the save dialog's file
  Picture,    // the picture dialog's file
};

// Rows whose parent is this belong to no menu: commands of the batch tool only.
inline constexpr const char* kBatchOnly = "Batch";

template <class Form>
struct CommandRow {
  using Plain = void (Form::*)();
  using Named = void (Form::*)(std::string_view item);

  ItemKind kind = ItemKind::Command;
  const char* name = "";
  const char* parent = "";
  const char* caption = "";
  const char* shortcut = "";
  int group = 0;          // radio group (Radio rows)
  bool checked = false;   // at start (Toggle and Radio rows)
  bool enabled = true;    // at start
  Changes changes = Changes::Nothing;
  Answer answer = Answer::None;
  // The handler, or one that is told which item it runs for. A toggle's check mark is
  // flipped before its handler runs; a toggle that only carries its mark has none.
  Plain plain = nullptr;
  Named named = nullptr;

  bool Runs() const { return kind != ItemKind::SubMenu; }
  void Run(Form& form) const {
    if (plain) (form.*plain)();
    else if (named) (form.*named)(name);
  }
};

// The rows a table is written with.
template <class Form>
struct RowMaker {
  using Row = CommandRow<Form>;
  // The handler of a toggle that only carries its check mark.
  static constexpr typename Row::Plain kMarkOnly = nullptr;

  static constexpr Row Command(const char* parent, const char* name, const char* caption,
                               typename Row::Plain handler, Changes changes,
                               Answer answer = Answer::None, const char* shortcut = "") {
    Row r;
    r.name = name;
    r.parent = parent;
    r.caption = caption;
    r.plain = handler;
    r.changes = changes;
    r.answer = answer;
    r.shortcut = shortcut;
    return r;
  }
  static constexpr Row SubMenu(const char* name, const char* caption, const char* parent = "") {
    Row r = Command(parent, name, caption, typename Row::Plain{}, Changes::Nothing);
    r.kind = ItemKind::SubMenu;
    return r;
  }
  static constexpr Row Command(const char* parent, const char* name, const char* caption,
                               typename Row::Named handler, Changes changes,
                               Answer answer = Answer::None, const char* shortcut = "") {
    Row r = Command(parent, name, caption, typename Row::Plain{}, changes, answer, shortcut);
    r.named = handler;
    return r;
  }
  template <class Handler>
  static constexpr Row Toggle(const char* parent, const char* name, const char* caption,
                              Handler handler, Changes changes, bool checked = false) {
    Row r = Command(parent, name, caption, handler, changes);
    r.kind = ItemKind::Toggle;
    r.checked = checked;
    return r;
  }
  static constexpr Row Disabled(Row r) {
    r.enabled = false;
    return r;
  }
  static constexpr Row Radio(const char* parent, int group, const char* name,
                             const char* caption, typename Row::Named handler, Changes changes,
                             bool checked = false) {
    Row r = Command(parent, name, caption, handler, changes);
    r.kind = ItemKind::Radio;
    r.group = group;
    r.checked = checked;
    return r;
  }
};

// The menu items of a table, in table order (batch-only rows included: no menu shows them).
template <class Form>
std::vector<MenuItem> MenuItemsOf(std::span<const CommandRow<Form>> rows) {
  std::vector<MenuItem> items;
  items.reserve(rows.size());
  for (const CommandRow<Form>& row : rows) {
    MenuItem item;
    item.name = row.name;
    item.parent = row.parent;
    item.caption = row.caption;
    item.shortcut = row.shortcut;
    item.group = row.group;
    item.checkable = row.kind == ItemKind::Toggle || row.kind == ItemKind::Radio;
    item.checked = row.checked;
    item.enabled = row.enabled;
    item.isMenu = row.kind == ItemKind::SubMenu;
    items.push_back(std::move(item));
  }
  return items;
}

// The row of the command `name`; null when there is none.
template <class Form>
const CommandRow<Form>* FindCommand(std::span<const CommandRow<Form>> rows, std::string_view name) {
  for (const CommandRow<Form>& row : rows)
    if (row.Runs() && name == row.name) return &row;
  return nullptr;
}

// Runs one row: nothing while its item is disabled; a toggle's mark flips first.
template <class Form>
void RunRow(Form& form, MenuModel& menu, const CommandRow<Form>& row) {
  if (!menu.Item(row.name).enabled) return;
  if (row.kind == ItemKind::Toggle) menu.Toggle(row.name);
  row.Run(form);
}
