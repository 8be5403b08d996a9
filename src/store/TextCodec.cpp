#include "store/TextCodec.h"

std::string Utf8ToLatin1(const std::string& utf8) {
  std::string out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size();) {
    const unsigned char c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80) {
      out += static_cast<char>(c);
      ++i;
    } else if ((c & 0xE0) == 0xC0 && i + 1 < utf8.size()) {
      const unsigned code = ((c & 0x1Fu) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3Fu);
      out += code < 0x100 ? static_cast<char>(code) : '?';
      i += 2;
    } else {
      out += '?';
      ++i;
      while (i < utf8.size() && (static_cast<unsigned char>(utf8[i]) & 0xC0) == 0x80) ++i;
    }
  }
  return out;
}
