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

// A whole cell as a number; false when empty or not entirely a number. "nan", "inf",
// "Infinity" are numbers (non-finite ones).
inline bool ParseNumber(std::string_view s, double& value) {
  s = TrimBlanks(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return false;
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
