#pragma once
// Records of comma-, tab- or semicolon-separated text in memory. Fields may be quoted
// ("a,b", "say ""hi""" and line breaks inside quotes); lines may end in LF or CRLF; a
// UTF-8 byte-order mark is skipped. Hand-written because the fast path (no quote in the
// line) is one memchr for the line end and a vector scan for the separators of the
// fields wanted, which is what lets tables import at hundreds of MB/s.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CsvRecords {
 public:
  // The bytes [begin, end), whose first line is line `firstLine`; they must outlive this.
  CsvRecords(const char* begin, const char* end, int64_t firstLine);

  // The separator the first line uses most (outside quotes) of tab, comma and semicolon;
  // comma when it has none.
  char DetectSeparator();
  void SetSeparator(char separator) { separator_ = separator; }
  // Only the first `count` fields of each record are split (the rest are passed over).
  void LimitFields(size_t count) { limit_ = count == 0 ? 1 : count; }

  // The next record's fields (views valid until the next call) and the line it starts
  // on; false at the end. Blank lines are passed over.
  bool Next(std::vector<std::string_view>& fields, int64_t& line);
  // True when the bytes ended inside a quoted field.
  bool EndedInQuotes() const { return endedInQuotes_; }
  // Where the next record starts, and its line.
  const char* Position() const { return pos_; }
  int64_t NextLine() const { return line_; }

 private:
  void SplitFields(const char* begin, const char* stop, std::vector<std::string_view>& fields) const;
  void ParseQuoted(std::vector<std::string_view>& fields);

  const char* pos_;
  const char* end_;
  int64_t line_;
  char separator_ = ',';
  size_t limit_ = SIZE_MAX;
  bool endedInQuotes_ = false;
  std::string unquoted_;  // the fields of a record that had quotes
  std::vector<std::pair<size_t, size_t>> spans_;
};
