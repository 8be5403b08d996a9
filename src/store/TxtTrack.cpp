#include "store/TxtTrack.h"

#include <cstdio>

#include "store/FileOpen.h"
#include "store/Numbers.h"

bool ReadXYText(const std::string& path, int32_t maxRows,
                const std::function<void(int32_t, float, float)>& row) {
  std::FILE* file = OpenFileForReading(path);
  if (!file) return false;
  std::setvbuf(file, nullptr, _IOFBF, 1 << 16);
  std::string token;
  float x = 0;
  int32_t rows = 0;
  for (int c = std::fgetc(file); c != EOF && rows < maxRows; c = std::fgetc(file)) {
    if (c == '\r') continue;  // text-mode reading drops the carriage return of CR LF
    if (c == '\t') {
      x = static_cast<float>(ParseDecimal(token));
      token.clear();
    } else if (c == '\n') {
      const float y = static_cast<float>(ParseDecimal(token));
      token.clear();
      row(rows, x, y);
      ++rows;
      // X is set only at a tab: a line without one keeps the fresh array's zero,
      // not the previous line's X.
      x = 0;
    } else if (token.size() < kMaxTxtToken) {
      token += static_cast<char>(c);
    }
  }
  std::fclose(file);
  return true;
}
