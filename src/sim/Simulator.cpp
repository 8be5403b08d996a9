#include "sim/Simulator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>

#include "sim/FractionalMotion.h"
#include "sim/StateTracks.h"
#include "store/HeaderPosition.h"

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

SimTrack EmptyTrack(const TrackStart& start) {
  SimTrack t;
  t.NPoints = std::max(start.nPoints, 0);
  t.FirstFrame = start.firstFrame;
  t.PosX = HeaderPosition(start.x);
  t.PosY = HeaderPosition(start.y);
  t.Int.assign(static_cast<size_t>(t.NPoints), 0.0f);
  t.X.assign(static_cast<size_t>(t.NPoints), 0.0f);
  t.Y.assign(static_cast<size_t>(t.NPoints), 0.0f);
  return t;
}

double Clamp(double v, double limit) { return std::min(std::max(v, -limit), limit); }

}  // namespace

SimTrack MakeStillTrack(const TrackStart& start) {
  SimTrack t = EmptyTrack(start);
  std::fill(t.X.begin(), t.X.end(), static_cast<float>(start.x));
  std::fill(t.Y.begin(), t.Y.end(), static_cast<float>(start.y));
  return t;
}

SimTrack MakePhasedTrack(SimRandom& random, const TrackStart& start,
                         const std::vector<MotionPhase>& phases, double dT) {
  SimTrack t = EmptyTrack(start);
  double x = start.x, y = start.y;  // kept in double so long tracks do not drift by rounding
  size_t phase = 0;
  int32_t left = phases.empty() ? 0 : phases[0].frames;
  for (int32_t k = 0; k < t.NPoints; ++k) {
    t.X[k] = static_cast<float>(x);
    t.Y[k] = static_cast<float>(y);
    if (phases.empty() || k == t.NPoints - 1) continue;
    while (left <= 0 && phase + 1 < phases.size()) left = phases[++phase].frames;
    const MotionPhase& p = phases[phase];
    const double sd = std::sqrt(2.0 * std::max(p.D, 0.0) * dT);
    const double stepX = p.velocity * dT * std::cos(p.direction);
    const double stepY = p.velocity * dT * std::sin(p.direction);
    x += stepX + sd * random.Normal();
    y += stepY + sd * random.Normal();
    --left;
  }
  return t;
}

SimTrack MakeBrownianTrack(SimRandom& random, const TrackStart& start, double D, double dT) {
  return MakePhasedTrack(random, start, {MotionPhase{start.nPoints, D, 0, 0}}, dT);
}

SimTrack MakeDirectedTrack(SimRandom& random, const TrackStart& start, double velocity,
                           double direction, double D, double dT) {
  return MakePhasedTrack(random, start, {MotionPhase{start.nPoints, D, velocity, direction}}, dT);
}

SimTrack MakeSteppingTrack(SimRandom& random, const TrackStart& start, const SteppingMotion& motion,
                           double dT) {
  SimTrack t = EmptyTrack(start);
  // Dwells far below a frame would mean unbounded steps per frame: such a motor has
  // no steps to show, so it stands still.
  const bool steps = motion.meanDwell >= dT * 1e-3 && std::isfinite(motion.meanDwell);
  const double ux = motion.stepSize * std::cos(motion.direction);
  const double uy = motion.stepSize * std::sin(motion.direction);
  double nextStep = steps ? random.Exponential(motion.meanDwell) : 0;
  int64_t taken = 0;
  for (int32_t k = 0; k < t.NPoints; ++k) {
    const double time = k * dT;
    while (steps && nextStep <= time) {
      ++taken;
      nextStep += random.Exponential(motion.meanDwell);
    }
    t.X[k] = static_cast<float>(start.x + static_cast<double>(taken) * ux);
    t.Y[k] = static_cast<float>(start.y + static_cast<double>(taken) * uy);
  }
  return t;
}

void AddIntensity(SimRandom& random, SimTrack& track, const IntensityPlan& plan) {
  for (int32_t k = 0; k < track.NPoints; ++k) {
    const bool after = plan.stepIndex >= 0 && k >= plan.stepIndex;
    track.Int[k] =
        static_cast<float>((after ? plan.levelAfter : plan.level) + plan.noise * random.Normal());
  }
}

void AddLocalisationNoise(SimRandom& random, SimTrack& track, double sd) {
  for (int32_t k = 0; k < track.NPoints; ++k) {
    track.X[k] = static_cast<float>(track.X[k] + sd * random.Normal());
    track.Y[k] = static_cast<float>(track.Y[k] + sd * random.Normal());
  }
}

BindingPair MakeBindingPair(SimRandom& random, const BindingPlan& plan, double dT) {
  BindingPair pair;
  pair.first = MakeBrownianTrack(random, plan.first, plan.D, dT);
  const SimTrack& a = pair.first;
  const int32_t aEnd = a.FirstFrame + a.NPoints;
  const int32_t bPoints = std::max(plan.secondPoints, 0);
  const int32_t bStart = plan.secondFirstFrame;
  const int32_t bEnd = bStart + bPoints;

  const int32_t lo = std::max(a.FirstFrame, bStart);
  const int32_t hi = std::max(std::min(aEnd, bEnd), lo);
  const int32_t jointStart = std::clamp(plan.jointStart, lo, hi);
  const int32_t jointEnd =
      std::clamp(plan.jointStart + std::max(plan.jointFrames, 0), jointStart, hi);
  pair.jointStart = jointStart;
  pair.jointFrames = jointEnd - jointStart;

  SimTrack b = EmptyTrack({bPoints, bStart, 0, 0});
  const double boundAngle = random.Uniform(0, kTwoPi);
  const double beforeAngle = random.Uniform(0, kTwoPi);
  const double afterAngle = random.Uniform(0, kTwoPi);
  for (int32_t k = 0; k < bPoints; ++k) {
    const int32_t frame = bStart + k;
    // Where the first spot is (or starts, or ends) at this frame.
    double ax = plan.first.x, ay = plan.first.y;
    if (a.NPoints > 0) {
      const int32_t ia = std::clamp(frame - a.FirstFrame, 0, a.NPoints - 1);
      ax = a.X[ia];
      ay = a.Y[ia];
    }
    double radius, angle;
    if (frame >= jointStart && frame < jointEnd) {
      radius = plan.separation;
      angle = boundAngle;
    } else if (frame < jointStart) {
      radius = 0.3 + 0.05 * (jointStart - 1 - frame);
      angle = beforeAngle;
    } else {
      radius = 0.3 + 0.05 * (frame - jointEnd);
      angle = afterAngle;
    }
    // Noise clipped to 3 SD keeps the joint and lone distances on their sides of 0.2 µm.
    b.X[k] =
        static_cast<float>(ax + radius * std::cos(angle) + Clamp(0.01 * random.Normal(), 0.03));
    b.Y[k] =
        static_cast<float>(ay + radius * std::sin(angle) + Clamp(0.01 * random.Normal(), 0.03));
  }
  if (bPoints > 0) {
    b.PosX = HeaderPosition(b.X[0]);
    b.PosY = HeaderPosition(b.Y[0]);
  }
  pair.second = std::move(b);
  return pair;
}

DriftPath MakeDriftPath(SimRandom& random, const StageDrift& drift, int32_t frames, double dT) {
  DriftPath path;
  const size_t n = static_cast<size_t>(std::max(frames, 0));
  path.x.assign(n, 0.0);
  path.y.assign(n, 0.0);
  const double sd = std::sqrt(2.0 * std::max(drift.D, 0.0) * dT);
  for (size_t f = 1; f < n; ++f) {
    path.x[f] = path.x[f - 1] + drift.vx * dT + sd * random.Normal();
    path.y[f] = path.y[f - 1] + drift.vy * dT + sd * random.Normal();
  }
  return path;
}

void ApplyDrift(std::vector<SimTrack>& tracks, const DriftPath& path) {
  if (path.x.empty()) return;
  const int32_t last = static_cast<int32_t>(path.x.size()) - 1;
  for (SimTrack& t : tracks) {
    for (int32_t k = 0; k < t.NPoints; ++k) {
      const int32_t f =
          static_cast<int32_t>(std::clamp<int64_t>(int64_t{t.FirstFrame} + k, 0, last));
      t.X[k] = static_cast<float>(t.X[k] + path.x[f]);
      t.Y[k] = static_cast<float>(t.Y[k] + path.y[f]);
    }
  }
}

bool RunsTogether(const SimTrack& a, const SimTrack& b, double distance, int32_t frames) {
  const int64_t from = std::max<int64_t>(a.FirstFrame, b.FirstFrame);
  const int64_t to =
      std::min<int64_t>(int64_t{a.FirstFrame} + a.NPoints, int64_t{b.FirstFrame} + b.NPoints);
  const double limit = distance * distance;
  int32_t run = 0;
  for (int64_t f = from; f < to; ++f) {
    const size_t ia = static_cast<size_t>(f - a.FirstFrame),
                 ib = static_cast<size_t>(f - b.FirstFrame);
    const double dx = double{a.X[ia]} - b.X[ib], dy = double{a.Y[ia]} - b.Y[ib];
    run = dx * dx + dy * dy < limit ? run + 1 : 0;
    if (run >= frames) return true;
  }
  return false;
}

bool EvenlyChosen(int32_t i, int32_t count, int32_t total) {
  if (total <= 0) return false;
  return (int64_t{i} + 1) * count / total > int64_t{i} * count / total;
}

namespace {

// A file of K tracks marks its first ceil(K/2) as the first half: put the singles'
// first half and every first pair member there, the rest after.
std::vector<SimTrack> Assemble(std::vector<SimTrack>& singles, std::vector<BindingPair>& pairs) {
  std::vector<SimTrack> all;
  all.reserve(singles.size() + 2 * pairs.size());
  const size_t half = (singles.size() + 1) / 2;
  for (size_t i = 0; i < half; ++i) all.push_back(std::move(singles[i]));
  for (BindingPair& p : pairs) all.push_back(std::move(p.first));
  for (size_t i = half; i < singles.size(); ++i) all.push_back(std::move(singles[i]));
  for (BindingPair& p : pairs) all.push_back(std::move(p.second));
  return all;
}

TrackStart RandomStart(SimRandom& random, int32_t nPoints, int32_t firstFrame, double field) {
  const double margin = field > 4 ? 1.0 : field / 4;
  const double x = random.Uniform(margin, field - margin);
  const double y = random.Uniform(margin, field - margin);
  return {nPoints, firstFrame, x, y};
}

int32_t BleachIndex(SimRandom& random, int32_t n) {
  return random.UniformInt(std::max(10, n / 4), std::min(n - 10, 3 * n / 4));
}

std::vector<SimTrack> MakeUniformPopulation(const PopulationPlan& s) {
  SimRandom random(s.seed);
  const int32_t total = std::max(s.tracks, 0);
  const int32_t n = std::max(s.points, 0);
  auto share = [&](double fraction, int32_t of) {
    return static_cast<int32_t>(std::lround(std::clamp(fraction, 0.0, 1.0) * of));
  };
  const int32_t nDirected = share(s.directedFraction, total);
  const int32_t nStepping = std::min(share(s.steppingFraction, total), total - nDirected);
  const int32_t nBleach = share(s.bleachFraction, total);

  std::unique_ptr<FractionalTrackMaker> fractional;
  if (s.alpha != 1 || s.blur)
    fractional = std::make_unique<FractionalTrackMaker>(
        FractionalMotion{s.D, s.alpha, s.blur ? kBlurSubsteps : 0}, s.dT);

  std::vector<SimTrack> singles;
  singles.reserve(static_cast<size_t>(total));
  int32_t undirected = 0;  // index among the tracks that are not directed
  for (int32_t i = 0; i < total; ++i) {
    const TrackStart start = RandomStart(random, n, 0, s.fieldSize);
    const double direction = s.direction >= 0 ? s.direction : random.Uniform(0, kTwoPi);
    SimTrack t;
    if (EvenlyChosen(i, nDirected, total)) {
      t = MakeDirectedTrack(random, start, s.velocity, direction, s.D, s.dT);
    } else if (EvenlyChosen(undirected++, nStepping, total - nDirected)) {
      const double dwell =
          s.velocity > 0 ? s.stepSize / s.velocity : std::numeric_limits<double>::infinity();
      t = MakeSteppingTrack(random, start, {s.stepSize, dwell, direction}, s.dT);
    } else if (fractional) {
      t = fractional->Make(random, start);
    } else {
      t = MakeBrownianTrack(random, start, s.D, s.dT);
    }
    if (s.localisationNoise > 0) AddLocalisationNoise(random, t, s.localisationNoise);
    IntensityPlan plan{s.intensity, s.intensityNoise, -1, 0};
    // A drop needs a full window of 10 frames on each side to be found.
    if (EvenlyChosen(i, nBleach, total) && n > 20) {
      plan.stepIndex = BleachIndex(random, n);
      plan.levelAfter = s.intensity * 0.5;
    }
    AddIntensity(random, t, plan);
    singles.push_back(std::move(t));
  }

  std::vector<BindingPair> pairs;
  for (int32_t p = 0; p < std::max(s.pairs, 0); ++p) {
    BindingPlan plan;
    plan.first = RandomStart(random, n, 0, s.fieldSize);
    plan.secondFirstFrame = random.UniformInt(0, n / 4);
    plan.secondPoints = n;
    const int32_t overlap = n - plan.secondFirstFrame;
    plan.jointStart = plan.secondFirstFrame + overlap / 3;
    plan.jointFrames = overlap / 3;
    plan.D = s.D;
    BindingPair pair = MakeBindingPair(random, plan, s.dT);
    AddIntensity(random, pair.first, {s.intensity, s.intensityNoise, -1, 0});
    AddIntensity(random, pair.second, {s.intensity, s.intensityNoise, -1, 0});
    pairs.push_back(std::move(pair));
  }
  return Assemble(singles, pairs);
}

enum class MixedKind {
  SlowBrownian,
  Brownian,
  FastBrownian,
  Directed,
  FastDirected,
  StopAndGo,
  Stepping,
  Landing
};

SimTrack MakeMixedSingle(SimRandom& random, MixedKind kind, bool bleach, double dT, double field) {
  const int32_t firstFrame = random.UniformInt(0, 600);
  const double direction = random.Uniform(0, kTwoPi);
  double localisation = 0.01;
  SimTrack t;
  switch (kind) {
    case MixedKind::SlowBrownian:
    case MixedKind::Brownian:
    case MixedKind::FastBrownian:
    case MixedKind::Landing: {
      const double D = kind == MixedKind::SlowBrownian   ? 0.01
                       : kind == MixedKind::FastBrownian ? 0.15
                                                         : 0.05;
      const int32_t n = random.UniformInt(kind == MixedKind::Landing ? 60 : 20, 400);
      t = MakeBrownianTrack(random, RandomStart(random, n, firstFrame, field), D, dT);
      break;
    }
    case MixedKind::Directed:
    case MixedKind::FastDirected: {
      const double v = kind == MixedKind::Directed ? 1.5 : 3.0;
      const int32_t n = random.UniformInt(20, 400);
      t = MakeDirectedTrack(random, RandomStart(random, n, firstFrame, field), v, direction, 0.002,
                            dT);
      break;
    }
    case MixedKind::StopAndGo: {
      // Run, stop, run: a fast phase and a pause long enough for the stopping filter.
      const MotionPhase run1{random.UniformInt(25, 40), 0.002, 3.0, direction};
      const MotionPhase stop{random.UniformInt(20, 60), 0.002, 0, 0};
      const MotionPhase run2{random.UniformInt(25, 40), 0.002, 3.0, direction};
      const int32_t n = run1.frames + stop.frames + run2.frames + 1;
      t = MakePhasedTrack(random, RandomStart(random, n, firstFrame, field), {run1, stop, run2},
                          dT);
      break;
    }
    case MixedKind::Stepping: {
      const int32_t n = random.UniformInt(200, 400);
      t = MakeSteppingTrack(random, RandomStart(random, n, firstFrame, field),
                            {0.008, 0.16, direction}, dT);
      localisation = 0.002;
      break;
    }
  }
  AddLocalisationNoise(random, t, localisation);

  const double level = random.Uniform(30, 200);
  IntensityPlan plan{level, 2 + 0.06 * level, -1, 0};
  if (kind == MixedKind::Landing) {
    // Lands from below the intensity threshold with a jump well above it.
    plan = {random.Uniform(8, 25), 3, random.UniformInt(10, 40), random.Uniform(110, 200)};
  } else if (bleach && t.NPoints > 40) {
    plan.stepIndex = BleachIndex(random, t.NPoints);
    plan.levelAfter = level * random.Uniform(0.35, 0.6);
  }
  AddIntensity(random, t, plan);
  return t;
}

BindingPair MakeMixedPair(SimRandom& random, double dT, double field) {
  BindingPlan plan;
  const int32_t firstFrame = random.UniformInt(30, 600);
  plan.first = RandomStart(random, random.UniformInt(150, 350), firstFrame, field);
  plan.secondFirstFrame = firstFrame + random.UniformInt(-30, 30);
  plan.secondPoints = random.UniformInt(150, 350);
  // At least 15 lone frames before binding and 20 after splitting.
  const int32_t later = std::max(firstFrame, plan.secondFirstFrame);
  const int32_t earlierEnd =
      std::min(firstFrame + plan.first.nPoints, plan.secondFirstFrame + plan.secondPoints);
  plan.jointStart = later + random.UniformInt(15, 25);
  plan.jointFrames = random.UniformInt(30, std::min(100, earlierEnd - plan.jointStart - 20));
  plan.D = 0.03;
  BindingPair pair = MakeBindingPair(random, plan, dT);
  AddIntensity(random, pair.first, {random.Uniform(80, 150), 6, -1, 0});
  AddIntensity(random, pair.second, {random.Uniform(60, 180), 6, -1, 0});
  return pair;
}

std::vector<SimTrack> MakeMixedPopulation(uint64_t seed, double dT) {
  SimRandom random(seed);
  constexpr double kField = 60;           // µm
  constexpr double kClashDistance = 0.3;  // µm
  constexpr int32_t kClashFrames = 5;
  constexpr int32_t kAttempts = 50;
  const std::pair<MixedKind, int32_t> counts[] = {
      {MixedKind::SlowBrownian, 85}, {MixedKind::Brownian, 85},     {MixedKind::FastBrownian, 85},
      {MixedKind::Directed, 25},     {MixedKind::FastDirected, 25}, {MixedKind::StopAndGo, 15},
      {MixedKind::Stepping, 10},     {MixedKind::Landing, 10}};
  std::vector<MixedKind> kinds;
  for (const auto& [kind, count] : counts)
    kinds.insert(kinds.end(), static_cast<size_t>(count), kind);
  for (int32_t i = static_cast<int32_t>(kinds.size()) - 1; i > 0; --i)  // Fisher-Yates
    std::swap(kinds[static_cast<size_t>(i)], kinds[static_cast<size_t>(random.UniformInt(0, i))]);

  // Pairs first, then the singles, each drawn again while it would run together with
  // a track already made, so the only pairs in the sample are the binding pairs.
  std::vector<const SimTrack*> made;
  auto clashes = [&made](const SimTrack& t) {
    for (const SimTrack* other : made)
      if (RunsTogether(t, *other, kClashDistance, kClashFrames)) return true;
    return false;
  };

  std::vector<BindingPair> pairs;
  pairs.reserve(10);
  for (int32_t p = 0; p < 10; ++p) {
    BindingPair pair;
    for (int32_t attempt = 0; attempt < kAttempts; ++attempt) {
      pair = MakeMixedPair(random, dT, kField);
      if (!clashes(pair.first) && !clashes(pair.second)) break;
    }
    pairs.push_back(std::move(pair));
    made.push_back(&pairs.back().first);
    made.push_back(&pairs.back().second);
  }

  const int32_t total = static_cast<int32_t>(kinds.size());
  const int32_t nBleach = total * 3 / 10;
  std::vector<SimTrack> singles;
  singles.reserve(static_cast<size_t>(total));
  for (int32_t i = 0; i < total; ++i) {
    SimTrack t;
    for (int32_t attempt = 0; attempt < kAttempts; ++attempt) {
      t = MakeMixedSingle(random, kinds[static_cast<size_t>(i)], EvenlyChosen(i, nBleach, total),
                          dT, kField);
      if (!clashes(t)) break;
    }
    singles.push_back(std::move(t));
    made.push_back(&singles.back());
  }
  return Assemble(singles, pairs);
}

std::vector<SimTrack> MakeStatePopulation(const PopulationPlan& s) {
  SimRandom random(s.seed);
  StateTrackPlan plan;
  for (const auto& [D, fraction] : s.states) plan.states.push_back({D, fraction});
  plan.switchRates = s.switchRates;
  plan.particles = std::max(s.tracks, 0);
  plan.meanPoints = s.meanPoints;
  plan.dT = s.dT;
  plan.localisationNoise = s.localisationNoise;
  plan.focalDepth = s.focalDepth;
  plan.fieldSize = s.fieldSize;
  std::vector<SimTrack> tracks = MakeStateTracks(random, plan);
  for (SimTrack& t : tracks) AddIntensity(random, t, {s.intensity, s.intensityNoise, -1, 0});
  return tracks;
}

}  // namespace

std::vector<SimTrack> MakePopulation(const PopulationPlan& plan) {
  std::vector<SimTrack> tracks = plan.mixed             ? MakeMixedPopulation(plan.seed, plan.dT)
                                 : plan.states.empty() ? MakeUniformPopulation(plan)
                                                        : MakeStatePopulation(plan);
  if (plan.drift.Any()) {
    int32_t frames = 1;
    for (const SimTrack& t : tracks)
      frames =
          std::max<int32_t>(frames, std::min<int64_t>(int64_t{t.FirstFrame} + t.NPoints, 1 << 24));
    // A generator of its own, so adding drift leaves the tracks themselves unchanged.
    SimRandom driftRandom(plan.seed ^ 0x9E3779B97F4A7C15ull);
    ApplyDrift(tracks, MakeDriftPath(driftRandom, plan.drift, frames, plan.dT));
  }
  return tracks;
}
