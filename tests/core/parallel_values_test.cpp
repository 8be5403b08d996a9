// The fast per-track paths (vector kernels, interleaved batches, the parallel load and
// its thread pool) against the plain loops: the same bits whatever the length, the pair
// rules, the instruction set or the thread that did the work.
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <thread>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "cli/BatchPlatform.h"
#include "stats/ParallelValues.h"
#include "stats/ThreadPool.h"

// The fast kernel sets this processor runs; the start-up choice is restored afterwards.
class KernelSets {
 public:
  KernelSets() {
    for (KernelSet set : {KernelSet::Avx512, KernelSet::Avx2})
      if (SelectKernels(set)) sets_.push_back(set);
    SelectKernels(KernelSet::Sse2);
    sets_.push_back(KernelSet::Sse2);
  }
  ~KernelSets() { SelectKernels(saved_); }
  const std::vector<KernelSet>& sets() const { return sets_; }

 private:
  KernelSet saved_ = ActiveKernels();
  std::vector<KernelSet> sets_;
};

static bool SameBits(const void* a, const void* b, size_t bytes) { return std::memcmp(a, b, bytes) == 0; }

// Every value the per-track pass sets, as bytes.
static std::vector<char> Values(const SpotRec& t) {
  std::vector<char> bytes;
  auto add = [&](const auto& v) {
    const char* p = reinterpret_cast<const char*>(&v);
    bytes.insert(bytes.end(), p, p + sizeof v);
  };
  add(t.AverInt), add(t.Dlat), add(t.AverVel), add(t.STest), add(t.StepIndex);
  add(t.IntBefore), add(t.IntAfter);
  return bytes;
}

static SpotRec CopyOf(const SpotRec& t) {
  SpotRec c;
  c.NPoints = t.NPoints, c.Int = t.Int, c.X = t.X, c.Y = t.Y;
  return c;
}

// Every record the read touched, frames and values alike.
static void ExpectSameStores(const TrackStore& a, const TrackStore& b, int32_t records) {
  ASSERT_EQ(a.NSpots, b.NSpots);
  for (int32_t i = 0; i < records; ++i) {
    const SpotRec& s = a[i];
    const SpotRec& t = b[i];
    ASSERT_EQ(Values(s), Values(t)) << "track " << i;
    ASSERT_EQ((std::vector<int32_t>{s.NPoints, s.SecondHalf, s.Valid, s.PosX}),
              (std::vector<int32_t>{t.NPoints, t.SecondHalf, t.Valid, t.PosX}))
        << "track " << i;
    ASSERT_TRUE(s.NPoints <= 0 || SameBits(s.X.data(), t.X.data(), sizeof(float) * s.NPoints))
        << "track " << i;
  }
}

TEST(FastKernels, MsdMatchesThePlainLoopBitForBit) {
  KernelSets kernels;
  std::mt19937 gen(77);
  std::vector<int> lengths;
  for (int n = 0; n <= 72; ++n) lengths.push_back(n);  // every block and tail shape
  for (int n : {95, 127, 128, 129, 200, 257, 511, 1000, 2049, 4999, 10000}) lengths.push_back(n);
  for (int i = 0; i < 3; ++i) lengths.push_back(73 + static_cast<int>(gen() % 6000));
  const float kSentinel = -4321.0f;
  std::vector<float> msd(10000), dk(10000), refMsd(10000), refDk(10000);
  for (size_t i = 0; i < lengths.size(); ++i) {
    const int n = lengths[i];
    // Every seventh track carries a NaN or an infinity, alternately.
    const SpotRec t = RandomSpot(gen, n, i % 7 == 3 ? 1 + static_cast<int>(i / 7) % 2 : 0);
    for (bool independent : {false, true}) {
      std::fill(refMsd.begin(), refMsd.end(), kSentinel);
      std::fill(refDk.begin(), refDk.end(), kSentinel);
      const double ref = CalcTrackMSDReference(t.X.data(), t.Y.data(), n, 0.03f, refDk.data(),
                                               refMsd.data(), independent);
      for (KernelSet set : kernels.sets()) {
        SelectKernels(set);
        std::fill(msd.begin(), msd.end(), kSentinel);
        std::fill(dk.begin(), dk.end(), kSentinel);
        const double dlat =
            CalcTrackMSD(t.X.data(), t.Y.data(), n, 0.03f, dk.data(), msd.data(), independent);
        // Whole arrays: slot 0 and every slot from n/2 on stay untouched as well.
        ASSERT_TRUE(SameBits(&dlat, &ref, sizeof dlat)) << "n " << n << " set " << int(set);
        ASSERT_TRUE(SameBits(msd.data(), refMsd.data(), msd.size() * sizeof(float))) << "n " << n;
        ASSERT_TRUE(SameBits(dk.data(), refDk.data(), dk.size() * sizeof(float))) << "n " << n;
      }
    }
  }
}

TEST(FastKernels, BatchesAndSingleTracksMatchThePlainLoops) {
  KernelSets kernels;
  std::mt19937 gen(5150);
  std::vector<SpotRec> tracks;
  for (int n : {0, 1, 2, 5, 6, 7, 20, 21, 22, 23, 31, 64, 200, 333, 1001, 2500})
    tracks.push_back(RandomSpot(gen, n));
  tracks.push_back(RandomSpot(gen, 150, 1));
  tracks.push_back(RandomSpot(gen, 90, 2));
  std::shuffle(tracks.begin(), tracks.end(), gen);

  auto scratch = std::make_unique<BatchScratch>();
  auto plainScratch = std::make_unique<MsdScratch>();
  // Drop windows from none to longer than most tracks, so every shape of window-sum block
  // and tail is met.
  for (auto [step, independent, absoluteX, timeScale, dropWindow] :
       {std::tuple{3, false, false, 1.0, 10}, {1, true, true, 1.0 / 60, 1}, {7, false, true, 1.0, 40},
        {3, true, false, 1.0, 3}, {0, false, false, 1.0, 0}}) {
    Settings s;
    s.VelocityStep = step, s.TimeScale = timeScale, s.IntDropWindow = dropWindow;
    const PairRules rules{independent, absoluteX};
    std::vector<std::vector<char>> want;
    for (const SpotRec& t : tracks) {
      SpotRec plain = CopyOf(t);
      ComputeTrackValuesReference(plain, s, rules, *plainScratch);
      want.push_back(Values(plain));
    }
    for (KernelSet set : kernels.sets()) {
      SelectKernels(set);
      // Batches of every size, so tracks of unequal lengths share batches.
      for (int size = 1; size <= BatchScratch::kTracks; ++size) {
        std::vector<SpotRec> copies;
        for (const SpotRec& t : tracks) copies.push_back(CopyOf(t));
        for (size_t i = 0; i < copies.size(); i += size) {
          SpotRec* batch[BatchScratch::kTracks];
          int count = 0;
          for (size_t j = i; j < copies.size() && count < size; ++j) batch[count++] = &copies[j];
          ComputeTrackValuesBatch(batch, count, s, rules, *scratch);
        }
        for (size_t i = 0; i < copies.size(); ++i)
          ASSERT_EQ(Values(copies[i]), want[i])
              << "n " << copies[i].NPoints << " batch " << size << " step " << step;
      }
      for (size_t i = 0; i < tracks.size(); ++i) {
        SpotRec single = CopyOf(tracks[i]);
        ComputeTrackValues(single, s, rules, *plainScratch);
        ASSERT_EQ(Values(single), want[i]) << "n " << single.NPoints;
      }
    }
  }
}

TEST(ParallelLoad, SameStoreAsReadingOneByOne) {
  const std::string manyFile = SimulatedFile(
      "many.qvi",
      {.tracks = 1200, .points = 300, .directedFraction = 0.3, .bleachFraction = 0.4, .drift = {}});
  // 20 .. 400 points
  const std::string mixedFile = SimulatedFile("mixed.qvi", {.mixed = true, .drift = {}});

  Settings s;
  s.VelocityStep = 2;
  const PairRules rules{false, true};
  auto scratch = std::make_unique<MsdScratch>();
  TrackStore plain, fast;
  ASSERT_TRUE(plain.Allocate() && fast.Allocate());
  ThreadPool pool(3);
  int pauses = 0;
  for (const std::string& file : {manyFile, mixedFile}) {  // the second file is appended
    QviReader a, b;
    ASSERT_TRUE(a.Open(file) && b.Open(file));
    EXPECT_EQ(ReadTracksReference(a, plain, s, rules, *scratch), QviStop::EndOfFile);
    // Pausing at every chunk: by then every track read so far has its values.
    const QviStop stop = ReadTracksParallel(b, fast, s, rules, pool, *scratch, {[&] {
      ++pauses;
      for (int32_t i = 0; i < fast.NSpots; ++i) ASSERT_EQ(Values(fast[i]), Values(plain[i]));
    }, 0.0, 0.0});
    EXPECT_EQ(stop, QviStop::EndOfFile);
  }
  EXPECT_TRUE(fast.NSpots == 1200 + 360 && pauses > 3) << pauses;
  ExpectSameStores(plain, fast, fast.NSpots);

  // A store about to overflow: both stop after the same track, with the same values.
  plain.NSpots = fast.NSpots = kMaxTracks - 9;
  QviReader a, b;
  ASSERT_TRUE(a.Open(mixedFile) && b.Open(mixedFile));
  EXPECT_EQ(ReadTracksReference(a, plain, s, rules, *scratch), QviStop::Overflow);
  EXPECT_EQ(ReadTracksParallel(b, fast, s, rules, pool, *scratch), QviStop::Overflow);
  EXPECT_EQ(fast.NSpots, kMaxTracks + 1);
  ExpectSameStores(plain, fast, kStoreCapacity);

  // Recomputing after a settings change, spread over the pool.
  s.dT = 0.05, fast.NSpots = plain.NSpots = 1560;
  ComputeTrackValuesParallel(fast, 0, fast.NSpots, s, rules, pool, *scratch, true);
  for (int32_t i = 0; i < plain.NSpots; ++i) RecomputeMobility(plain[i], s, rules, *scratch);
  ExpectSameStores(plain, fast, fast.NSpots);
  std::filesystem::remove(manyFile);
  std::filesystem::remove(mixedFile);
}

// Also with pools the system grants fewer threads than asked for (none, or refusing after
// one or two have started): they carry on with what they got, and with none every task
// runs on the calling thread; a load through such a pool matches the plain load.
TEST(ThreadPool, ChunksCoverTheRangeOnceInFixedPieces) {
  const std::string file = SimulatedFile("refused.qvi", {.tracks = 300, .drift = {}});
  for (auto [threads, granted] : {std::pair{1u, 1u}, {3u, 3u}, {4u, 0u}, {4u, 1u}, {4u, 2u}}) {
    SCOPED_TRACE(std::to_string(threads) + " " + std::to_string(granted));
    unsigned started = 0;
    ThreadPool pool(threads, [&, granted = granted](std::function<void()> body) {
      if (started == granted) throw std::system_error(EAGAIN, std::generic_category());
      ++started;
      return std::thread(std::move(body));
    });
    EXPECT_TRUE(pool.Slots() == std::max(granted, 1u) && pool.Threaded() == (granted > 0));
    const std::thread::id caller = std::this_thread::get_id();
    for (auto [begin, end, grain] : {std::array<int64_t, 3>{0, 1000, 7}, {5, 6, 100}, {-20, 20, 0},
                                     {3, 3, 4}}) {
      std::vector<std::atomic<int>> hits(static_cast<size_t>(std::max<int64_t>(end - begin, 0)));
      std::atomic<bool> bad{false};
      pool.ParallelFor(begin, end, grain, [&](int64_t from, int64_t to, unsigned worker) {
        const int64_t piece = std::max<int64_t>(grain, 1);
        if ((from - begin) % piece != 0 || to != std::min(end, from + piece) ||
            worker >= pool.Slots() || (granted == 0 && std::this_thread::get_id() != caller))
          bad = true;
        for (int64_t i = from; i < to; ++i) ++hits[static_cast<size_t>(i - begin)];
      });
      EXPECT_FALSE(bad);
      for (const auto& h : hits) ASSERT_EQ(h.load(), 1);
    }

    Settings s;
    auto scratch = std::make_unique<MsdScratch>();
    TrackStore plain, fast;
    QviReader a, b;
    ASSERT_TRUE(plain.Allocate() && fast.Allocate() && a.Open(file) && b.Open(file));
    ReadTracksReference(a, plain, s, {}, *scratch);
    EXPECT_EQ(ReadTracksParallel(b, fast, s, {}, pool, *scratch), QviStop::EndOfFile);
    ExpectSameStores(plain, fast, 300);
  }
  std::filesystem::remove(file);
}

TEST(ParallelLoad, ProgressOfLoads) {
  struct ProgressPlatform : FakePlatform {
    std::vector<std::pair<std::string, double>> progress;
    bool Progress(const std::string& what, double fraction, bool) override {
      progress.emplace_back(what, fraction);
      return true;
    }
  } platform;
  const std::string file = SimulatedFile("progress.qvi", {.tracks = 50, .drift = {}});
  TMainForm form(platform);
  form.LoadQVIFile(file, true);
  std::filesystem::remove(file);
  EXPECT_EQ(form.Spots.NSpots, 50);
  ASSERT_GE(platform.progress.size(), 2u);
  EXPECT_TRUE(platform.progress.front() == std::make_pair("Reading " + file, 0.0) &&
              platform.progress.back() == std::make_pair("Reading " + file, 1.0));
  for (size_t i = 1; i < platform.progress.size(); ++i)
    EXPECT_GE(platform.progress[i].second, platform.progress[i - 1].second);

  // The batch tool: nothing unless enabled, nothing for short jobs, then one line
  // rewritten in place and ended at 100 %.
  std::ostringstream quiet, shown;
  BatchPlatform off(quiet), on(shown);
  on.EnableProgress(true);
  for (BatchPlatform* p : {&off, &on})
    for (auto [name, fraction] : {std::pair{"Reading short.qvi", 0.0}, {"Reading short.qvi", 0.5},
                                  {"Reading short.qvi", 1.0}, {"Reading long.qvi", 0.0}})
      p->Progress(name, fraction, false);
  std::this_thread::sleep_for(std::chrono::milliseconds(550));
  for (BatchPlatform* p : {&off, &on})
    for (double fraction : {0.25, 0.251, 0.5, 1.0}) p->Progress("Reading long.qvi", fraction, false);
  EXPECT_EQ(quiet.str(), "");
  EXPECT_EQ(shown.str(), "\rReading long.qvi: 25%\rReading long.qvi: 50%\rReading long.qvi: 100%\n");
}
