#include "cli/BatchSummary.h"

#include <algorithm>

#include "edit/TableText.h"

namespace {

using Headlines = std::vector<PanelResults::Headline>;

// The value named `name` among `headlines`, as a cell.
std::string CellOf(const Headlines& headlines, const std::string& name) {
  for (const PanelResults::Headline& h : headlines)
    if (h.name == name) return TableText::Double(h.value);
  return "";
}

}  // namespace

std::string SummaryText(const std::vector<BatchResult>& results) {
  std::vector<std::string> left, right;
  auto collect = [](std::vector<std::string>& names, const Headlines& headlines) {
    for (const PanelResults::Headline& h : headlines)
      if (std::find(names.begin(), names.end(), h.name) == names.end()) names.push_back(h.name);
  };
  for (const BatchResult& r : results) {
    collect(left, r.left);
    collect(right, r.right);
  }
  TableText table(true);
  std::vector<std::string> header = {"file", "status", "tracks", "selected"};
  for (const std::string& name : left) header.push_back("left: " + name);
  for (const std::string& name : right) header.push_back("right: " + name);
  table.Row(header);
  for (const BatchResult& r : results) {
    std::vector<std::string> row = {r.input, r.failures.empty() ? "ok" : r.failures.front(),
                                    std::to_string(r.tracks), std::to_string(r.selected)};
    for (const std::string& name : left) row.push_back(CellOf(r.left, name));
    for (const std::string& name : right) row.push_back(CellOf(r.right, name));
    table.Row(row);
  }
  return table.Text();
}
