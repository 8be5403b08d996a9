#include "import/TableRows.h"

#include <algorithm>
#include <cmath>

#include "import/NumberText.h"

namespace {

constexpr int64_t kSmallIds = 1 << 20;

std::string_view Cell(const std::vector<std::string_view>& fields, int column) {
  return column >= 0 && static_cast<size_t>(column) < fields.size() ? fields[column] : std::string_view();
}

// A number cell; with a decimal comma ("1,5") too where the rules allow it.
bool ParseCell(std::string_view cell, double& value, bool decimalComma) {
  if (ParseNumber(cell, value)) return true;
  if (!decimalComma || cell.find(',') == std::string_view::npos || cell.size() > 64) return false;
  std::string dotted(cell);
  std::replace(dotted.begin(), dotted.end(), ',', '.');
  return ParseNumber(dotted, value);
}

}  // namespace

int TableColumns::Last() const { return std::max({track, frame, x, y, intensity, t}); }

int32_t GroupIndex::Of(std::string_view cell, PointTable& table) {
  int64_t number;
  if (ParseIntegerCell(cell, number) == IntegerCell::Ok) return OfNumber(number, table);
  return OfText(TrimBlanks(cell), table);
}

int32_t GroupIndex::Of(const TrackId& id, PointTable& table) {
  return id.numeric ? OfNumber(id.number, table) : OfText(id.text, table);
}

int32_t GroupIndex::OfText(std::string_view text, PointTable& table) {
  const auto [it, added] = texts_.try_emplace(std::string(text), static_cast<int32_t>(table.groups.size()));
  if (added) table.groups.push_back({false, 0, it->first});
  hasLast_ = false;
  return it->second;
}

int32_t GroupIndex::OfNumber(int64_t number, PointTable& table) {
  // Rows of one track usually follow each other; ids are usually small counts.
  if (hasLast_ && number == lastNumber_) return lastGroup_;
  const int32_t next = static_cast<int32_t>(table.groups.size());
  int32_t* slot;
  if (number >= 0 && number < kSmallIds) {
    if (static_cast<size_t>(number) >= small_.size())
      small_.resize(std::max(small_.size() * 2, static_cast<size_t>(number) + 1), -1);
    slot = &small_[static_cast<size_t>(number)];
  } else {
    slot = &numbers_.try_emplace(number, -1).first->second;
  }
  if (*slot < 0) {
    *slot = next;
    table.groups.push_back({true, number, {}});
  }
  hasLast_ = true;
  lastNumber_ = number;
  return lastGroup_ = *slot;
}

void ParseTableRow(const std::vector<std::string_view>& fields, int64_t line, const RowRules& rules,
                   TableRows& rows) {
  const TableColumns& c = rules.columns;
  auto skip = [&](std::string why) {
    ++rows.skipped;
    if (rows.warnings.size() < ImportReport::kMaxWarnings)
      rows.warnings.emplace_back(line, std::move(why) + "; row left out");
    else
      ++rows.warningsLeftOut;
  };
  const std::string_view trackCell = TrimBlanks(Cell(fields, c.track));
  if (trackCell.empty()) {
    ++rows.untracked;
    return;
  }
  int64_t frame;
  const std::string_view frameCell = Cell(fields, c.frame);
  const IntegerCell frameKind = ParseIntegerCell(frameCell, frame);
  if (frameKind != IntegerCell::Ok)
    return skip(frameKind == IntegerCell::Empty
                    ? std::string("no frame")
                    : "frame \"" + std::string(TrimBlanks(frameCell)) + "\" is not an integer");
  if (frame > kMaxFrameMagnitude || frame < -kMaxFrameMagnitude)
    return skip("frame " + std::to_string(frame) + " is out of range");
  double x, y;
  const bool xOk = ParseCell(Cell(fields, c.x), x, rules.decimalComma) && std::isfinite(x);
  const bool yOk = ParseCell(Cell(fields, c.y), y, rules.decimalComma) && std::isfinite(y);
  if (!xOk || !yOk) {
    const std::string_view bad = TrimBlanks(Cell(fields, xOk ? c.y : c.x));
    return skip(std::string(xOk ? "y" : "x") +
                (bad.empty() ? std::string(" is missing") : " \"" + std::string(bad) + "\" is not a finite number"));
  }
  double intensity = 0;
  if (c.intensity >= 0 &&
      !(ParseCell(Cell(fields, c.intensity), intensity, rules.decimalComma) && std::isfinite(intensity))) {
    intensity = 0;
    ++rows.noIntensity;
  }
  if (c.t >= 0) {
    double t;
    if (ParseCell(Cell(fields, c.t), t, rules.decimalComma) && std::isfinite(t)) {
      rows.timeFrames.push_back(static_cast<int32_t>(frame));
      rows.times.push_back(t);
    }
  }
  rows.table.Add(rows.groups.Of(trackCell, rows.table), static_cast<int32_t>(frame), x, y,
                 static_cast<float>(intensity), line);
}

void ReserveTableRows(TableRows& rows, size_t count) { rows.table.rows.reserve(count); }

void ParseTableRows(CsvRecords& records, const RowRules& rules, TableRows& rows) {
  std::vector<std::string_view> fields;
  int64_t line = 0;
  while (records.Next(fields, line)) ParseTableRow(fields, line, rules, rows);
}

void AppendTableRows(TableRows& rows, TableRows& later, int64_t lineOffset) {
  PointTable& to = rows.table;
  const PointTable& from = later.table;
  std::vector<int32_t> group(from.groups.size());
  for (size_t g = 0; g < from.groups.size(); ++g) group[g] = rows.groups.Of(from.groups[g], to);
  to.rows.reserve(to.rows.size() + from.rows.size());
  for (PointRow row : from.rows) {
    row.group = group[row.group];
    row.where += lineOffset;
    to.rows.push_back(row);
  }
  rows.timeFrames.insert(rows.timeFrames.end(), later.timeFrames.begin(), later.timeFrames.end());
  rows.times.insert(rows.times.end(), later.times.begin(), later.times.end());
  rows.untracked += later.untracked;
  rows.noIntensity += later.noIntensity;
  rows.skipped += later.skipped;
  for (auto& [line, what] : later.warnings) {
    if (rows.warnings.size() < ImportReport::kMaxWarnings)
      rows.warnings.emplace_back(line + lineOffset, std::move(what));
    else
      ++rows.warningsLeftOut;
  }
  rows.warningsLeftOut += later.warningsLeftOut;
}

double FrameIntervalOf(const std::vector<int32_t>& frames, const std::vector<double>& times, bool& framesOnly) {
  framesOnly = false;
  if (frames.empty()) return 0;
  const auto [lo, hi] = std::minmax_element(frames.begin(), frames.end());
  if (*lo == *hi) return 0;
  const size_t a = static_cast<size_t>(lo - frames.begin()), b = static_cast<size_t>(hi - frames.begin());
  const double dt = (times[b] - times[a]) / (static_cast<double>(*hi) - *lo);
  if (!(dt > 0) || !std::isfinite(dt)) return 0;
  bool sameAsFrames = true;
  for (size_t i = 0; i < frames.size(); ++i) {
    const double expected = times[a] + (static_cast<double>(frames[i]) - *lo) * dt;
    if (!(std::fabs(times[i] - expected) <= 1e-3 * dt)) return 0;
    sameAsFrames &= times[i] == frames[i];
  }
  framesOnly = sameAsFrames;
  return dt;
}
