// The command tables of both windows: every item sits in a menu of its own window, runs
// something, and each radio group starts with one choice.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "FakePlatform.h"
#include "app/MainForm.h"
#include "app/PanelTable.h"

namespace {

template <class Form>
void ExpectConsistent(std::span<const CommandRow<Form>> rows) {
  std::set<std::string> names, menus;
  std::map<int, int> checkedPerGroup;
  for (const CommandRow<Form>& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_TRUE(names.insert(row.name).second) << "twice in the table";
    if (row.kind == ItemKind::SubMenu) {
      menus.insert(row.name);
      continue;
    }
    // A row may only hang in a menu written above it, or belong to the batch tool.
    EXPECT_TRUE(menus.count(row.parent) || std::string(row.parent) == kBatchOnly) << row.parent;
    // Only a toggle may carry nothing but its check mark.
    EXPECT_TRUE(row.plain || row.named || row.kind == ItemKind::Toggle);
    EXPECT_EQ(row.group != 0, row.kind == ItemKind::Radio);
    if (row.kind == ItemKind::Radio) checkedPerGroup[row.group] += row.checked ? 1 : 0;
  }
  for (const auto& [group, checked] : checkedPerGroup) EXPECT_EQ(checked, 1) << "group " << group;
}

}  // namespace

TEST(CommandTables, EveryItemRunsInAMenuOfItsWindow) {
  ExpectConsistent(TMainForm::Commands());
  ExpectConsistent(TGraphForm::Commands());
  // Every item of the two panel menus draws an analysis.
  for (const CommandRow<TMainForm>& row : TMainForm::Commands()) {
    if (row.group == MenuGroup::LeftPanel || row.group == MenuGroup::RightPanel) {
      EXPECT_NE(FindPanelChoice(row.name), nullptr) << row.name;
    }
  }
}

TEST(CommandTables, RunCommandFollowsTheRowsAndTheirMarks) {
  FakePlatform platform;
  TMainForm form(platform);
  EXPECT_FALSE(form.RunCommand("NoSuchCommand") || form.RunCommand("File") ||
               form.HasCommand("Popup"));
  // A toggle without a handler only flips its mark; a disabled item does nothing.
  ASSERT_TRUE(form.RunCommand("PutTimeInTXTfile"));
  EXPECT_TRUE(form.Menu.Checked("PutTimeInTXTfile"));
  TGraphForm& viewer = *form.GraphForm;
  ASSERT_FALSE(viewer.Menu.Item("RemoveEnds").enabled);
  const uint64_t revision = viewer.Menu.Revision();
  EXPECT_TRUE(viewer.RunCommand("RemoveEnds") && viewer.Menu.Revision() == revision);
  EXPECT_EQ(form.CommandNames().size(), form.Menu.Items().size() - 13);  // less the 13 menus
}
