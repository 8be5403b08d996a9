#include <cctype>
#include <string_view>

#include "import/ImportTypes.h"

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Texts with digit runs compared by their value: "a2" < "a10" < "b1".
int CompareNatural(std::string_view a, std::string_view b) {
  size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    if (IsDigit(a[i]) && IsDigit(b[j])) {
      size_t ie = i, je = j;
      while (ie < a.size() && IsDigit(a[ie])) ++ie;
      while (je < b.size() && IsDigit(b[je])) ++je;
      size_t is = i, js = j;  // leading zeros do not count
      while (is + 1 < ie && a[is] == '0') ++is;
      while (js + 1 < je && b[js] == '0') ++js;
      if (ie - is != je - js) return ie - is < je - js ? -1 : 1;
      const int c = a.substr(is, ie - is).compare(b.substr(js, je - js));
      if (c != 0) return c;
      i = ie;
      j = je;
    } else {
      if (a[i] != b[j]) return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[j]) ? -1 : 1;
      ++i;
      ++j;
    }
  }
  if (i < a.size()) return 1;
  if (j < b.size()) return -1;
  return a.compare(b);  // "a01" and "a1": still a fixed order
}

}  // namespace

bool operator<(const TrackId& a, const TrackId& b) {
  if (a.numeric != b.numeric) return a.numeric;
  if (a.numeric) return a.number < b.number;
  return CompareNatural(a.text, b.text) < 0;
}

bool operator==(const TrackId& a, const TrackId& b) {
  return a.numeric == b.numeric && (a.numeric ? a.number == b.number : a.text == b.text);
}
