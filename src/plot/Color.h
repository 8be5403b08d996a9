#pragma once
#include <cstdint>

// A 24-bit colour in BGR order: 0x00BBGGRR.
using TColor = uint32_t;

namespace Colors {
inline constexpr TColor Black = 0x000000;
inline constexpr TColor Blue = 0xFF0000;
inline constexpr TColor Red = 0x0000FF;
inline constexpr TColor Green = 0x008000;
inline constexpr TColor White = 0xFFFFFF;
inline constexpr TColor Cream = 0xF0FBFF;
}  // namespace Colors
