#pragma once
// The X<TAB>Y per line text trajectory.
#include <cstdint>
#include <functional>
#include <string>

// Longest number token kept; longer tokens are cut (the rest of the characters are dropped).
inline constexpr size_t kMaxTxtToken = 64;

// Reads the file character by character. At a tab the token becomes the row's X, at a
// line feed its Y, and `row(index, x, y)` is called; rows stop at `maxRows`. A last line
// without a line feed adds no row. False when the file cannot be opened.
bool ReadXYText(const std::string& path, int32_t maxRows,
                const std::function<void(int32_t row, float x, float y)>& row);
