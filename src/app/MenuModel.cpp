#include "app/MenuModel.h"

#include <stdexcept>

void MenuModel::Add(MenuItem item) {
  index_.emplace(item.name, items_.size());
  items_.push_back(std::move(item));
}

MenuModel::MenuModel(const std::vector<MenuItem>& items) {
  for (const MenuItem& item : items) Add(item);
}

bool MenuModel::Has(std::string_view name) const { return index_.count(std::string(name)) != 0; }

const MenuItem& MenuModel::Item(std::string_view name) const {
  auto it = index_.find(std::string(name));
  if (it == index_.end()) throw std::out_of_range("no menu item " + std::string(name));
  return items_[it->second];
}

MenuItem& MenuModel::MutableItem(std::string_view name) {
  return const_cast<MenuItem&>(static_cast<const MenuModel*>(this)->Item(name));
}

void MenuModel::SetChecked(std::string_view name, bool checked) {
  MenuItem& item = MutableItem(name);
  if (item.group != 0 && checked) {
    for (MenuItem& other : items_)
      if (other.group == item.group) other.checked = false;
  }
  item.checked = checked;
  ++revision_;
}

void MenuModel::SetCaption(std::string_view name, const std::string& caption) {
  MutableItem(name).caption = caption;
  ++revision_;
}

void MenuModel::SetEnabled(std::string_view name, bool enabled) {
  MenuItem& item = MutableItem(name);
  if (item.enabled == enabled) return;
  item.enabled = enabled;
  ++revision_;
}

const std::string& MenuModel::CheckedInGroup(int group) const {
  for (const MenuItem& item : items_)
    if (item.group == group && item.checked) return item.name;
  static const std::string none;
  return none;
}
