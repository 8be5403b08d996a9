#include "import/Calibration.h"

#include <cctype>
#include <cmath>

#include "store/Numbers.h"

namespace {

std::string Lower(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  if (text.size() >= 2 && text.front() == '(' && text.back() == ')') text = text.substr(1, text.size() - 2);
  std::string s(text);
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool Known(double v) { return std::isfinite(v) && v > 0; }

std::string Um(double v) { return FormatReal(v) + " \xC2\xB5m"; }
std::string Sec(double v) { return FormatReal(v) + " s"; }

const char* UnitName(LengthUnit unit) {
  switch (unit) {
    case LengthUnit::Pixel: return "pixels";
    case LengthUnit::Nanometre: return "nm";
    case LengthUnit::Micrometre: return "\xC2\xB5m";
    default: return "unknown units";
  }
}

}  // namespace

LengthUnit ParseLengthUnit(std::string_view text) {
  const std::string s = Lower(text);
  // The micro sign (U+00B5) and the Greek mu (U+03BC) both stand for micro.
  if (s == "\xC2\xB5m" || s == "\xCE\xBCm" || s == "um" || s == "micron" || s == "microns" ||
      s == "micrometer" || s == "micrometre" || s == "micrometers" || s == "micrometres")
    return LengthUnit::Micrometre;
  if (s == "nm" || s == "nanometer" || s == "nanometre" || s == "nanometers" || s == "nanometres")
    return LengthUnit::Nanometre;
  if (s == "pixel" || s == "pixels" || s == "px" || s == "pix") return LengthUnit::Pixel;
  return LengthUnit::Unknown;
}

double SecondsPerTimeUnit(std::string_view text) {
  const std::string s = Lower(text);
  if (s == "s" || s == "sec" || s == "secs" || s == "second" || s == "seconds") return 1;
  if (s == "ms" || s == "msec" || s == "millisecond" || s == "milliseconds") return 1e-3;
  if (s == "\xC2\xB5s" || s == "\xCE\xBCs" || s == "us" || s == "microsecond" || s == "microseconds")
    return 1e-6;
  if (s == "min" || s == "mins" || s == "minute" || s == "minutes") return 60;
  if (s == "h" || s == "hour" || s == "hours") return 3600;
  return 0;
}

double ResolveCalibration(const std::string& path, const ImportOptions& options,
                          ImportResult& result) {
  const Calibration& file = result.fileCalibration;
  Calibration& used = result.calibration;
  std::vector<std::string>& notes = result.report.notes;

  used.positionUnit = file.positionUnit;
  if (options.positionUnit != LengthUnit::Unknown) {
    used.positionUnit = options.positionUnit;
    if (file.positionUnit != LengthUnit::Unknown && file.positionUnit != options.positionUnit)
      notes.push_back(std::string("positions taken as ") + UnitName(options.positionUnit) +
                      " as the caller asked (the file says " + UnitName(file.positionUnit) + ")");
  } else if (used.positionUnit == LengthUnit::Unknown) {
    used.positionUnit = LengthUnit::Micrometre;
    notes.push_back("the file does not name the unit of its positions: taken as \xC2\xB5m");
  }

  used.pixelSizeUm = file.pixelSizeUm;
  if (Known(options.pixelSizeUm)) {
    used.pixelSizeUm = options.pixelSizeUm;
    notes.push_back("pixel size " + Um(options.pixelSizeUm) + " from the caller" +
                    (Known(file.pixelSizeUm) ? " (the file says " + Um(file.pixelSizeUm) + ")" : ""));
    if (!used.PositionsInPixels()) notes.push_back("positions are not in pixels: the pixel size is not used");
  } else if (Known(file.pixelSizeUm)) {
    notes.push_back("pixel size " + Um(file.pixelSizeUm) + " from the file");
  }

  used.frameIntervalS = file.frameIntervalS;
  if (Known(options.frameIntervalS)) {
    used.frameIntervalS = options.frameIntervalS;
    notes.push_back("frame interval " + Sec(options.frameIntervalS) + " from the caller" +
                    (Known(file.frameIntervalS) ? " (the file says " + Sec(file.frameIntervalS) + ")"
                                                : ""));
  } else if (Known(file.frameIntervalS)) {
    notes.push_back("frame interval " + Sec(file.frameIntervalS) + " from the file");
  }

  bool needPixel = used.PositionsInPixels() && !Known(used.pixelSizeUm);
  bool needInterval = !Known(used.frameIntervalS);
  CalibrationRequest request{needPixel, needInterval, 0, 0};
  if ((needPixel || needInterval) && options.askCalibration && options.askCalibration(request)) {
    if (needPixel && Known(request.pixelSizeUm)) {
      used.pixelSizeUm = request.pixelSizeUm;
      notes.push_back("pixel size " + Um(request.pixelSizeUm) + " as given");
      needPixel = false;
    }
    if (needInterval && Known(request.frameIntervalS)) {
      used.frameIntervalS = request.frameIntervalS;
      notes.push_back("frame interval " + Sec(request.frameIntervalS) + " as given");
      needInterval = false;
    }
  }
  if (needPixel || needInterval) {
    std::string what;
    if (needPixel) what = "positions are in pixels and no pixel size is known: add --pixel-size UM";
    if (needPixel && needInterval) what += "; ";
    if (needInterval) what += "no frame interval is known: add --frame-interval S";
    result.error = path + ": " + what;
    return 0;
  }
  switch (used.positionUnit) {
    case LengthUnit::Pixel: return used.pixelSizeUm;
    case LengthUnit::Nanometre: return 0.001;
    default: return 1.0;
  }
}
