#pragma once
// What every text export shares: the single-byte file text, the truncated number
// texts and the limits of the track tables.
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

#include "store/Numbers.h"

// Tells the user something while an export runs (a truncation message).
using ExportMessage = std::function<void(const std::string&)>;

// Values per track line, and track columns per frame line, that the track tables hold.
inline constexpr int32_t kMaxExportValues = 2000;
inline constexpr int32_t kMaxExportColumns = 2000;

// Writes the program's UTF-8 text in the single-byte form of the export files
// (the micro sign becomes the byte 0xB5).
void WriteExportText(std::ostream& out, const std::string& utf8);
