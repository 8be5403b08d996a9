// kinetra-bench: the fast paths against the plain reference paths, on simulated data, in
// one run. Each case runs both paths on the same input, times them and checks that they
// leave identical results; one line per case:
//   case, reference ms, fast ms, speed-up, identical=yes|no
// The exit code is 1 when any case differs.
//
//   kinetra-bench            full sizes (100,000 x 200 and 2,000 x 5,000 points)
//   kinetra-bench --short    small sizes with the same checks (for CI)
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include "BenchPlatform.h"
#include "CommandBench.h"
#include "ImportBench.h"
#include "app/MainForm.h"
#include "edit/DualTracks.h"
#include "edit/Transforms.h"
#include "sim/SimOutput.h"
#include "sim/Simulator.h"
#include "stats/CovarianceEstimator.h"
#include "stats/CramerRao.h"
#include "stats/MsdCurveCache.h"
#include "sim/StateTracks.h"
#include "stats/JumpLengths.h"
#include "stats/JumpStates.h"
#include "stats/ParallelValues.h"
#include "stats/PooledMsd.h"
#include "stats/ThreadPool.h"
#include "stats/TrackValues.h"
#include "store/QviReader.h"

namespace {

using Clock = std::chrono::steady_clock;

enum class Path { Reference, Fast };


// The results a path leaves, as bytes: two paths agree when their snapshots are equal.
class Snapshot {
 public:
  template <typename T>
  void Add(const T& value) {
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void Add(const std::string& text) {
    Add(text.size());
    bytes_ += text;
  }
  void AddFloats(const float* values, size_t count) {
    bytes_.append(reinterpret_cast<const char*>(values), count * sizeof(float));
  }
  void Append(const Snapshot& other) { bytes_ += other.bytes_; }
  bool operator==(const Snapshot& other) const { return bytes_ == other.bytes_; }

 private:
  std::string bytes_;
};

// Per-track values and what the reader set, of every record it filled.
Snapshot TrackSnapshot(const TrackStore& store, int32_t records) {
  Snapshot s;
  s.Add(store.NSpots);
  for (int32_t i = 0; i < records; ++i) {
    const SpotRec& t = store[i];
    s.Add(t.Dlat);
    s.Add(t.AverVel);
    s.Add(t.STest);
    s.Add(t.AverInt);
    s.Add(t.IntBefore);
    s.Add(t.IntAfter);
    s.Add(t.StepIndex);
    s.Add(t.NPoints);
    s.Add(t.SecondHalf);
    s.Add(t.Valid);
  }
  return s;
}

// Both panels: rows, extent, notes and titles, plus the selection.
Snapshot PanelSnapshot(const TMainForm& form) {
  Snapshot s;
  for (const TQVgraph* graph : {&form.LeftGraph, &form.RightGraph}) {
    s.AddFloats(graph->Data, static_cast<size_t>(kPanelRows) * kPanelStride);
    s.Add(graph->DataFirst);
    s.Add(graph->DataEnd);
    for (const std::string& note : graph->Notes) s.Add(note);
    s.Add(graph->XTitle);
    s.Add(graph->Y0Title);
  }
  s.Add(form.Spots.NSelected);
  s.Add(form.StatusText);
  s.Add(form.Registers.AverDlat);
  s.Add(form.Registers.DlatSD);
  s.Add(form.Registers.AverInstVel);
  return s;
}

struct Timing {
  double ms = 0;
  std::vector<double> runs;  // every run's time, in order
  Snapshot result;
  bool repeatable = true;  // every run of the path left the same result

  double Median() const {
    std::vector<double> sorted = runs;
    std::sort(sorted.begin(), sorted.end());
    return sorted.empty() ? 0 : sorted[sorted.size() / 2];
  }
};

// One case: `run` is timed, everything else is not. The best of `repeats` runs of each
// path counts.
struct Case {
  std::string name;
  std::function<void(Path)> prepare;  // before each run
  std::function<void(Path)> run;
  std::function<Snapshot()> result;   // after each run
  int repeats = 3;
  int fastRuns = 0;  // more runs of the fast path alone, for its median
};

// One timed run of a path, folded into its best time and its result.
double RunOnce(const Case& c, Path path, Timing& timing, bool first) {
  if (c.prepare) c.prepare(path);
  const auto start = Clock::now();
  c.run(path);
  const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  Snapshot result = c.result();
  if (first || ms < timing.ms) timing.ms = ms;
  timing.runs.push_back(ms);
  if (first)
    timing.result = std::move(result);
  else if (!(result == timing.result))
    timing.repeatable = false;
  return ms;
}

// Both paths, taking turns (reference, fast, reference, ...), so that a machine that
// speeds up or slows down meanwhile affects both alike. A reference run that takes
// long is not repeated.
std::pair<Timing, Timing> Compare(const Case& c) {
  Timing reference, fast;
  bool referenceDone = false;
  for (int r = 0; r < c.repeats; ++r) {
    if (!referenceDone) referenceDone = RunOnce(c, Path::Reference, reference, r == 0) > 3000;
    RunOnce(c, Path::Fast, fast, r == 0);
  }
  for (int r = c.repeats; r < c.fastRuns; ++r) RunOnce(c, Path::Fast, fast, false);
  return {reference, fast};
}

// With --only TEXT, the cases whose names contain TEXT.
std::string gOnly;
bool Wanted(const std::string& name) { return name.find(gOnly) != std::string::npos; }

bool Report(const Case& c) {
  if (!Wanted(c.name)) return true;
  const auto [reference, fast] = Compare(c);
  const bool identical = reference.repeatable && fast.repeatable && reference.result == fast.result;
  std::printf("%s, %.1f, %.1f, %.2fx, identical=%s\n", c.name.c_str(), reference.ms, fast.ms,
              fast.ms > 0 ? reference.ms / fast.ms : 0.0, identical ? "yes" : "no");
  if (c.fastRuns > c.repeats)
    std::printf("# fast path median %.1f ms over %zu runs (slowest %.1f ms)\n", fast.Median(),
                fast.runs.size(), *std::max_element(fast.runs.begin(), fast.runs.end()));
  std::fflush(stdout);
  return identical;
}

// --- the paths

// The best kernels this processor has (chosen before anything switches them).
KernelSet kFastKernels = KernelSet::Sse2;

// The switch between the plain loops and the fast ones for everything UpdateAnalysis
// runs. A fast path added to the analyses is switched here, and every UpdateAnalysis
// case below measures it against the plain one.
void UseAnalysisPath(TMainForm& form, Path path) {
  SelectKernels(path == Path::Reference ? KernelSet::Reference : kFastKernels);
  // Kept MSD curves, worker threads and the neighbour grid, or the plain loops.
  form.PlainAnalysis = path == Path::Reference;
}

// Reading a file into a store with its per-track values, as "Open New File(s)" does
// before it recomputes the panels.
struct LoadBench {
  std::string path;
  std::unique_ptr<TrackStore> store;
  Settings settings;
  PairRules rules;
  std::unique_ptr<MsdScratch> scratch = std::make_unique<MsdScratch>();

  void Prepare() {
    store.reset();  // the previous run's frames go first
    // ... and back to the system, so every load fills new pages as in a new session.
    malloc_trim(0);
    store = std::make_unique<TrackStore>();
    if (!store->Allocate()) {
      std::fprintf(stderr, "kinetra-bench: out of memory\n");
      std::exit(2);
    }
  }
  void Run(Path p) {
    QviReader reader;
    if (!reader.Open(path)) {
      std::fprintf(stderr, "kinetra-bench: cannot read %s\n", path.c_str());
      std::exit(2);
    }
    if (p == Path::Reference)
      ReadTracksReference(reader, *store, settings, rules, *scratch);
    else
      ReadTracksParallel(reader, *store, settings, rules, ThreadPool::Shared(), *scratch);
  }
  Snapshot Result() const { return TrackSnapshot(*store, store->NSpots); }
};

// The plain read of the whole file into memory that loading is held against: fopen,
// one fread of the whole file, fclose; best of `repeats`. `freshMemory` reads into
// pages never touched before, as a load in a new session fills the store (on this
// machine first touches cost about as much as the copy itself); otherwise into a buffer
// touched once beforehand (the copy alone).
double ReadIntoMemoryMs(const std::string& path, int repeats, bool freshMemory) {
  const std::uintmax_t size = std::filesystem::file_size(path);
  std::unique_ptr<char[]> touched;
  if (!freshMemory) {
    touched.reset(new char[size]);
    std::memset(touched.get(), 0, size);
  }
  double best = 0;
  for (int r = 0; r < repeats; ++r) {
    void* fresh = nullptr;
    if (freshMemory) {
      fresh = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      if (fresh == MAP_FAILED) return 0;
    }
    const auto start = Clock::now();
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return 0;
    const size_t got = std::fread(freshMemory ? fresh : touched.get(), 1, size, file);
    std::fclose(file);
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    if (fresh) munmap(fresh, size);
    if (got != size) return 0;
    if (r == 0 || ms < best) best = ms;
  }
  return best;
}

std::string WritePopulation(const std::filesystem::path& dir, int32_t tracks, int32_t points,
                            uint64_t seed) {
  PopulationPlan plan;
  plan.seed = seed;
  plan.tracks = tracks;
  plan.points = points;
  plan.directedFraction = 0.3;
  plan.bleachFraction = 0.3;
  plan.localisationNoise = 0.01;
  plan.fieldSize = 400;
  const std::string path =
      (dir / ("bench-" + std::to_string(tracks) + "x" + std::to_string(points) + ".qvi")).string();
  if (!WriteSimulatedQvi(path, MakePopulation(plan))) {
    std::fprintf(stderr, "kinetra-bench: cannot write %s\n", path.c_str());
    std::exit(2);
  }
  return path;
}

const char* KernelName(KernelSet set) {
  switch (set) {
    case KernelSet::Avx512: return "AVX-512";
    case KernelSet::Avx2: return "AVX2";
    case KernelSet::Sse2: return "SSE2";
    default: return "plain";
  }
}

// Exactly `count` jumps of short tracks, 30 % bound (D = 0.01) and 70 % free (D = 1),
// 7.5 ms frames, 20 nm noise: the data the jump-state fit is made for.
JumpSet StateJumps(int64_t count) {
  StateTrackPlan plan;
  plan.states = {{0.01, 0.3}, {1.0, 0.7}};
  plan.particles = static_cast<int32_t>(count / 5 + 1000);
  plan.dT = 0.0075;
  plan.localisationNoise = 0.02;
  SimRandom random(9);
  const std::vector<SimTrack> tracks = MakeStateTracks(random, plan);
  std::vector<TrackPoints> points;
  for (const SimTrack& t : tracks) points.push_back({t.X.data(), t.Y.data(), t.NPoints});
  JumpSet jumps = CollectJumps(points.data(), static_cast<int32_t>(points.size()), {});
  const size_t n = static_cast<size_t>(std::min(count, jumps.size()));
  jumps.squared.resize(n);
  jumps.track.resize(n);
  jumps.lag.resize(n);
  jumps.endPoint.resize(n);
  return jumps;
}

// Every number of the three models and the note.
Snapshot FitSnapshot(const JumpFitResult& r) {
  Snapshot s;
  for (const JumpModel& m : r.models) {
    s.Add(m.F);
    s.Add(m.D);
    s.Add(m.sigma);
    s.Add(m.logLikelihood);
  }
  s.Add(r.note);
  return s;
}

std::string Size(int32_t tracks, int32_t points) {
  return std::to_string(tracks) + " x " + std::to_string(points);
}


// Keeps timed results alive.
volatile double gSink = 0;

// The selected tracks as the estimators take them, with their kept MSD curves.
std::vector<TrackXY> SelectedArrays(TMainForm& form) {
  std::vector<TrackXY> tracks;
  const bool independent = form.CurrentPairRules().IndependentPairs;
  for (int32_t i = 0; i < form.Spots.NSpots; ++i) {
    const SpotRec& t = form.Spots[i];
    if (!t.Selected) continue;
    const float* curve = form.MsdCurves ? form.MsdCurves->Find(i, t.NPoints, independent) : nullptr;
    tracks.push_back({t.X.data(), t.Y.data(), t.NPoints, curve});
  }
  return tracks;
}

Snapshot PooledSnapshot(const PooledMsdResult& r) {
  Snapshot s;
  for (double v : {r.D, r.offset, r.alpha, r.dInterval.low, r.dInterval.high,
                   r.alphaInterval.low, r.alphaInterval.high})
    s.Add(v);
  for (const PooledLag& lag : r.lags) {
    s.Add(lag.msd);
    s.Add(lag.pairs);
    s.Add(lag.interval.low);
    s.Add(lag.interval.high);
    s.Add(lag.sd);
  }
  return s;
}

// The pooled MSD with its bootstrap, the per-track covariance estimator and the spread
// of per-track D against the Cramer-Rao limit.
bool EstimatorCases(TMainForm& form, int32_t tracks, int32_t points, int32_t spreadTracks) {
  bool identical = true;
  const double lagUnit = form.S.dT * form.S.TimeScale;
  std::vector<TrackXY> selected = SelectedArrays(form);
  PooledMsdResult pooled;
  Case pooledCase{"pooled MSD + bootstrap " + Size(tracks, points), nullptr,
                  [&](Path p) {
                    pooled = p == Path::Reference
                                 ? PooledMsdReference(selected.data(),
                                                      static_cast<int32_t>(selected.size()),
                                                      lagUnit, PooledMsdSettings{})
                                 : PooledMsd(selected.data(), static_cast<int32_t>(selected.size()),
                                             lagUnit, PooledMsdSettings{}, ThreadPool::Shared());
                  },
                  [&] { return PooledSnapshot(pooled); }};
  identical &= Report(pooledCase);
  if (Wanted(pooledCase.name)) {
    std::vector<TrackXY> bare = selected;
    for (TrackXY& t : bare) t.curve = nullptr;
    double best = 0;
    for (int r = 0; r < 3; ++r) {
      const auto start = Clock::now();
      PooledMsd(bare.data(), static_cast<int32_t>(bare.size()), lagUnit, PooledMsdSettings{},
                ThreadPool::Shared());
      const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
      if (r == 0 || ms < best) best = ms;
    }
    std::printf("# %d tracks used, %d resamples; %.1f ms when the curves are not kept\n",
                pooled.tracksUsed, pooled.resamples, best);
    std::fflush(stdout);
  }

  const std::string cveName = "covariance estimator per track " + Size(tracks, points);
  if (Wanted(cveName)) {
    double withCurve = 0, without = 0, sink = 0;
    for (int r = 0; r < 3; ++r) {
      for (bool curves : {true, false}) {
        const auto start = Clock::now();
        for (const TrackXY& t : selected)
          sink += EstimateTrackMobility(t.x, t.y, t.n, lagUnit, {}, curves ? t.curve : nullptr).D;
        const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        double& best = curves ? withCurve : without;
        if (r == 0 || ms < best) best = ms;
      }
    }
    std::printf("%s, -, %.1f, -, one thread, %.0f ns per track with the MSD curve at hand "
                "(%.1f ms computing alpha's MSD itself)\n",
                cveName.c_str(), withCurve, withCurve * 1e6 / std::max<size_t>(selected.size(), 1),
                without);
    gSink = sink;
    std::fflush(stdout);
  }

  if (Wanted("spread")) {
    PopulationPlan plan;
    plan.seed = 9;
    plan.tracks = spreadTracks;
    plan.points = 200;
    const std::vector<SimTrack> brownian = MakePopulation(plan);
    std::vector<double> dlat, cve;
    auto scratch = std::make_unique<MsdScratch>();
    for (const SimTrack& t : brownian) {
      dlat.push_back(CalcTrackMSD(t.X.data(), t.Y.data(), t.NPoints, static_cast<float>(plan.dT),
                                  scratch->Dk, scratch->MSD, false));
      cve.push_back(EstimateTrackMobility(t.X.data(), t.Y.data(), t.NPoints, plan.dT, {}).D);
    }
    auto spread = [](const std::vector<double>& v) {
      double mean = 0, squares = 0;
      for (double d : v) mean += d;
      mean /= static_cast<double>(v.size());
      for (double d : v) squares += (d - mean) * (d - mean);
      return 100 * std::sqrt(squares / static_cast<double>(v.size() - 1)) / mean;
    };
    const CramerRaoSettings bound{.D = plan.D, .lagUnit = plan.dT};
    std::printf("# relative spread of per-track D, %s Brownian (D = 0.1, no error): Dlat %.1f %%, "
                "covariance estimator %.1f %%, Cramer-Rao limit %.1f %% (error estimated; "
                "%.1f %% known)\n",
                Size(spreadTracks, 200).c_str(), spread(dlat), spread(cve),
                100 * CramerRaoRelativeSD(200, bound, false),
                100 * CramerRaoRelativeSD(200, bound, true));
    std::fflush(stdout);
  }
  return identical;
}

// A line for a fast path whose plain form is not run at this size: "-" for the plain
// time and the speed-up, and `note` for the last field.
void ReportFastOnly(const Case& c, const std::string& note) {
  if (!Wanted(c.name)) return;
  Timing fast;
  for (int r = 0; r < c.repeats; ++r)
    if (RunOnce(c, Path::Fast, fast, r == 0) > 10000) break;
  std::printf("%s, -, %.1f, -, %s\n", c.name.c_str(), fast.ms, note.c_str());
  std::fflush(stdout);
}

// Simulated tracks of the loads' kind, all selected, with `pairs` binding pairs among them.
std::unique_ptr<TrackStore> SimulatedStore(int32_t tracks, int32_t points, int32_t pairs,
                                           uint64_t seed) {
  PopulationPlan plan;
  plan.seed = seed;
  plan.tracks = tracks - 2 * pairs;
  plan.points = points;
  plan.pairs = pairs;
  plan.directedFraction = 0.3;
  plan.localisationNoise = 0.01;
  plan.fieldSize = 400;
  auto store = std::make_unique<TrackStore>();
  if (!store->Allocate()) {
    std::fprintf(stderr, "kinetra-bench: out of memory\n");
    std::exit(2);
  }
  AddSimulatedTracks(*store, MakePopulation(plan), nullptr);
  for (int32_t i = 0; i < store->NSpots; ++i) (*store)[i].Selected = 1;
  return store;
}

// "Find Dual Tracks" with one track in fifty a member of a binding pair: the grid search
// against the plain one on `compared` tracks, and the grid search alone on `many`.
bool DualTrackCases(int32_t compared, int32_t many) {
  bool identical = true;
  for (const int32_t tracks : {compared, many}) {
    const std::unique_ptr<TrackStore> store = SimulatedStore(tracks, 200, tracks / 100, 11);
    const Settings settings;
    int32_t pairs = 0;
    Case c{"find dual tracks " + Size(tracks, 200),
           [&](Path) {
             for (int32_t i = 0; i < store->NSpots; ++i) (*store)[i].Valid = 1;
           },
           [&](Path p) {
             pairs = p == Path::Reference ? FindDualTracksReference(*store, settings, true)
                                          : FindDualTracks(*store, settings, true);
           },
           [&] {
             Snapshot s;
             s.Add(pairs);
             for (int32_t i = 0; i < store->NSpots; ++i) {
               const SpotRec& t = (*store)[i];
               s.Add(t.Partner), s.Add(t.Valid), s.Add(t.SegStart), s.Add(t.SegLen);
               s.Add(t.FramesBefore), s.Add(t.FramesAfter), s.Add(t.TimeToBind), s.Add(t.PairOffset);
             }
             return s;
           }};
    if (tracks == compared)
      identical &= Report(c);
    else
      ReportFastOnly(c, "plain search not run (all pairs; compared at " + Size(compared, 200) +
                            " above)");
  }
  return identical;
}

// "Fit Tracks Together": the fast passes against the plain ones on `compared` tracks, and
// the fast passes alone on `many` (all reports of progress taken, as the window would).
bool FitTogetherCases(int32_t compared, int32_t many) {
  bool identical = true;
  for (const int32_t tracks : {compared, many}) {
    const std::unique_ptr<TrackStore> store = SimulatedStore(tracks, 200, 0, 12);
    std::vector<float> x, y;  // every track's frames as simulated
    for (int32_t i = 0; i < store->NSpots; ++i) {
      const SpotRec& t = (*store)[i];
      x.insert(x.end(), t.X.data(), t.X.data() + t.NPoints);
      y.insert(y.end(), t.Y.data(), t.Y.data() + t.NPoints);
    }
    int reports = 0;
    Case c{"fit tracks together " + Size(tracks, 200),
           [&](Path) {
             size_t at = 0;
             for (int32_t i = 0; i < store->NSpots; ++i) {
               SpotRec& t = (*store)[i];
               std::copy_n(x.data() + at, t.NPoints, t.X.data());
               std::copy_n(y.data() + at, t.NPoints, t.Y.data());
               at += static_cast<size_t>(t.NPoints);
             }
           },
           [&](Path p) {
             if (p == Path::Reference)
               FitTracksTogetherReference(*store);
             else
               FitTracksTogether(*store, [&](double) { return ++reports, true; });
           },
           [&] {
             Snapshot s;
             if (tracks != compared) return s;
             for (int32_t i = 0; i < store->NSpots; ++i) {
               const SpotRec& t = (*store)[i];
               s.AddFloats(t.X.data(), static_cast<size_t>(t.NPoints));
               s.AddFloats(t.Y.data(), static_cast<size_t>(t.NPoints));
               s.Add(t.SecondHalf);
             }
             return s;
           }};
    if (tracks == compared) {
      identical &= Report(c);
    } else {
      c.repeats = 1;
      ReportFastOnly(c, "plain passes not run (compared at " + Size(compared, 200) + " above)");
    }
  }
  return identical;
}

}  // namespace

int main(int argc, char** argv) {
  bool shortMode = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--short") {
      shortMode = true;
    } else if (arg == "--only" && i + 1 < argc) {
      gOnly = argv[++i];
    } else {
      std::fprintf(stderr, "usage: kinetra-bench [--short] [--only TEXT]\n");
      return 2;
    }
  }
  kFastKernels = ActiveKernels();
  const int32_t manyTracks = shortMode ? 4000 : 100000, manyPoints = 200;
  const int32_t longTracks = shortMode ? 20 : 2000, longPoints = 5000;

  const std::filesystem::path dir = std::filesystem::temp_directory_path() /
                                    ("kinetra-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  const std::string manyFile = WritePopulation(dir, manyTracks, manyPoints, 7);
  const std::string longFile = WritePopulation(dir, longTracks, longPoints, 8);

  std::printf("# kinetra-bench%s: %u worker threads, %s kernels\n", shortMode ? " --short" : "",
              ThreadPool::Shared().Slots(), KernelName(kFastKernels));
  std::printf("# case, reference ms, fast ms, speed-up, identical\n");
  bool allIdentical = true;

  // Loads: the file is read once beforehand, so both paths find it in the page cache.
  const double readMs = ReadIntoMemoryMs(manyFile, 9, true);
  const double copyMs = ReadIntoMemoryMs(manyFile, 9, false);
  double manyFastMs = 0;
  for (const auto& [file, tracks, points] :
       {std::tuple{manyFile, manyTracks, manyPoints}, std::tuple{longFile, longTracks, longPoints}}) {
    LoadBench load;
    load.path = file;
    Case c{"load " + Size(tracks, points), [&](Path) { load.Prepare(); },
           [&](Path p) { load.Run(p); }, [&] { return load.Result(); }};
    // This machine's speed drifts by a third, in spells of seconds: more turns for the
    // loads, so that both paths meet its fast spells.
    c.repeats = 9;
    if (!Wanted(c.name)) continue;
    const auto [reference, fast] = Compare(c);
    const bool identical =
        reference.repeatable && fast.repeatable && reference.result == fast.result;
    allIdentical &= identical;
    std::printf("%s, %.1f, %.1f, %.2fx, identical=%s\n", c.name.c_str(), reference.ms, fast.ms,
                fast.ms > 0 ? reference.ms / fast.ms : 0.0, identical ? "yes" : "no");
    std::fflush(stdout);
    if (file == manyFile) manyFastMs = fast.ms;
  }
  if (manyFastMs > 0) {
    std::printf("read %s file into memory, -, %.1f, -, fast load takes %.2fx that\n",
                Size(manyTracks, manyPoints).c_str(), readMs, readMs > 0 ? manyFastMs / readMs : 0.0);
    std::printf("# (the fread into new pages; into pages already touched it takes %.1f ms)\n",
                copyMs);
    std::fflush(stdout);
  }

  // The recomputation pass on the first store.
  {
    QuietPlatform platform;
    TMainForm form(platform);
    if (!form.Ready()) return 2;
    // "Open New File(s)" as the user waits for it: the load, the kept curves and the
    // first UpdateAnalysis.
    Case open{"open file command " + Size(manyTracks, manyPoints),
              [&](Path p) { UseAnalysisPath(form, p); },
              [&](Path) { form.LoadQVIFile(manyFile, true); },
              [&] {
                Snapshot s = TrackSnapshot(form.Spots, form.Spots.NSpots);
                s.Append(PanelSnapshot(form));
                return s;
              }};
    open.repeats = 5;
    allIdentical &= Report(open);
    UseAnalysisPath(form, Path::Fast);
    form.LoadQVIFile(manyFile, true);
    Case update{"UpdateAnalysis default panels " + Size(manyTracks, manyPoints),
                [&](Path p) { UseAnalysisPath(form, p); },
                [&](Path) { form.UpdateAnalysis(); },
                [&] { return PanelSnapshot(form); }};
    update.fastRuns = 21;
    allIdentical &= Report(update);
    if (form.MsdCurves && Wanted(update.name)) {
      const int64_t bytes = form.MsdCurves->Bytes(), slots = form.MsdCurves->SlotBytes();
      std::printf("# kept MSD curves: %.1f MB (%.1f MB of slots for all records, %.0f bytes of "
                  "curve per track)\n",
                  bytes / 1e6, slots / 1e6,
                  static_cast<double>(bytes - slots) / std::max(form.Spots.NSpots, 1));
      std::fflush(stdout);
    }

    // The right arrow raises IntThresh by one; the left arrow (untimed) takes it back.
    constexpr int kRightArrow = 39, kLeftArrow = 37;
    Case key{"threshold key press " + Size(manyTracks, manyPoints),
             [&](Path p) { UseAnalysisPath(form, p); },
             [&](Path) { form.KeyDown(kRightArrow); },
             [&] {
               Snapshot s = PanelSnapshot(form);
               form.KeyDown(kLeftArrow);
               return s;
             }};
    key.fastRuns = 21;
    allIdentical &= Report(key);

    // One panel at a time, on the selection the passes above left.
    const std::pair<const char*, const char*> panels[] = {
        {"instant-velocity panel ", "L_ShowInstantVel"},
        {"neighbour panel ", "R_DistanceToNeighbDistrib"}};
    for (const auto& [title, item] : panels) {
      TQVgraph& graph = item[0] == 'L' ? form.LeftGraph : form.RightGraph;
      Case panel{title + Size(manyTracks, manyPoints), [&](Path p) { UseAnalysisPath(form, p); },
                 [&, item = item](Path) { form.RunPanel(item, graph); },
                 [&] { return PanelSnapshot(form); }};
      allIdentical &= Report(panel);
    }
    SelectKernels(kFastKernels);
    allIdentical &= EstimatorCases(form, manyTracks, manyPoints, shortMode ? 200 : 1000);
  }

  // The 1 to 3 state fit of jump lengths (no bootstrap): on one thread, and on the pool.
  {
    const int64_t count = shortMode ? 50000 : 1000000;
    const JumpSet jumps = StateJumps(count);
    JumpFitResult fit;
    JumpFitOptions options;
    options.dT = 0.0075;
    Case c{"jump-state fit " + std::to_string(count) + " jumps",
           [&](Path p) { options.pool = p == Path::Reference ? nullptr : &ThreadPool::Shared(); },
           [&](Path) { fit = FitJumpStates(jumps, options); }, [&] { return FitSnapshot(fit); }};
    allIdentical &= Report(c);
    if (Wanted(c.name)) std::printf("# %s\n", fit.note.c_str());
  }

  allIdentical &= RunImportBench(shortMode, dir, Wanted);

  // Every menu command once on the many-track store.
  RunCommandBench(manyFile, WriteBenchTrackMateCsv(dir, shortMode ? 1000 : 20000, 50),
                  Size(manyTracks, manyPoints), dir, Wanted);

  // Editing commands, on stores of their own.
  allIdentical &= DualTrackCases(shortMode ? 400 : 4000, shortMode ? 4000 : 100000);
  allIdentical &= FitTogetherCases(shortMode ? 300 : 3000, shortMode ? 4000 : 100000);

  std::error_code ignored;
  std::filesystem::remove_all(dir, ignored);
  return allIdentical ? 0 : 1;
}
