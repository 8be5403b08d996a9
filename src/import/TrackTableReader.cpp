#include "import/TrackTableReader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <unordered_map>
#include <vector>

#include "import/Calibration.h"
#include "import/CsvRecords.h"
#include "import/NumberText.h"

namespace {

std::string Lower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

// Columns of the table the import reads; -1 where the table has none.
struct Columns {
  int track = -1, frame = -1, x = -1, y = -1, intensity = -1, t = -1;
  int Last() const { return std::max({track, frame, x, y, intensity, t}); }
};

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

// Source track ids to groups of the point table, the last one remembered (rows of one
// track usually follow each other).
class GroupIndex {
 public:
  explicit GroupIndex(PointTable& table) : table_(table) {}
  int32_t Of(std::string_view cell) {
    int64_t number;
    if (ParseIntegerCell(cell, number) == IntegerCell::Ok) {
      if (lastNumeric_ && number == lastNumber_) return lastGroup_;
      auto [it, added] = numbers_.try_emplace(number, static_cast<int32_t>(table_.groups.size()));
      if (added) table_.groups.push_back({true, number, {}});
      lastNumeric_ = true;
      lastNumber_ = number;
      return lastGroup_ = it->second;
    }
    lastNumeric_ = false;
    std::string text(TrimBlanks(cell));
    auto [it, added] = texts_.try_emplace(text, static_cast<int32_t>(table_.groups.size()));
    if (added) table_.groups.push_back({false, 0, text});
    return it->second;
  }

 private:
  PointTable& table_;
  std::unordered_map<int64_t, int32_t> numbers_;
  std::unordered_map<std::string, int32_t> texts_;
  bool lastNumeric_ = false;
  int64_t lastNumber_ = 0;
  int32_t lastGroup_ = 0;
};

// The frame interval the time column gives: (t - t0) / (frame - frame0) the same for every
// row (within 0.1 % of a frame interval); 0 when it does not, or cannot be told.
struct TimeColumn {
  std::vector<int32_t> frames;
  std::vector<double> times;

  double Interval(bool& framesOnly) const {
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
};

struct Format {
  std::string name;
  Columns columns;
  LengthUnit unit = LengthUnit::Unknown;
  bool trackMate = false;
  bool timeUnitNamed = false;  // the file names the unit of its time column
  double secondsPerTime = 0;   // of that unit; 0: frames
};

bool FindFormat(const std::string& path, const Header& header, const ImportOptions& options,
                Format& format, std::string& error) {
  Columns& c = format.columns;
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

// A number cell; in a semicolon-separated table also with a decimal comma ("1,5"), as
// spreadsheets in many locales write them.
bool ParseCell(std::string_view cell, double& value, bool decimalComma) {
  if (ParseNumber(cell, value)) return true;
  if (!decimalComma || cell.find(',') == std::string_view::npos || cell.size() > 64) return false;
  std::string dotted(cell);
  std::replace(dotted.begin(), dotted.end(), ',', '.');
  return ParseNumber(dotted, value);
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

bool ReadTrackTable(const std::string& path, const ImportOptions& options, PointTable& table,
                    ImportResult& result) {
  CsvRecords records;
  if (!records.Open(path)) {
    result.error = path + ": cannot open the file";
    return false;
  }
  const bool decimalComma = records.DetectSeparator() == ';';
  std::vector<std::string_view> fields;
  int64_t line = 0;
  if (!records.Next(fields, line)) {
    result.error = path + (records.Failed() ? ": cannot read the file" : ": the file is empty");
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
  const Columns c = format.columns;
  ImportReport& report = result.report;

  // TrackMate 7 and later: names, short names and units under the keys. A second line
  // whose frame cell is text is the first of these.
  bool haveRow = records.Next(fields, line);
  if (haveRow && format.trackMate) {
    int64_t frame;
    if (ParseIntegerCell(Cell(fields, c.frame), frame) == IntegerCell::NotInteger) {
      for (int extra = 0; extra < 2 && haveRow; ++extra) haveRow = records.Next(fields, line);
      if (haveRow) {
        format.unit = ParseLengthUnit(Cell(fields, c.x));
        const std::string_view named = TrimBlanks(Cell(fields, c.x));
        if (format.unit == LengthUnit::Unknown && !named.empty() &&
            options.positionUnit == LengthUnit::Unknown) {
          result.error = path + ": line " + std::to_string(line) + ": unknown unit \"" +
                         std::string(named) + "\" of POSITION_X (\xC2\xB5m, nm or pixel)";
          return false;
        }
        format.timeUnitNamed = true;
        format.secondsPerTime = SecondsPerTimeUnit(Cell(fields, c.t));
        haveRow = records.Next(fields, line);
      }
    }
  }
  result.format = format.name;
  result.fileCalibration.positionUnit = format.unit;

  GroupIndex groups(table);
  TimeColumn time;
  int64_t untracked = 0, noIntensity = 0;
  auto skip = [&](const std::string& why) {
    ++report.counts.rowsSkipped;
    report.Warn(WherePrefix(path, WhereKind::Line, line) + why + "; row left out");
  };
  for (; haveRow; haveRow = records.Next(fields, line)) {
    const std::string_view trackCell = TrimBlanks(Cell(fields, c.track));
    if (trackCell.empty()) {
      ++untracked;
      continue;
    }
    int64_t frame;
    const std::string_view frameCell = Cell(fields, c.frame);
    const IntegerCell frameKind = ParseIntegerCell(frameCell, frame);
    if (frameKind != IntegerCell::Ok) {
      skip(frameKind == IntegerCell::Empty
               ? std::string("no frame")
               : "frame \"" + std::string(TrimBlanks(frameCell)) + "\" is not an integer");
      continue;
    }
    if (frame > kMaxFrameMagnitude || frame < -kMaxFrameMagnitude) {
      skip("frame " + std::to_string(frame) + " is out of range");
      continue;
    }
    double x, y;
    const bool xOk = ParseCell(Cell(fields, c.x), x, decimalComma);
    const bool yOk = ParseCell(Cell(fields, c.y), y, decimalComma);
    if (!xOk || !yOk || !std::isfinite(x) || !std::isfinite(y)) {
      const std::string_view bad = TrimBlanks(Cell(fields, !xOk || !std::isfinite(x) ? c.x : c.y));
      skip(std::string(!xOk || !std::isfinite(x) ? "x" : "y") +
           (bad.empty() ? std::string(" is missing") : " \"" + std::string(bad) + "\" is not a finite number"));
      continue;
    }
    double intensity = 0;
    if (c.intensity >= 0 && !(ParseCell(Cell(fields, c.intensity), intensity, decimalComma) && std::isfinite(intensity))) {
      intensity = 0;
      ++noIntensity;
    }
    if (c.t >= 0) {
      double t;
      if (ParseCell(Cell(fields, c.t), t, decimalComma) && std::isfinite(t)) {
        time.frames.push_back(static_cast<int32_t>(frame));
        time.times.push_back(t);
      }
    }
    table.Add(groups.Of(trackCell), static_cast<int32_t>(frame), x, y, static_cast<float>(intensity), line);
  }
  if (records.Failed()) {
    result.error = path + ": cannot read the file to its end";
    return false;
  }
  if (untracked > 0)
    report.notes.push_back(CountOf(untracked, "row") + " without a track id left out");
  report.counts.rowsSkipped += untracked;
  if (c.intensity < 0)
    report.notes.push_back("no intensity column: intensities are 0");
  else if (noIntensity > 0)
    report.Warn(path + ": " + CountOf(noIntensity, "row") + " without a finite intensity: taken as 0");

  if (c.t >= 0) {
    bool framesOnly = false;
    const double dt = time.Interval(framesOnly);
    if (dt <= 0) {
      if (!time.frames.empty())
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
