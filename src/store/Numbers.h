#pragma once
// Number conversions shared by readers, notes, captions and text exports.
#include <cstdint>
#include <optional>
#include <string>

// Integer stored as a float in a file: integer part of (value + 0.001), toward zero.
// NaN gives 0 and values beyond the int32 range are clamped, so no conversion is undefined.
int32_t IntFromStoredFloat(float value);

// Toward-zero conversion of a double to int32 with the same guards.
int32_t TruncToInt(double value);

// trunc(value * scale) * step, the truncation used by notes and captions; NaN and
// infinities pass through unchanged.
double TruncateTo(double value, double scale, double step);

// trunc(value * scale) * step as notes and exports show it. The truncation goes through
// an integer part with no sign of its own, so a value that truncates to zero shows "0",
// never "-0"; NaN shows "nan" whatever its sign bit.
std::string TruncatedText(double value, double scale, double step);
inline std::string ThousandthsText(double value) { return TruncatedText(value, 1000, 0.001); }
inline std::string HundredthsText(double value) { return TruncatedText(value, 100, 0.01); }
inline std::string TenthsText(double value) { return TruncatedText(value, 10, 0.1); }

// The shortest general form used in notes, captions and the status bar:
// up to 15 significant digits, no trailing zeros ("0.05", "30", "1e-05", "nan").
std::string FormatReal(double value);

// The general form with `digits` significant digits, as the text exports write it.
std::string FormatG(double value, int digits);

// `decimals` digits after the point, whatever the user's locale ("0.998", "35").
std::string FormatFixed(double value, int decimals);
// `figures` significant figures, trailing zeros kept ("0.0100", "20.2"); whole units from
// 10^figures on, the general form below 1e-4.
std::string FormatFigures(double value, int figures);

// Decimal text to a number the way the prompts read it: leading blanks skipped,
// the longest decimal prefix taken, anything that is not a number gives 0.
double ParseDecimal(const std::string& text);
// The whole text (blanks around it allowed) as a finite decimal number; nullopt for
// anything else. For answers that must be numbers, unlike the prompts' lenient reading.
std::optional<double> ParseNumber(const std::string& text);
// True for text that is a whole number in form: an optional sign and digits only.
bool IsWholeNumberText(const std::string& text);
// Integer text: 0 when the text is not an integer.
int32_t ParseInteger(const std::string& text, bool* ok = nullptr);
