#include "import/CsvRecords.h"

#include <cstring>

#include "store/FileOpen.h"

namespace {

constexpr size_t kBlock = 1 << 20;

}  // namespace

CsvRecords::~CsvRecords() {
  if (file_) std::fclose(file_);
}

bool CsvRecords::Open(const std::string& path) {
  file_ = OpenFileForReading(path);
  if (!file_) return false;
  buffer_.resize(4 * kBlock);
  return true;
}

bool CsvRecords::Fill() {
  if (eof_ || !file_) {
    eof_ = true;
    return false;
  }
  if (pos_ > 0) {  // keep only what is still unread
    std::memmove(buffer_.data(), buffer_.data() + pos_, end_ - pos_);
    consumed_ += static_cast<int64_t>(pos_);
    end_ -= pos_;
    pos_ = 0;
  }
  if (buffer_.size() - end_ < kBlock) buffer_.resize(buffer_.size() * 2);
  const size_t got = std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_);
  if (got == 0) {
    eof_ = true;
    failed_ = std::ferror(file_) != 0;
    return false;
  }
  end_ += got;
  if (!bomChecked_ && end_ >= 3) {
    bomChecked_ = true;
    if (std::memcmp(buffer_.data(), "\xEF\xBB\xBF", 3) == 0) pos_ = 3;
  }
  return true;
}

char CsvRecords::DetectSeparator() {
  // The whole first line (a header never needs more than a few blocks).
  while (!std::memchr(buffer_.data() + pos_, '\n', end_ - pos_) && Fill()) {
  }
  size_t tabs = 0, commas = 0, semicolons = 0;
  bool quoted = false;
  for (size_t i = pos_; i < end_ && (quoted || buffer_[i] != '\n'); ++i) {
    const char c = buffer_[i];
    if (c == '"') quoted = !quoted;
    else if (!quoted) {
      tabs += c == '\t';
      commas += c == ',';
      semicolons += c == ';';
    }
  }
  separator_ = ',';
  if (tabs > commas && tabs >= semicolons) separator_ = '\t';
  else if (semicolons > commas && semicolons > tabs) separator_ = ';';
  return separator_;
}

bool CsvRecords::Next(std::vector<std::string_view>& fields, int64_t& line) {
  fields.clear();
  for (;;) {
    const char* begin = buffer_.data() + pos_;
    const char* end = buffer_.data() + end_;
    const char* newline = static_cast<const char*>(std::memchr(begin, '\n', end - begin));
    if (!newline && !eof_) {
      Fill();
      continue;
    }
    if (begin == end) return false;  // end of file
    const char* lineEnd = newline ? newline : end;
    const char* next = newline ? newline + 1 : end;
    line = line_;
    if (std::memchr(begin, '"', lineEnd - begin)) {
      // Quotes: the record may go on over more lines; fields are copied unquoted.
      // Each try parses from pos_ again: Fill may move the unread bytes to the front.
      while (!ParseQuoted(fields, next)) {
        if (!Fill()) {
          ParseQuoted(fields, next);  // at the end of the file an open quote ends there
          break;
        }
      }
      pos_ = static_cast<size_t>(next - buffer_.data());
      ++line_;
      return true;
    }
    ++line_;
    pos_ = static_cast<size_t>(next - buffer_.data());
    const char* stop = lineEnd;
    if (stop > begin && stop[-1] == '\r') --stop;
    if (stop == begin) {  // blank line
      fields.clear();
      continue;
    }
    const char* p = begin;
    for (;;) {
      const char* sep = static_cast<const char*>(std::memchr(p, separator_, stop - p));
      if (!sep) {
        fields.emplace_back(p, static_cast<size_t>(stop - p));
        break;
      }
      fields.emplace_back(p, static_cast<size_t>(sep - p));
      p = sep + 1;
    }
    return true;
  }
}

// Parses the record at pos_ with quote rules into unquoted_; false when the buffer ends
// inside it and more of the file may follow. Counts the line breaks inside quotes.
bool CsvRecords::ParseQuoted(std::vector<std::string_view>& fields, const char*& next) {
  const char* p = buffer_.data() + pos_;
  const char* end = buffer_.data() + end_;
  fields.clear();
  unquoted_.clear();
  unquoted_.reserve(static_cast<size_t>(end - p));  // views below must not move
  std::vector<std::pair<size_t, size_t>> spans;
  int64_t breaks = 0;
  size_t fieldStart = 0;
  bool quoted = false, atFieldStart = true;
  for (; p < end; ++p) {
    const char c = *p;
    if (quoted) {
      if (c == '"') {
        if (p + 1 < end && p[1] == '"') {
          unquoted_ += '"';
          ++p;
        } else if (p + 1 == end && !eof_) {
          return false;  // cannot tell "" from " yet
        } else {
          quoted = false;
        }
      } else {
        if (c == '\n') ++breaks;
        unquoted_ += c;
      }
      continue;
    }
    if (c == '"' && atFieldStart) {
      quoted = true;
      atFieldStart = false;
      continue;
    }
    if (c == separator_) {
      spans.emplace_back(fieldStart, unquoted_.size() - fieldStart);
      fieldStart = unquoted_.size();
      atFieldStart = true;
      continue;
    }
    if (c == '\n') break;
    atFieldStart = false;
    unquoted_ += c;
  }
  if (p == end && !eof_) return false;
  // A CR before the line feed ends the line, it is not part of the last field.
  if (!quoted && unquoted_.size() > fieldStart && unquoted_.back() == '\r') unquoted_.pop_back();
  spans.emplace_back(fieldStart, unquoted_.size() - fieldStart);
  for (const auto& [from, length] : spans) fields.emplace_back(unquoted_.data() + from, length);
  next = p < end ? p + 1 : end;
  line_ += breaks;
  return true;
}
