#include "store/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

int32_t IntFromStoredFloat(float value) {
  return TruncToInt(static_cast<double>(value) + 0.001);
}

int32_t TruncToInt(double value) {
  if (std::isnan(value)) return 0;
  constexpr double lo = std::numeric_limits<int32_t>::min();
  constexpr double hi = std::numeric_limits<int32_t>::max();
  if (value <= lo) return std::numeric_limits<int32_t>::min();
  if (value >= hi) return std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(value);
}

double TruncateTo(double value, double scale, double step) {
  if (!std::isfinite(value)) return value;
  return std::trunc(value * scale) * step;
}

// <charconv> rather than printf/strtod: the text must not depend on the user's locale
// (Qt sets it from the environment, and a German one would write "0,05").
std::string FormatG(double value, int digits) {
  char buffer[64];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits);
  return std::string(buffer, result.ptr);
}

std::string FormatReal(double value) { return FormatG(value, 15); }

std::string FormatFixed(double value, int decimals) {
  char buffer[400];  // the widest double in fixed notation
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value,
                                    std::chars_format::fixed, decimals);
  return std::string(buffer, result.ptr);
}

std::string TruncatedText(double value, double scale, double step) {
  const double truncated = TruncateTo(value, scale, step);
  if (std::isnan(truncated)) return "nan";
  // Adding +0 turns a zero of either sign into +0 and leaves every other value alone.
  return FormatReal(truncated + 0.0);
}

namespace {

const char* SkipBlanks(const char* p, const char* end) {
  while (p < end && (*p == ' ' || *p == '\t' || *p == '\r' || *p == '\n')) ++p;
  return p;
}

}  // namespace

std::string FormatFigures(double value, int figures) {
  const double size = std::fabs(value);
  if (!std::isfinite(value) || size < 1e-4) return FormatG(value, figures);
  const int magnitude = static_cast<int>(std::floor(std::log10(size)));
  return FormatFixed(value, std::max(figures - 1 - magnitude, 0));
}

double ParseDecimal(const std::string& text) {
  const char* end = text.data() + text.size();
  const char* p = SkipBlanks(text.data(), end);
  if (p < end && *p == '+') ++p;
  double value = 0;
  const auto result = std::from_chars(p, end, value, std::chars_format::general);
  if (result.ec == std::errc::result_out_of_range) {
    // Too large or too small for a double: keep the sign, as a C reader would.
    const bool negative = p < end && *p == '-';
    const char* e = p;
    while (e < end && *e != 'e' && *e != 'E') ++e;
    const bool tiny = e < end && e + 1 < end && e[1] == '-';
    if (tiny) return negative ? -0.0 : 0.0;
    return negative ? -std::numeric_limits<double>::infinity()
                    : std::numeric_limits<double>::infinity();
  }
  if (result.ec != std::errc()) return 0.0;
  return value;
}

std::optional<double> ParseNumber(const std::string& text) {
  const char* end = text.data() + text.size();
  const char* p = SkipBlanks(text.data(), end);
  if (p < end && *p == '+') ++p;
  double value = 0;
  const auto result = std::from_chars(p, end, value, std::chars_format::general);
  if (result.ec != std::errc() || SkipBlanks(result.ptr, end) != end || !std::isfinite(value))
    return std::nullopt;
  return value;
}

bool IsWholeNumberText(const std::string& text) {
  const char* end = text.data() + text.size();
  const char* p = SkipBlanks(text.data(), end);
  if (p < end && (*p == '+' || *p == '-')) ++p;
  const char* digits = p;
  while (p < end && *p >= '0' && *p <= '9') ++p;
  return p > digits && SkipBlanks(p, end) == end;
}

int32_t ParseInteger(const std::string& text, bool* ok) {
  const char* end = text.data() + text.size();
  const char* p = SkipBlanks(text.data(), end);
  if (p < end && *p == '+') ++p;
  int32_t value = 0;
  const auto result = std::from_chars(p, end, value, 10);
  const bool good = result.ec == std::errc() && SkipBlanks(result.ptr, end) == end;
  if (ok) *ok = good;
  return good ? value : 0;
}
