#pragma once
// The rows of a track table into points: the part of a table import that runs over each
// stretch of the file, on a thread of its own when the file is split in two. What each
// row gives, and when it is left out, is described in TrackTableReader.h.
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "import/CsvRecords.h"
#include "import/TrackAssembly.h"

// Columns of the table the import reads; -1 where the table has none.
struct TableColumns {
  int track = -1, frame = -1, x = -1, y = -1, intensity = -1, t = -1;
  int Last() const;
};

// Source track ids to groups of a point table.
class GroupIndex {
 public:
  int32_t Of(std::string_view cell, PointTable& table);
  int32_t Of(const TrackId& id, PointTable& table);
  int32_t OfNumber(int64_t number, PointTable& table);
  int32_t OfText(std::string_view text, PointTable& table);

 private:
  std::vector<int32_t> small_;  // ids 0 .. kSmallIds - 1, the usual ones: -1 = none yet
  std::unordered_map<int64_t, int32_t> numbers_;
  std::unordered_map<std::string, int32_t> texts_;
  bool hasLast_ = false;
  int64_t lastNumber_ = 0;
  int32_t lastGroup_ = 0;
};

// What a stretch of rows gave.
struct TableRows {
  PointTable table;
  GroupIndex groups;
  std::vector<int32_t> timeFrames;  // rows with a finite time: frame and time
  std::vector<double> times;
  int64_t untracked = 0;    // rows without a track id
  int64_t noIntensity = 0;  // rows whose intensity reads as 0
  int64_t skipped = 0;      // rows left out with a warning
  std::vector<std::pair<int64_t, std::string>> warnings;  // line, what (the first few)
  int64_t warningsLeftOut = 0;
};

struct RowRules {
  TableColumns columns;
  bool decimalComma = false;  // "1,5" is a number (tables separated by semicolons)
};

// Room for about `count` rows, so the tables grow without copies.
void ReserveTableRows(TableRows& rows, size_t count);
// Every record `records` has left into `rows`.
void ParseTableRows(CsvRecords& records, const RowRules& rules, TableRows& rows);
// One record (for a data row read while looking at the header).
void ParseTableRow(const std::vector<std::string_view>& fields, int64_t line, const RowRules& rules,
                   TableRows& rows);
// The rows of `later` (the stretch after `rows`'), their lines `lineOffset` further on.
void AppendTableRows(TableRows& rows, TableRows& later, int64_t lineOffset);

// The frame interval a time column gives: (t - t0) / (frame - frame0) the same for every
// row (within 0.1 % of a frame interval); 0 when it does not, or cannot be told.
// `framesOnly` tells a column that just repeats the frame numbers.
double FrameIntervalOf(const std::vector<int32_t>& frames, const std::vector<double>& times, bool& framesOnly);
