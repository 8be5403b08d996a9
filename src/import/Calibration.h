#pragma once
// Units named in files, and the calibration an import uses: the caller's values win
// over the file's; a value that is needed and missing from both fails the import with
// the option to add.
#include <string>
#include <string_view>

#include "import/ImportTypes.h"

// "µm", "um", "micron", "nm", "pixel", ... (any case, blanks and one pair of
// parentheses around it allowed); Unknown for anything else.
LengthUnit ParseLengthUnit(std::string_view text);
// Seconds per unit of time: "s"/"sec" 1, "ms" 0.001, "min" 60, ...; 0 for "frame" and
// anything not a time.
double SecondsPerTimeUnit(std::string_view text);

// Decides the calibration of `path` from what the file said and the caller's options:
// sets result.calibration, adds notes on the choices to the report. Returns the factor
// from file position units to µm, or 0 after setting result.error.
double ResolveCalibration(const std::string& path, const ImportOptions& options,
                          ImportResult& result);
