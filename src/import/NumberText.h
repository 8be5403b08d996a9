#pragma once
// Numbers in the cells and attributes of imported files, read with std::from_chars (no
// locale, no allocation). A cell is trimmed of blanks; a leading '+' is allowed.
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

inline std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
  return s;
}

// Plain decimals of up to 15 significant digits with up to 22 after the point ("-12.5",
// "0.0748"): the digits and the power of ten are both exact doubles, so one division
// rounds correctly and gives the double from_chars gives (Clinger's fast path), in a
// fraction of its time. False for anything else.
inline bool ParseShortDecimal(std::string_view s, double& value) {
  if (s.size() > 17) return false;  // more than sign, point and 15 digits: not worth a look
  const char* p = s.data();
  const char* end = p + s.size();
  const bool negative = p < end && *p == '-';
  p += negative;
  uint64_t digits = 0;
  int significant = 0, decimals = 0, seen = 0;
  bool point = false;
  for (; p < end; ++p) {
    if (*p == '.' && !point) {
      point = true;
      continue;
    }
    const unsigned d = static_cast<unsigned>(*p - '0');
    if (d > 9) return false;
    digits = digits * 10 + d;
    significant += digits != 0;
    decimals += point;
    ++seen;
  }
  if (seen == 0 || significant > 15 || decimals > 22) return false;
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                       1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const double v = static_cast<double>(digits) / kPowers[decimals];
  value = negative ? -v : v;
  return true;
}

// A whole cell as a number; false when empty or not entirely a number. "nan", "inf",
// "Infinity" are numbers (non-finite ones).
inline bool ParseNumber(std::string_view s, double& value) {
  s = TrimBlanks(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return false;
  if (ParseShortDecimal(s, value)) return true;
  const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value);
  return ec == std::errc() && end == s.data() + s.size();
}

enum class IntegerCell { Ok, Empty, NotInteger };

// A whole cell as an integer, also when written as a float with no fraction ("7.0",
// "1e3"), as tables written through floating-point columns often have it.
inline IntegerCell ParseIntegerCell(std::string_view s, int64_t& value) {
  s = TrimBlanks(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return IntegerCell::Empty;
  const char* end = s.data() + s.size();
  const auto [stop, ec] = std::from_chars(s.data(), end, value);
  if (ec == std::errc() && stop == end) return IntegerCell::Ok;
  double d;
  const auto [dstop, dec] = std::from_chars(s.data(), end, d);
  if (dec != std::errc() || dstop != end) return IntegerCell::NotInteger;
  // Only integers a double holds exactly and an int64 can take.
  if (!(std::fabs(d) <= 9007199254740992.0) || d != std::trunc(d)) return IntegerCell::NotInteger;
  value = static_cast<int64_t>(d);
  return IntegerCell::Ok;
}
