#include "cli/BatchOptions.h"

#include <utility>

#include "store/Numbers.h"

namespace {

bool ParseSize(const std::string& text, int& width, int& height) {
  const size_t x = text.find('x');
  if (x == std::string::npos) return false;
  bool okW = false, okH = false;
  const int w = ParseInteger(text.substr(0, x), &okW);
  const int h = ParseInteger(text.substr(x + 1), &okH);
  // Beyond this the two panel bitmaps alone would take gigabytes.
  constexpr int kMaxSide = 20000;
  if (!okW || !okH || w < 2 || h < 2 || w > kMaxSide || h > kMaxSide) return false;
  width = w;
  height = h;
  return true;
}

// Options that take their value as it stands, and switches.
constexpr std::pair<const char*, std::string BatchOptions::*> kTextOptions[] = {
    {"--table", &BatchOptions::tablePath},     {"--rows", &BatchOptions::rowsPath},
    {"--summary", &BatchOptions::summaryPath}, {"--out-dir", &BatchOptions::outDir},
    {"--columns", &BatchOptions::columns},     {"--intensity", &BatchOptions::intensity}};
constexpr std::pair<const char*, bool BatchOptions::*> kSwitches[] = {
    {"--notes", &BatchOptions::notes},
    {"--csv", &BatchOptions::csv},
    {"--each", &BatchOptions::each},
    {"--stop-on-error", &BatchOptions::stopOnError}};

template <class Member, size_t N>
const Member* FindOption(const std::pair<const char*, Member> (&table)[N], const std::string& arg) {
  for (const auto& [name, member] : table)
    if (arg == name) return &member;
  return nullptr;
}

}  // namespace

std::optional<BatchOptions> ParseBatchOptions(const std::vector<std::string>& args,
                                              std::string& error) {
  BatchOptions options;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    auto value = [&](std::string& out) {
      if (i + 1 >= args.size()) {
        error.assign(arg).append(" needs a value");
        return false;
      }
      out = args[++i];
      return true;
    };
    std::string v;
    if (const auto text = FindOption(kTextOptions, arg)) {
      if (!value(options.**text)) return std::nullopt;
    } else if (const auto on = FindOption(kSwitches, arg)) {
      options.**on = true;
    } else if (arg == "--help" || arg == "-h") {
      options.help = true;
      // A command name may follow: its help in detail.
      if (i + 1 < args.size() && !args[i + 1].empty() && args[i + 1][0] != '-')
        options.helpCommand = args[++i];
    } else if (arg == "--cmd") {
      if (!value(v)) return std::nullopt;
      BatchStep step;
      const size_t eq = v.find('=');
      step.name = v.substr(0, eq);
      if (eq != std::string::npos) step.answer = v.substr(eq + 1);
      options.steps.push_back(std::move(step));
    } else if (arg == "--key") {
      if (!value(v)) return std::nullopt;
      bool ok = false;
      BatchStep step;
      step.kind = BatchStep::Key;
      step.key = ParseInteger(v, &ok);
      if (!ok) {
        error.assign("--key needs a virtual key code, not '").append(v).append("'");
        return std::nullopt;
      }
      options.steps.push_back(std::move(step));
    } else if (arg == "--pixel-size" || arg == "--frame-interval") {
      if (!value(v)) return std::nullopt;
      const std::optional<double> number = ParseNumber(v);
      if (!number || !(*number > 0)) {
        error.assign(arg).append(" needs a positive number, not '").append(v).append("'");
        return std::nullopt;
      }
      (arg == "--pixel-size" ? options.pixelSizeUm : options.frameIntervalS) = *number;
    } else if (arg == "--units") {
      if (!value(options.positionUnit)) return std::nullopt;
      if (options.positionUnit != "px" && options.positionUnit != "um" &&
          options.positionUnit != "nm") {
        error = "--units needs px, um or nm";
        return std::nullopt;
      }
    } else if (arg == "--gaps") {
      if (!value(v)) return std::nullopt;
      if (v != "split" && v != "fill") {
        error = "--gaps needs split or fill";
        return std::nullopt;
      }
      options.fillGaps = v == "fill";
    } else if (arg == "--size") {
      if (!value(v)) return std::nullopt;
      if (!ParseSize(v, options.width, options.height)) {
        error = "--size needs WIDTHxHEIGHT, for example 1197x623";
        return std::nullopt;
      }
    } else if (arg.size() > 1 && arg[0] == '-') {
      error.assign("unknown option ").append(arg);
      return std::nullopt;
    } else {
      options.files.push_back(arg);
    }
  }
  return options;
}
