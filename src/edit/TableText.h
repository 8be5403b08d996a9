#pragma once
// Tables for pandas and R: UTF-8, one header line, cells separated by a tab or a comma
// (CSV quoting where a cell needs it), floats in the shortest form that reads back to the
// same float, an empty cell for a missing value.
#include <string>
#include <vector>

class TableText {
 public:
  explicit TableText(bool csv) : separator_(csv ? ',' : '\t') {}

  void Row(const std::vector<std::string>& cells);
  const std::string& Text() const { return text_; }

  static std::string Float(float value);    // "" when not finite
  static std::string Double(double value);  // "" when not finite
  // A cell as it stands, or in double quotes (inner quotes doubled) when it holds the
  // separator, a quote, a line end or blanks at its ends.
  static std::string Quoted(const std::string& text, char separator);

 private:
  std::string Cell(const std::string& text) const;

  char separator_;
  std::string text_;
};
