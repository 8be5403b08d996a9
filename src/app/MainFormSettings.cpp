// Settings commands: one prompt, a range check, a new caption, a recomputation.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "app/AnswerRules.h"
#include "app/MainForm.h"
#include "store/Numbers.h"

namespace {

constexpr double kUnbounded = std::numeric_limits<double>::infinity();

// How the typed text becomes a value.
enum class Reading {
  Real,          // decimal, not a number counts as 0, then trunc((x + add) * scale) * step
  Milliseconds,  // a whole number as an integer (1 when it does not fit one), or a
                 // decimal number; anything else counts as 1
  IntegerOrZero, // integer, 0 when the text is not an integer
  Integer,       // integer; text that is not one is refused like a value out of range
};

struct SettingPrompt {
  const char* item;
  const char* caption;  // the prompt window's title
  const char* label;
  Reading reading;
  long double add, scale, step;  // the truncation of Reading::Real
  double low, high;         // accepted range, both ends included
  const char* message;      // shown when outside; nullptr: refused quietly
  const char* prefix;       // new caption = prefix + value + suffix
  const char* suffix;
  double Settings::*real;     // the setting, when it is a real
  int32_t Settings::*integer; // the setting, when it is an integer
};

// The captions keep their unit spellings as the program has always shown them:
// "µm" in some, "um" in others.
const SettingPrompt kSettingPrompts[] = {
    {"DeltaTime", "Set interval between measurements (ms)", "dT(ms)=", Reading::Milliseconds,
     0, 0, 0, 1, 1000000, "interval out of order", "Time Interval=", "ms", &Settings::dT,
     nullptr},
    {"IntStep", "Set Bin size for Intensity distribution", "Bin Size=", Reading::Real, 0, 1000,
     0.001L, 0.1, 100, "Intensity bin size Out of Order", "IntStep=", "", &Settings::IntStep,
     nullptr},
    {"SetDlatBin", "Set Bin size for Dlat distribution", "Bin Size=", Reading::Real, 1e-6L, 10000,
     0.0001L, 0.0001, 10000, "Dlat bin size Out of Order", "DlatBin=", "µm2/s",
     &Settings::DlatBin, nullptr},
    {"VelocityBinSet", "Set Bin Size for Velocity distributions", "Bin Size=", Reading::Real,
     1e-6L, 10000, 0.0001L, 0.0001, 10000, "Velocity bin size Out of Order", "VelocityBin=",
     "um/s", &Settings::VelocityBin, nullptr},
    {"DistBinSet", "Set Bin Size for Distance distr.", "Bin Size=", Reading::Real, 1e-7L, 10000,
     0.0001L, 0.01, 100000, "Distance Bin Size is Out of Order", "DistanceBin=", "nm",
     &Settings::DistanceBin, nullptr},
    {"SetDistanceLimit", "Set Max distance for double tracking", "Max Permited distance (µm)=",
     Reading::Real, 1e-7L, 10000, 0.0001L, 0.001, 10000, "Max distance value is Out of Order",
     "Critical Distance=", "µm", &Settings::CriticalDistance, nullptr},
    {"SetDlatThresh", "Set Dlat Thresh", "Dlat Thresh=", Reading::Real, 1e-8L, 10000, 0.0001L, 0,
     1000, "Threshold is Out of Order", "Dlat Thresh=", "µm2/s", &Settings::DlatThresh, nullptr},
    {"SetVelThresh", "Set Velocity Thresh", "Vel Thresh=", Reading::Real, 1e-8L, 10000, 0.0001L, 0,
     10000, "Vel. Threshold is Out of Order", "Vel Thresh=", "µm/s", &Settings::VelThresh,
     nullptr},
    {"SetStestThresh", "Set S-test Threshold", "Threshold=", Reading::Real, 1e-6L, 1000, 0.001L,
     -kUnbounded, kUnbounded, nullptr, "S-test Thresh=", "", &Settings::StestThresh, nullptr},
    {"VelocityLimit", "Set Velocity threshold for immobile spots", "Threshold=", Reading::Real,
     1e-6L, 1000, 0.001L, -kUnbounded, kUnbounded, nullptr, "Low Vel Thresh=", "µm/s",
     &Settings::LowVelThresh, nullptr},
    {"HighVelocityThresh", "Set Velocity threshold for fast movement", "Threshold=",
     Reading::Real, 1e-6L, 1000, 0.001L, -kUnbounded, kUnbounded, nullptr, "High Vel Thresh=",
     "um/s", &Settings::HighVelThresh, nullptr},
    {"SetVelocityStep", "Set time Interval between velocity measurements",
     "interval (in frames)", Reading::IntegerOrZero, 0, 0, 0, 1, 100,
     "Velocity Step is out of order", "Velocity Step=", "", nullptr, &Settings::VelocityStep},
    {"MinNumDataPointsSet", "Set minimal number of Data points", "N=", Reading::Integer, 0, 0, 0,
     1, 1000, "Number of Data Points is out of order", "Min N of Data Points=", "", nullptr,
     &Settings::MinNumDataPoints},
    {"SetMSDfittingLimit", "Set limit for MSD fitting (intervals)", "Limit=", Reading::Integer, 0,
     0, 0, 5, 100000, "Limit is out of order", "Fit MSD up to ", " Intervals", nullptr,
     &Settings::MSDfitLimit},
    {"StartFrame", "Set StartFrame", "N=", Reading::Integer, 0, 0, 0, 0, kUnbounded,
     "StatrtFrame should be >=0", "StartFrame=", "", nullptr, &Settings::StartFrame},
    // The estimators beside Dlat (Estimators menu).
    {"PooledFitLags", "Set the lags of the pooled MSD fit", "Lags=", Reading::Integer, 0, 0, 0, 2,
     200, "Pooled MSD fit lags out of order", "Pooled MSD Fit Lags=", "", nullptr,
     &Settings::PooledFitLags},
    {"AlphaLags", "Set the lags of the alpha fits", "Lags=", Reading::Integer, 0, 0, 0, 3, 200,
     "Alpha lags out of order", "Alpha Lags=", "", nullptr, &Settings::AlphaLags},
    {"BootstrapResamples", "Set the bootstrap resamples of the pooled MSD", "Resamples=",
     Reading::Integer, 0, 0, 0, 0, 100000, "Resamples out of order", "Bootstrap Resamples=", "",
     nullptr, &Settings::BootstrapResamples},
    {"MotionBlur", "Set the motion-blur coefficient R (0 stroboscopic, 0.1667 continuous)", "R=",
     Reading::Real, 1e-9L, 10000, 0.0001L, 0, 0.25, "Motion blur out of order", "Motion Blur R=",
     "", &Settings::MotionBlur, nullptr},
    {"JumpLags", "Set the lags of the jump-length fit", "Lags=", Reading::Integer, 0, 0, 0, 1, 3,
     "Jump lags out of order", "Jump Lags=", "", nullptr, &Settings::JumpLags},
    {"JumpsPerTrack", "Set the jumps each track gives (0: all)", "Jumps=", Reading::Integer, 0, 0,
     0, 0, 100000, "Jumps per track out of order", "Jumps per Track (0 all)=", "", nullptr,
     &Settings::JumpsPerTrack},
    {"JumpShownLag", "Set the lag of the jump-length histogram", "Lag=", Reading::Integer, 0, 0, 0,
     1, 3, "Jump histogram lag out of order", "Jump Histogram Lag=", "", nullptr,
     &Settings::JumpShownLag},
    {"JumpStates", "Set the states shown (0: as BIC picks)", "States=", Reading::Integer, 0, 0, 0,
     0, 3, "Jump states out of order", "Jump States (0 by BIC)=", "", nullptr,
     &Settings::JumpStates},
    {"JumpSigma", "Set the localisation error of the jump fit (-1: fitted)", "Error (µm)=",
     Reading::Real, 1e-9L, 1000000, 0.000001L, -1, 10, "Localisation error out of order",
     "Localisation Error (-1 fitted)=", "µm", &Settings::JumpSigma, nullptr},
    {"FocalDepth", "Set the axial detection range (0: no correction)", "Depth (µm)=",
     Reading::Real, 1e-9L, 10000, 0.0001L, 0, 100, "Focal depth out of order",
     "Focal Depth (0 off)=", "µm", &Settings::FocalDepth, nullptr},
    {"MaxJump", "Set the longest jump fitted (0: no limit)", "Jump (µm)=", Reading::Real, 1e-9L,
     10000, 0.0001L, 0, 1000, "Max jump out of order", "Max Jump (0 off)=", "µm",
     &Settings::MaxJump, nullptr},
    {"JumpResamples", "Set the bootstrap resamples of the jump fit", "Resamples=",
     Reading::Integer, 0, 0, 0, 0, 10000, "Resamples out of order", "Jump Fit Resamples=", "",
     nullptr, &Settings::JumpResamples},
};

// A frame interval of whole ms is the double nearest that many thousandths (9 ms is the
// double nearest 0.009), as the prompt has always set it; a fractional one is the double
// nearest its decimal text in seconds (7.48 ms is the double nearest 0.00748).
double MillisecondsToSeconds(double ms) {
  if (ms == std::trunc(ms)) return static_cast<double>(ms * 0.001L);
  char text[48];
  const auto written = std::to_chars(text, text + sizeof text - 4, ms);
  std::memcpy(written.ptr, "e-3", 3);
  double seconds = 0;
  std::from_chars(text, written.ptr + 3, seconds);
  return seconds;
}

// The frame interval in ms as the prompt and the captions show it: whole ms as an integer
// (the small addition keeps 0.03 s from showing as 29), a fraction as it is ("7.48").
std::string MillisecondsText(double dT) {
  const double ms = dT * 1000.0;
  if (std::fabs(ms - std::round(ms)) <= 1e-9 * std::max(1.0, std::fabs(ms)))
    return std::to_string(TruncToInt(static_cast<double>(std::trunc(dT * 1000.001L))));
  return FormatG(ms, 12);
}

const SettingPrompt* FindSettingPrompt(std::string_view item) {
  for (const SettingPrompt& prompt : kSettingPrompts)
    if (item == prompt.item) return &prompt;
  return nullptr;
}

std::string DefaultText(const SettingPrompt& prompt, const Settings& s) {
  if (prompt.reading == Reading::Milliseconds) return MillisecondsText(s.dT);
  if (prompt.integer) return std::to_string(s.*prompt.integer);
  return FormatReal(s.*prompt.real);
}

// The typed text as the value to check; NaN when the text is refused outright.
double ConvertText(const SettingPrompt& prompt, const std::string& text) {
  bool ok = false;
  const int32_t n = ParseInteger(text, &ok);
  switch (prompt.reading) {
    case Reading::Milliseconds:
      if (IsWholeNumberText(text)) return ok ? n : 1;
      return ParseNumber(text).value_or(1);
    case Reading::IntegerOrZero: return n;
    case Reading::Integer: return ok ? n : std::numeric_limits<double>::quiet_NaN();
    case Reading::Real: break;
  }
  double x = ParseDecimal(text);
  if (std::isnan(x)) x = 0;  // "nan" typed is not a number either
  // Extended precision, as the truncation has always been done: 0.15 x 1000 is then
  // 149.99999999999999445 and the Intensity Bin becomes 0.149. An infinity passes
  // through and fails the range check; adding 0 turns a truncated -0 into 0, so no
  // caption shows "-0".
  const long double v = std::trunc((x + prompt.add) * prompt.scale) * prompt.step;
  return static_cast<double>(v) + 0.0;
}

}  // namespace

std::optional<ValueRule> ValueRuleOf(std::string_view item) {
  if (item == "PrintZoom") return ValueRule{true, 1, 20, ""};
  if (item == "ViewTrack") return ValueRule{true, 0, kMaxTracks, ""};
  const SettingPrompt* prompt = FindSettingPrompt(item);
  if (!prompt) return std::nullopt;
  const bool integer = prompt->reading == Reading::Integer ||
                       prompt->reading == Reading::IntegerOrZero;
  return ValueRule{integer, prompt->low, prompt->high, prompt->suffix};
}

std::string ValueAnswerProblem(std::string_view item, const std::string& answer) {
  const std::optional<ValueRule> rule = ValueRuleOf(item);
  if (!rule) return "";
  if (!ParseNumber(answer)) return "not a number";
  bool whole = false;
  ParseInteger(answer, &whole);
  if (rule->integer && !whole) return "not a whole number";
  return "";
}

void TMainForm::SettingPromptClick(std::string_view item) {
  const SettingPrompt* prompt = FindSettingPrompt(item);
  if (!prompt) return;
  const std::optional<std::string> text =
      platform_.InputQuery(prompt->caption, prompt->label, DefaultText(*prompt, S));
  if (!text) return;
  const double value = ConvertText(*prompt, *text);
  // Written so that NaN fails; a setting is never left infinite.
  if (!(std::isfinite(value) && value >= prompt->low && value <= prompt->high)) {
    if (prompt->message) platform_.ShowError(prompt->message);
    else platform_.QuietFailure("value out of range");
    return;
  }
  const std::string shown = FormatReal(value);
  if (prompt->reading == Reading::Milliseconds) {
    S.dT = MillisecondsToSeconds(value);
    Menu.SetCaption("Settings", "Settings(dT=" + shown + "ms)");
  } else if (prompt->integer) {
    S.*prompt->integer = static_cast<int32_t>(value);
  } else {
    S.*prompt->real = value;
  }
  Menu.SetCaption(prompt->item, prompt->prefix + shown + prompt->suffix);
  if (prompt->integer == &Settings::VelocityStep) {
    RecomputeAllVelocities();
    RunStoppingFilter();
  }
  // The per-track covariance values follow these two.
  if (prompt->real == &Settings::MotionBlur || prompt->integer == &Settings::AlphaLags)
    RecomputeAllMobility();
  UpdateAnalysis();
}

void TMainForm::TimeMinutesClick() {
  if (Menu.Checked("TimeMinutes")) {
    S.TimeScale = 0.01666666666;  // this decimal, not 1/60: stored results depend on it
    TimeUnit = "min";
    DlatUnit = "µm2/min";
  } else {
    S.TimeScale = 1.0;
    TimeUnit = "s";
    DlatUnit = "µm2/s";
  }
  RecomputeAllMobility();
  UpdateAnalysis();
}

void TMainForm::SetFrameInterval(double seconds) {
  S.dT = seconds;
  const std::string ms = MillisecondsText(seconds);
  Menu.SetCaption("DeltaTime", "Time Interval=" + ms + "ms");
  Menu.SetCaption("Settings", "Settings(dT=" + ms + "ms)");
}

void TMainForm::StartupTimerFired() {
  if (StartupPromptDone) return;
  StartupPromptDone = true;
  RunCommand("DeltaTime");
}

void TMainForm::RecomputeAllVelocities() {
  const PairRules rules = CurrentPairRules();
  for (int32_t i = 0; i < Spots.NSpots; ++i)
    Spots[i].AverVel = static_cast<float>(CalcTrackVelocity(Spots[i], S, rules));
}
