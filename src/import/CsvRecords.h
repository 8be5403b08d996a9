#pragma once
// Records of a comma-, tab- or semicolon-separated file, read in blocks (memory grows
// with the longest record, not with the file). Fields may be quoted ("a,b", "say ""hi"""
// and line breaks inside quotes); lines may end in LF or CRLF; a UTF-8 byte-order mark
// is skipped. Hand-written because the fast path (no quote in the line) is a memchr for
// the line end and one for each separator, which is what makes tables import at
// hundreds of MB/s.
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

class CsvRecords {
 public:
  CsvRecords() = default;
  ~CsvRecords();
  CsvRecords(const CsvRecords&) = delete;
  CsvRecords& operator=(const CsvRecords&) = delete;

  bool Open(const std::string& path);
  // The separator the header line uses most (outside quotes) of tab, comma and
  // semicolon; comma when it has none. Looks ahead without consuming.
  char DetectSeparator();
  void SetSeparator(char separator) { separator_ = separator; }

  // The next record's fields (views valid until the next call) and the line it starts
  // on; false at the end of the file. Blank lines are passed over.
  bool Next(std::vector<std::string_view>& fields, int64_t& line);
  // True when reading stopped on a read error rather than the end of the file.
  bool Failed() const { return failed_; }
  // Bytes consumed so far.
  int64_t Offset() const { return consumed_ + static_cast<int64_t>(pos_); }

 private:
  bool Fill();  // more bytes after end_; false at the end of the file
  bool ParseQuoted(std::vector<std::string_view>& fields, const char*& next);

  std::FILE* file_ = nullptr;
  std::vector<char> buffer_;
  size_t pos_ = 0, end_ = 0;
  int64_t consumed_ = 0;  // bytes dropped from the front of the buffer
  bool eof_ = false, failed_ = false, bomChecked_ = false;
  char separator_ = ',';
  int64_t line_ = 1;
  std::string unquoted_;  // the fields of a record that had quotes
};
