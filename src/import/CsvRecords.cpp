#include "import/CsvRecords.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

CsvRecords::CsvRecords(const char* begin, const char* end, int64_t firstLine)
    : pos_(begin), end_(end), line_(firstLine) {
  if (end - begin >= 3 && std::memcmp(begin, "\xEF\xBB\xBF", 3) == 0) pos_ += 3;
}

char CsvRecords::DetectSeparator() {
  size_t tabs = 0, commas = 0, semicolons = 0;
  bool quoted = false;
  for (const char* p = pos_; p < end_ && (quoted || *p != '\n'); ++p) {
    if (*p == '"') quoted = !quoted;
    else if (!quoted) {
      tabs += *p == '\t';
      commas += *p == ',';
      semicolons += *p == ';';
    }
  }
  separator_ = ',';
  if (tabs > commas && tabs >= semicolons) separator_ = '\t';
  else if (semicolons > commas && semicolons > tabs) separator_ = ';';
  return separator_;
}

// The fields of the line [begin, stop), up to the limit. Sixteen bytes are compared with
// the separator at once where the processor can (every x86-64 can); loads never reach
// past the end of the bytes.
void CsvRecords::SplitFields(const char* begin, const char* stop, std::vector<std::string_view>& fields) const {
  const char sep = separator_;
  const char* p = begin;  // start of the current field
  const char* q = begin;  // next byte to look at
#if defined(__SSE2__)
  const __m128i separators = _mm_set1_epi8(sep);
  while (q < stop && end_ - q >= 16) {
    unsigned mask = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(q)), separators)));
    if (stop - q < 16) mask &= (1u << (stop - q)) - 1;
    for (; mask != 0; mask &= mask - 1) {
      const char* at = q + __builtin_ctz(mask);
      fields.emplace_back(p, static_cast<size_t>(at - p));
      if (fields.size() == limit_) return;
      p = at + 1;
    }
    q += 16;
  }
#endif
  for (; q < stop; ++q)
    if (*q == sep) {
      fields.emplace_back(p, static_cast<size_t>(q - p));
      if (fields.size() == limit_) return;
      p = q + 1;
    }
  fields.emplace_back(p, static_cast<size_t>(stop - p));
}

bool CsvRecords::Next(std::vector<std::string_view>& fields, int64_t& line) {
  fields.clear();
  while (pos_ < end_) {
    const char* begin = pos_;
    const char* newline = static_cast<const char*>(std::memchr(begin, '\n', static_cast<size_t>(end_ - begin)));
    const char* lineEnd = newline ? newline : end_;
    line = line_;
    if (std::memchr(begin, '"', static_cast<size_t>(lineEnd - begin))) {
      ParseQuoted(fields);  // the record may go on over more lines
      return true;
    }
    ++line_;
    pos_ = newline ? newline + 1 : end_;
    const char* stop = lineEnd;
    if (stop > begin && stop[-1] == '\r') --stop;
    if (stop == begin) continue;  // blank line
    SplitFields(begin, stop, fields);
    return true;
  }
  return false;
}

// The record at pos_ with quote rules, its fields copied unquoted; counts the line breaks
// inside quotes. A quote left open at the end of the bytes ends there.
void CsvRecords::ParseQuoted(std::vector<std::string_view>& fields) {
  unquoted_.clear();
  spans_.clear();
  const char* p = pos_;
  int64_t breaks = 0;
  size_t fieldStart = 0;
  bool quoted = false, atFieldStart = true;
  for (; p < end_; ++p) {
    const char c = *p;
    if (quoted) {
      if (c != '"') {
        breaks += c == '\n';
        unquoted_ += c;
      } else if (p + 1 < end_ && p[1] == '"') {
        unquoted_ += '"';
        ++p;
      } else {
        quoted = false;
      }
    } else if (c == '"' && atFieldStart) {
      quoted = true;
      atFieldStart = false;
    } else if (c == separator_) {
      spans_.emplace_back(fieldStart, unquoted_.size() - fieldStart);
      fieldStart = unquoted_.size();
      atFieldStart = true;
    } else if (c == '\n') {
      break;
    } else {
      atFieldStart = false;
      unquoted_ += c;
    }
  }
  endedInQuotes_ = quoted;
  // A CR before the line feed ends the line, it is not part of the last field.
  if (!quoted && unquoted_.size() > fieldStart && unquoted_.back() == '\r') unquoted_.pop_back();
  spans_.emplace_back(fieldStart, unquoted_.size() - fieldStart);
  for (const auto& [from, length] : spans_) fields.emplace_back(unquoted_.data() + from, length);
  pos_ = p < end_ ? p + 1 : end_;
  line_ += breaks + 1;
}
