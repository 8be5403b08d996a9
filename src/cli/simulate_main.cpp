// kinetra-simulate: writes a QVI file of simulated tracks with known physics.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "sim/SimOutput.h"
#include "sim/Simulator.h"

namespace {

const char* const kUsage = R"(Usage: kinetra-simulate --out FILE [options]

Writes simulated single-particle tracks to a QVI file. The same options and seed
always give the same file.

  --out FILE                 file to write (required)
  --seed N                   generator seed (default 1)
  --mixed                    preset population for trying every panel: 340 tracks
                             (Brownian at D = 0.01, 0.05, 0.15 um2/s, directed at 1.5
                             and 3 um/s, stop-and-go, 8 nm stepping, landings, about
                             30 % with a bleaching step, 20..400 points) and 10 binding
                             pairs; only --seed, --dt, --drift-* and the layout apply
  --tracks N                 single tracks (default 100)
  --points N                 points per track, 1..10000 (default 200)
  --dt S                     frame interval in s (default 0.03)
  --d UM2S                   diffusion coefficient of every track (default 0.1)
  --velocity UMS             speed of directed and stepping tracks (default 1)
  --direction DEG            direction of motion (default: random per track)
  --directed-fraction F      share of directed tracks, 0..1 (default 0)
  --stepping-fraction F      share of stepping tracks, 0..1 (default 0)
  --step-nm NM               step size of stepping tracks (default 8)
  --bleach-fraction F        share of tracks with one bleaching step to half the
                             level, 0..1 (default 0)
  --pairs N                  binding pairs, two tracks each (default 0)
  --intensity C              intensity level in counts (default 100)
  --intensity-noise C        intensity noise SD (default 5)
  --localisation-noise UM    position noise SD (default 0)
  --alpha A                  anomalous exponent of the diffusing tracks, 0.1..1.9:
                             fractional Brownian motion with MSD = 4 D t^A, D in
                             um2/s^A (default 1, plain Brownian motion)
  --blur                     each frame of the diffusing tracks is the mean position
                             over the frame interval (continuous illumination,
                             20 sub-steps per frame)
  --field UM                 side of the square field the tracks start in (default 50)
  --drift-x UMS, --drift-y UMS   steady stage drift (default 0)
  --drift-d UM2S             diffusive stage wander (default 0)
  --states D1:F1,D2:F2[,...] short tracks of --tracks particles in Brownian states
                             (D in um2/s, F the share of particles starting there)
                             instead of the populations above; --seed, --dt,
                             --localisation-noise, --field, the intensity and the
                             drift apply
  --switch-rates R12,R13,..,R21,..  rates in 1/s of switching from state i to j,
                             row by row without the diagonal, or 'none' (default)
  --mean-points N            mean length of state tracks, geometric from 2 points
                             up, 2..10000 (default 5)
  --focal-depth UM           state tracks start at a random depth in a focal slice
                             this thick and end when the particle leaves it (3D
                             diffusion; a track left with one point is dropped);
                             0 = no slice (default)
  --old-layout               write the old interleaved layout
  --zero-marker              write planar blocks with the marker 0
  --help                     show this text
)";

// Frames held in memory at once are capped so a typo cannot exhaust the machine.
constexpr double kMaxTotalFrames = 1e8;

struct Failure {
  std::string message;
};

std::string Shortest(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

double ParseNumber(const std::string& option, const std::string& text, double lo, double hi) {
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || errno == ERANGE || !std::isfinite(value) || value < lo ||
      value > hi)
    throw Failure{option + ": expected a number from " + Shortest(lo) + " to " + Shortest(hi) +
                  ", got '" + text + "'"};
  return value;
}

int64_t ParseCount(const std::string& option, const std::string& text, int64_t lo, int64_t hi) {
  char* end = nullptr;
  errno = 0;
  const long long value = std::strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || errno == ERANGE || value < lo || value > hi)
    throw Failure{option + ": expected a whole number from " + std::to_string(lo) + " to " +
                  std::to_string(hi) + ", got '" + text + "'"};
  return value;
}

uint64_t ParseSeed(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 10);
  if (text.empty() || text[0] == '-' || *end != '\0' || errno == ERANGE)
    throw Failure{"--seed: expected a non-negative whole number, got '" + text + "'"};
  return value;
}

std::vector<std::string> SplitList(const std::string& option, const std::string& text) {
  std::vector<std::string> items;
  size_t from = 0;
  for (;;) {
    const size_t comma = text.find(',', from);
    items.push_back(
        text.substr(from, comma == std::string::npos ? std::string::npos : comma - from));
    if (comma == std::string::npos) break;
    from = comma + 1;
  }
  if (items.size() > 100) throw Failure{option + ": too many values"};
  return items;
}

// "D1:F1,D2:F2,...": at most 10 states, shares adding up to more than 0.
std::vector<std::pair<double, double>> ParseStates(const std::string& text) {
  std::vector<std::pair<double, double>> states;
  double total = 0;
  for (const std::string& item : SplitList("--states", text)) {
    const size_t colon = item.find(':');
    if (colon == std::string::npos)
      throw Failure{"--states: expected D:F pairs separated by commas, got '" + item + "'"};
    const double D = ParseNumber("--states", item.substr(0, colon), 0, 1e6);
    const double F = ParseNumber("--states", item.substr(colon + 1), 0, 1);
    states.emplace_back(D, F);
    total += F;
  }
  if (states.size() > 10) throw Failure{"--states: at most 10 states"};
  if (!(total > 0)) throw Failure{"--states: the shares add up to 0"};
  return states;
}

struct Options {
  std::string out;
  PopulationPlan plan;
  SimFileLayout layout = SimFileLayout::Format2016;
  bool help = false;
};

Options ParseOptions(const std::vector<std::string>& args) {
  Options o;
  PopulationPlan& s = o.plan;
  double directionDegrees = -1, stepNanometres = 8;
  // Numbers taken by value: name, target, range.
  const struct {
    const char* name;
    double* target;
    double lo, hi;
  } numbers[] = {
      {"--dt", &s.dT, 1e-6, 1e3},
      {"--d", &s.D, 0, 1e6},
      {"--velocity", &s.velocity, 0, 1e6},
      {"--direction", &directionDegrees, 0, 360},
      {"--directed-fraction", &s.directedFraction, 0, 1},
      {"--stepping-fraction", &s.steppingFraction, 0, 1},
      {"--step-nm", &stepNanometres, 1e-3, 1e6},
      {"--bleach-fraction", &s.bleachFraction, 0, 1},
      {"--intensity", &s.intensity, -1e9, 1e9},
      {"--intensity-noise", &s.intensityNoise, 0, 1e9},
      {"--localisation-noise", &s.localisationNoise, 0, 1e3},
      {"--field", &s.fieldSize, 1e-3, 1e5},
      {"--drift-x", &s.drift.vx, -1e3, 1e3},
      {"--drift-y", &s.drift.vy, -1e3, 1e3},
      {"--drift-d", &s.drift.D, 0, 1e3},
      {"--alpha", &s.alpha, 0.1, 1.9},
      {"--mean-points", &s.meanPoints, 2, 10000},
      {"--focal-depth", &s.focalDepth, 0, 1e3},
  };
  const struct {
    const char* name;
    int32_t* target;
    int32_t lo, hi;
  } counts[] = {
      {"--tracks", &s.tracks, 0, 100000},
      {"--points", &s.points, 1, 10000},
      {"--pairs", &s.pairs, 0, 50000},
  };

  for (size_t i = 0; i < args.size(); ++i) {
    std::string name = args[i];
    std::string value;
    bool inlineValue = false;  // --name=value
    if (const size_t eq = name.find('='); name.rfind("--", 0) == 0 && eq != std::string::npos) {
      value = name.substr(eq + 1);
      name = name.substr(0, eq);
      inlineValue = true;
    }
    auto next = [&]() -> const std::string& {
      if (inlineValue) return value;
      if (i + 1 >= args.size()) throw Failure{name + ": missing value"};
      return args[++i];
    };

    bool known = false;
    for (const auto& option : numbers) {
      if (name != option.name) continue;
      *option.target = ParseNumber(name, next(), option.lo, option.hi);
      known = true;
    }
    for (const auto& option : counts) {
      if (name != option.name) continue;
      *option.target = static_cast<int32_t>(ParseCount(name, next(), option.lo, option.hi));
      known = true;
    }
    if (known) continue;
    if (name == "--out") {
      o.out = next();
      continue;
    }
    if (name == "--seed") {
      s.seed = ParseSeed(next());
      continue;
    }
    if (name == "--states") {
      s.states = ParseStates(next());
      continue;
    }
    if (name == "--switch-rates") {
      const std::string& text = next();
      s.switchRates.clear();
      if (text != "none")
        for (const std::string& item : SplitList(name, text))
          s.switchRates.push_back(ParseNumber(name, item, 0, 1e6));
      continue;
    }
    bool* flag = name == "--help" || name == "-h" ? &o.help
                 : name == "--mixed"              ? &s.mixed
                 : name == "--blur"               ? &s.blur
                                                  : nullptr;
    if (name == "--old-layout" || name == "--zero-marker") {
      o.layout = name == "--old-layout" ? SimFileLayout::Old : SimFileLayout::ZeroMarker;
    } else if (flag) {
      *flag = true;
    } else {
      throw Failure{"unknown option '" + args[i] + "' (see --help)"};
    }
    if (inlineValue) throw Failure{name + " takes no value"};
  }
  if (directionDegrees >= 0) s.direction = directionDegrees * std::numbers::pi / 180;
  s.stepSize = stepNanometres * 0.001;
  if (o.help) return o;
  if (o.out.empty()) throw Failure{"--out FILE is required (see --help)"};
  if (!s.switchRates.empty()) {
    const size_t K = s.states.size();
    if (K < 2) throw Failure{"--switch-rates needs --states with two states or more"};
    if (s.switchRates.size() != K * (K - 1))
      throw Failure{"--switch-rates: expected " + std::to_string(K * (K - 1)) +
                    " rates for " + std::to_string(K) + " --states, got " +
                    std::to_string(s.switchRates.size())};
    // Full K x K rows with a zero diagonal, as the simulator takes them.
    std::vector<double> full;
    for (size_t i = 0, next = 0; i < K; ++i)
      for (size_t j = 0; j < K; ++j) full.push_back(i == j ? 0 : s.switchRates[next++]);
    s.switchRates = full;
  }
  if (!s.mixed && !s.states.empty()) {
    if (static_cast<double>(s.tracks) * s.meanPoints > kMaxTotalFrames)
      throw Failure{"too many frames: tracks x mean points must stay below 100000000"};
  } else if (!s.mixed) {
    if (s.directedFraction + s.steppingFraction > 1)
      throw Failure{"--directed-fraction and --stepping-fraction add up to more than 1"};
    const double tracks = static_cast<double>(s.tracks) + 2.0 * s.pairs;
    if (tracks > 100000) throw Failure{"--tracks plus two per pair exceed 100000"};
    if (tracks * s.points > kMaxTotalFrames)
      throw Failure{"too many frames: tracks x points must stay below 100000000"};
  }
  return o;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  try {
    options = ParseOptions(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const Failure& failure) {
    std::fprintf(stderr, "kinetra-simulate: %s\n", failure.message.c_str());
    return 2;
  }
  if (options.help) {
    std::fputs(kUsage, stdout);
    return 0;
  }

  const std::vector<SimTrack> tracks = MakePopulation(options.plan);
  if (!WriteSimulatedQvi(options.out, tracks, options.layout)) {
    std::fprintf(stderr, "kinetra-simulate: cannot write '%s'\n", options.out.c_str());
    return 1;
  }
  long long points = 0;
  for (const SimTrack& t : tracks) points += t.NPoints;
  std::printf("kinetra-simulate: wrote %zu tracks (%lld points) to %s\n", tracks.size(), points,
              options.out.c_str());
  return 0;
}
