#include "import/TrackTableReader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

#include "import/Calibration.h"
#include "import/CsvRecords.h"
#include "import/MappedFile.h"
#include "import/TableRows.h"
#include "import/NumberText.h"

namespace {

std::string Lower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

class Header {
 public:
  explicit Header(const std::vector<std::string_view>& cells) {
    for (std::string_view c : cells) names_.emplace_back(TrimBlanks(c));
  }
  // The column of that name: exactly, else in any case; -1 when absent.
  int Find(std::string_view name) const {
    for (size_t i = 0; i < names_.size(); ++i)
      if (names_[i] == name) return static_cast<int>(i);
    const std::string lower = Lower(name);
    for (size_t i = 0; i < names_.size(); ++i)
      if (Lower(names_[i]) == lower) return static_cast<int>(i);
    return -1;
  }
  int FindFirst(std::initializer_list<std::string_view> names) const {
    for (std::string_view n : names)
      if (const int c = Find(n); c >= 0) return c;
    return -1;
  }
  bool Has(std::initializer_list<std::string_view> names) const {
    for (std::string_view n : names)
      if (Find(n) < 0) return false;
    return true;
  }
  // The first names, for a message about a header that was not recognised.
  std::string List() const {
    std::string s;
    for (size_t i = 0; i < names_.size() && i < 12; ++i)
      s += (i ? ", " : "") + (names_[i].size() > 40 ? names_[i].substr(0, 40) + "..." : names_[i]);
    if (names_.size() > 12) s += ", ...";
    return s.empty() ? "nothing" : s;
  }
  // Control characters other than blanks: not a text file at all.
  bool Binary() const {
    for (const std::string& n : names_)
      for (const char c : n)
        if ((static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F) return true;
    return false;
  }

 private:
  std::vector<std::string> names_;
};

std::string_view Cell(const std::vector<std::string_view>& fields, int column) {
  return column >= 0 && static_cast<size_t>(column) < fields.size() ? fields[column] : std::string_view();
}

struct Format {
  std::string name;
  TableColumns columns;
  LengthUnit unit = LengthUnit::Unknown;
  bool trackMate = false;
  bool timeUnitNamed = false;  // the file names the unit of its time column
  double secondsPerTime = 0;   // of that unit; 0: frames
};

bool FindFormat(const std::string& path, const Header& header, const ImportOptions& options,
                Format& format, std::string& error) {
  TableColumns& c = format.columns;
  if (!options.columns.empty()) {
    ColumnMapping m;
    std::string why;
    if (!ParseColumnMapping(options.columns, m, why)) {
      error = path + ": column mapping \"" + options.columns + "\": " + why;
      return false;
    }
    const std::pair<const std::string*, int*> wanted[] = {
        {&m.track, &c.track}, {&m.frame, &c.frame}, {&m.x, &c.x},
        {&m.y, &c.y},         {&m.intensity, &c.intensity}, {&m.t, &c.t}};
    for (const auto& [name, column] : wanted) {
      if (name->empty()) continue;
      *column = header.Find(*name);
      if (*column < 0) {
        error = path + ": no column \"" + *name + "\" (the header has " + header.List() + ")";
        return false;
      }
    }
    format.name = "table";
    format.unit = m.unit;
    return true;
  }
  if (header.Has({"track", "frame", "x_um", "y_um"})) {
    format = {"Kinetra CSV", {header.Find("track"), header.Find("frame"), header.Find("x_um"),
                              header.Find("y_um"), header.Find("intensity"), header.Find("t_s")},
              LengthUnit::Micrometre, false, true, 1};
  } else if (header.Has({"TRACK_ID", "FRAME", "POSITION_X", "POSITION_Y"})) {
    format = {"TrackMate CSV",
              {header.Find("TRACK_ID"), header.Find("FRAME"), header.Find("POSITION_X"),
               header.Find("POSITION_Y"), header.FindFirst({"MEAN_INTENSITY_CH1", "MEAN_INTENSITY"}),
               header.Find("POSITION_T")},
              LengthUnit::Unknown, true};
  } else if (header.Has({"particle", "frame", "x", "y"})) {
    format = {"trackpy CSV",
              {header.Find("particle"), header.Find("frame"), header.Find("x"), header.Find("y"),
               header.FindFirst({"mass", "signal"}), header.FindFirst({"t", "time"})},
              LengthUnit::Pixel};
  } else if (header.Has({"trajectory", "frame", "x", "y"})) {
    format = {"saspt CSV",
              {header.Find("trajectory"), header.Find("frame"), header.Find("x"), header.Find("y"),
               header.Find("I0"), header.FindFirst({"t", "time"})},
              LengthUnit::Pixel};
  } else {
    error = path +
            ": not a track table: the header has " + header.List() +
            "; expected TRACK_ID, FRAME, POSITION_X, POSITION_Y (TrackMate), particle, frame, "
            "x, y (trackpy) or trajectory, frame, x, y (saspt), or give the columns as "
            "track=NAME,frame=NAME,x=NAME,y=NAME";
    return false;
  }
  return true;
}

}  // namespace

bool ParseColumnMapping(std::string_view text, ColumnMapping& m, std::string& error) {
  m = ColumnMapping();
  bool seenUnit = false;
  while (!text.empty()) {
    const size_t comma = text.find(',');
    const std::string_view item = TrimBlanks(text.substr(0, comma));
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    const size_t eq = item.find('=');
    if (eq == std::string_view::npos) {
      error = "\"" + std::string(item) + "\" is not KEY=NAME";
      return false;
    }
    const std::string key = Lower(TrimBlanks(item.substr(0, eq)));
    const std::string name(TrimBlanks(item.substr(eq + 1)));
    if (name.empty()) {
      error = "no column name after \"" + key + "=\"";
      return false;
    }
    if (key == "unit") {
      if (seenUnit) {
        error = "\"unit\" given twice";
        return false;
      }
      seenUnit = true;
      m.unit = ParseLengthUnit(name);
      if (m.unit == LengthUnit::Unknown) {
        error = "unknown unit \"" + name + "\" (px, um or nm)";
        return false;
      }
      continue;
    }
    std::string* slot = key == "track" ? &m.track
                        : key == "frame" ? &m.frame
                        : key == "x" ? &m.x
                        : key == "y" ? &m.y
                        : key == "intensity" ? &m.intensity
                        : key == "t" ? &m.t
                        : nullptr;
    if (!slot) {
      error = "unknown key \"" + key + "\" (track, frame, x, y, intensity, t, unit)";
      return false;
    }
    if (!slot->empty()) {
      error = "\"" + key + "\" given twice";
      return false;
    }
    *slot = name;
  }
  for (const auto& [key, name] : {std::pair{"track", &m.track}, std::pair{"frame", &m.frame},
                                  std::pair{"x", &m.x}, std::pair{"y", &m.y}})
    if (name->empty()) {
      error = std::string("\"") + key + "=NAME\" is missing";
      return false;
    }
  return true;
}

namespace {

// Tables from this size on are read in two halves at once.
constexpr size_t kSplitBytes = 1 << 20;

// The rows from `begin` (line `line`) on: in two halves on two threads when the table is
// large. The second half starts after the first line break past the middle; that is a
// record boundary unless the first half ends inside quotes, and then the table is read
// again in one pass.
void ReadRows(const char* begin, const char* end, int64_t line, char separator, const RowRules& rules,
              int threads, TableRows& rows) {
  const size_t bytes = static_cast<size_t>(end - begin);
  const char* lineEnd = static_cast<const char*>(std::memchr(begin, '\n', bytes));
  const size_t lineBytes = lineEnd ? static_cast<size_t>(lineEnd - begin) + 1 : bytes;
  auto open = [&](const char* from, const char* to, int64_t first) {
    CsvRecords records(from, to, first);
    records.SetSeparator(separator);
    records.LimitFields(static_cast<size_t>(rules.columns.Last()) + 1);
    return records;
  };
  auto reserve = [&](TableRows& r, size_t part) { ReserveTableRows(r, part / std::max<size_t>(lineBytes, 8) * 5 / 4 + 16); };
  const char* middle = static_cast<const char*>(bytes >= kSplitBytes && threads > 1
                                                    ? std::memchr(begin + bytes / 2, '\n', bytes - bytes / 2)
                                                    : nullptr);
  if (middle && middle + 1 < end) {
    const char* split = middle + 1;
    CsvRecords first = open(begin, split, line), second = open(split, end, 0);
    TableRows later;
    reserve(rows, static_cast<size_t>(split - begin));
    reserve(later, static_cast<size_t>(end - split));
    std::exception_ptr failure;
    auto readSecond = [&] {
      try {
        ParseTableRows(second, rules, later);
      } catch (...) {
        failure = std::current_exception();
      }
    };
    std::thread worker;
    try {
      worker = std::thread(readSecond);
    } catch (const std::system_error&) {  // no thread to be had: both halves here
    }
    ParseTableRows(first, rules, rows);
    if (worker.joinable()) worker.join();
    else readSecond();
    if (failure) std::rethrow_exception(failure);
    if (!first.EndedInQuotes()) {
      AppendTableRows(rows, later, first.NextLine());
      return;
    }
    rows = TableRows();  // a quoted line break at the split: read again in one pass
  }
  reserve(rows, bytes);
  CsvRecords records = open(begin, end, line);
  ParseTableRows(records, rules, rows);
}

}  // namespace

bool ReadTrackTable(const std::string& path, const ImportOptions& options, PointTable& table,
                    ImportResult& result) {
  MappedFile file;
  if (!file.Open(path)) {
    result.error = path + ": cannot open the file";
    return false;
  }
  CsvRecords records(file.begin(), file.end(), 1);
  const char separator = records.DetectSeparator();
  std::vector<std::string_view> fields;
  int64_t line = 0;
  if (!records.Next(fields, line)) {
    result.error = path + ": the file is empty";
    return false;
  }
  Format format;
  {
    const Header header(fields);
    if (header.Binary()) {
      result.error = path + ": not a text table (its first line holds control characters)";
      return false;
    }
    if (!FindFormat(path, header, options, format, result.error)) return false;
    if (!options.intensity.empty()) {
      format.columns.intensity = header.Find(options.intensity);
      if (format.columns.intensity < 0) {
        result.error = path + ": no intensity column \"" + options.intensity + "\" (the header has " +
                       header.List() + ")";
        return false;
      }
    }
  }
  const TableColumns& c = format.columns;
  ImportReport& report = result.report;

  // TrackMate 7 and later: names, short names and units under the keys. A second line
  // whose frame cell is text is the first of these.
  const char* dataStart = records.Position();
  int64_t dataLine = records.NextLine();
  int64_t frame;
  if (format.trackMate && records.Next(fields, line) &&
      ParseIntegerCell(Cell(fields, c.frame), frame) == IntegerCell::NotInteger) {
    if (records.Next(fields, line) && records.Next(fields, line)) {
      format.unit = ParseLengthUnit(Cell(fields, c.x));
      const std::string_view named = TrimBlanks(Cell(fields, c.x));
      if (format.unit == LengthUnit::Unknown && !named.empty() && options.positionUnit == LengthUnit::Unknown) {
        result.error = path + ": line " + std::to_string(line) + ": unknown unit \"" + std::string(named) +
                       "\" of POSITION_X (\xC2\xB5m, nm or pixel)";
        return false;
      }
      format.timeUnitNamed = true;
      format.secondsPerTime = SecondsPerTimeUnit(Cell(fields, c.t));
    }
    dataStart = records.Position();
    dataLine = records.NextLine();
  }
  result.format = format.name;
  result.fileCalibration.positionUnit = format.unit;

  TableRows rows;
  const RowRules rules{c, separator == ';'};
  ReadRows(dataStart, file.end(), dataLine, separator, rules, options.threads, rows);
  table = std::move(rows.table);
  for (auto& [at, what] : rows.warnings) report.Warn(WherePrefix(path, WhereKind::Line, at) + what);
  report.warningsLeftOut += rows.warningsLeftOut;
  report.counts.rowsSkipped += rows.skipped + rows.untracked;
  if (rows.untracked > 0) report.notes.push_back(CountOf(rows.untracked, "row") + " without a track id left out");
  if (c.intensity < 0)
    report.notes.push_back("no intensity column: intensities are 0");
  else if (rows.noIntensity > 0)
    report.Warn(path + ": " + CountOf(rows.noIntensity, "row") + " without a finite intensity: taken as 0");

  if (c.t >= 0) {
    bool framesOnly = false;
    const double dt = FrameIntervalOf(rows.timeFrames, rows.times, framesOnly);
    if (dt <= 0) {
      if (!rows.times.empty())
        report.Warn(path + ": the time column does not follow the frames; no frame interval taken from it");
    } else if (format.timeUnitNamed) {
      if (format.secondsPerTime > 0)
        result.fileCalibration.frameIntervalS = dt * format.secondsPerTime;
      else
        report.notes.push_back("the time column is not in a unit of time: no frame interval taken from it");
    } else if (framesOnly) {
      report.notes.push_back("the time column counts frames: no frame interval taken from it");
    } else {
      result.fileCalibration.frameIntervalS = dt;
      report.notes.push_back("the time column names no unit: taken as seconds");
    }
  }
  return true;
}
