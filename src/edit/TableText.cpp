#include "edit/TableText.h"

#include <charconv>
#include <cmath>

void TableText::Row(const std::vector<std::string>& cells) {
  for (size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) text_ += separator_;
    text_ += Cell(cells[i]);
  }
  text_ += '\n';
}

std::string TableText::Cell(const std::string& text) const { return Quoted(text, separator_); }

std::string TableText::Quoted(const std::string& text, char separator) {
  // Blanks at either end are quoted too, so that no reader trims them away.
  const bool plain = text.find_first_of(std::string("\"\r\n") + separator) == std::string::npos &&
                     (text.empty() || (text.front() != ' ' && text.back() != ' '));
  if (plain) return text;
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

std::string TableText::Float(float value) {
  if (!std::isfinite(value)) return "";
  char buffer[32];
  return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

std::string TableText::Double(double value) {
  if (!std::isfinite(value)) return "";
  char buffer[32];
  return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}
