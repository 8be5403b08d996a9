#include <cstdio>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "store/QviReader.h"

// A store holding the tracks with their per-track values computed as on load.
static std::unique_ptr<TrackStore> LoadWithValues(const PopulationPlan& plan) {
  auto store = std::make_unique<TrackStore>();
  EXPECT_TRUE(store->Allocate());
  auto scratch = std::make_unique<MsdScratch>();
  const Settings settings;  // dT = 0.03 s, VelocityStep = 3
  AddSimulatedTracks(*store, MakePopulation(plan),
                     [&](SpotRec& t) { ComputeTrackValues(t, settings, PairRules{}, *scratch); });
  return store;
}

TEST(Simulator, SameSeedSameBytesAndDriftIsCommon) {
  PopulationPlan plan{.seed = 7, .mixed = true, .drift = {}};
  const std::string p1 = TempPath("seed7a.qvi"), p2 = TempPath("seed7b.qvi"),
                    p3 = TempPath("seed8.qvi");
  ASSERT_TRUE(WriteSimulatedQvi(p1, MakePopulation(plan)));
  ASSERT_TRUE(WriteSimulatedQvi(p2, MakePopulation(plan)));
  plan.seed = 8;
  ASSERT_TRUE(WriteSimulatedQvi(p3, MakePopulation(plan)));
  const std::string bytes = ReadFile(p1);
  EXPECT_TRUE(bytes.size() > 100000u && bytes == ReadFile(p2) && bytes != ReadFile(p3));
  for (const std::string& p : {p1, p2, p3}) std::remove(p.c_str());

  // A steady drift of 1 µm/s in X shifts every point by frame x dT, and nothing else.
  plan.drift.vx = 1.0;
  const std::vector<SimTrack> drifted = MakePopulation(plan);
  plan.drift = {};
  const std::vector<SimTrack> still = MakePopulation(plan);
  ASSERT_EQ(drifted.size(), still.size());
  for (size_t i = 0; i < still.size(); i += 37) {
    for (int32_t k = 0; k < still[i].NPoints; k += 9) {
      EXPECT_NEAR(drifted[i].X[k] - still[i].X[k], (still[i].FirstFrame + k) * 0.03, 2e-5);
      EXPECT_EQ(drifted[i].Y[k], still[i].Y[k]);
    }
  }
}

TEST(Simulator, FileReadsBackInEveryLayout) {
  const std::vector<SimTrack> tracks =
      MakePopulation({.tracks = 5, .points = 30, .bleachFraction = 0.4, .pairs = 1, .drift = {}});
  ASSERT_EQ(tracks.size(), 7u);
  TrackStore direct;  // direct loading gives what a 2016-layout file gives
  ASSERT_TRUE(direct.Allocate());
  EXPECT_EQ(AddSimulatedTracks(direct, tracks, nullptr), 7);

  const std::pair<SimFileLayout, QviLayout> layouts[] = {
      {SimFileLayout::Format2016, QviLayout::Planar2016},
      {SimFileLayout::ZeroMarker, QviLayout::ZeroMarker},
      {SimFileLayout::Old, QviLayout::Old}};
  for (const auto& [written, expected] : layouts) {
    SCOPED_TRACE(static_cast<int>(written));
    const bool is2016 = written == SimFileLayout::Format2016;
    const std::string path = TempPath("layout.qvi");
    ASSERT_TRUE(WriteSimulatedQvi(path, tracks, written));
    // Planar blocks take 28 + 12 N bytes, old ones 16 + 12 N.
    EXPECT_EQ(ReadFile(path).size(), 7u * ((written == SimFileLayout::Old ? 16 : 28) + 12 * 30));
    QviReader reader;
    TrackStore store;
    ASSERT_TRUE(reader.Open(path) && store.Allocate());
    EXPECT_EQ(reader.Layout(), expected);
    EXPECT_EQ(reader.ReadTracks(store, [](SpotRec&) {}), QviStop::EndOfFile);
    ASSERT_EQ(store.NSpots, 7);
    for (int32_t i = 0; i < 7; ++i) {
      const SimTrack& t = tracks[i];
      const SpotRec& r = store[i];
      // SecondHalf: all but the first ceil(7/2) tracks, as on direct loading.
      EXPECT_EQ((std::vector<int32_t>{r.NPoints, r.PosX, r.PosY, r.FirstFrame, r.SecondHalf,
                                      direct[i].SecondHalf}),
                (std::vector<int32_t>{30, t.PosX, t.PosY, t.FirstFrame, i >= 4, i >= 4}));
      // Outside the 2016 layout positions are stored relative to the header position.
      const double originX = is2016 ? 0 : r.PosX * 0.1, originY = is2016 ? 0 : r.PosY * 0.1;
      for (int32_t k = 0; k < 30; ++k) {
        EXPECT_EQ(r.Int[k], t.Int[k]);
        EXPECT_NEAR(originX + r.X[k], t.X[k], 1e-5);
        EXPECT_NEAR(originY + r.Y[k], t.Y[k], 1e-5);
        EXPECT_TRUE(!is2016 || (r.X[k] == direct[i].X[k] && r.Y[k] == direct[i].Y[k])) << k;
      }
    }
    std::remove(path.c_str());
  }
}

TEST(Simulator, BrownianAndDirectedTracksGiveTheirDlatAndSpeed) {
  auto store = LoadWithValues({.seed = 2024, .tracks = 1000, .points = 200, .D = 0.1, .drift = {}});
  ASSERT_EQ(store->NSpots, 1000);
  double sum = 0;
  for (int32_t i = 0; i < store->NSpots; ++i) sum += (*store)[i].Dlat;
  EXPECT_NEAR(sum / store->NSpots, 0.1, 0.003);

  // Over VelocityStep = 3 frames a track moves m = v·3·dT, blurred per axis by
  // s² = 2·D·3·dT; the mean length of that step is m + s²/(2m) while s << m.
  constexpr double v = 1.0, D = 0.001, T = 3 * 0.03, m = v * T, s2 = 2 * D * T;
  store = LoadWithValues(
      {.tracks = 500, .points = 100, .D = D, .velocity = v, .directedFraction = 1, .drift = {}});
  sum = 0;
  for (int32_t i = 0; i < store->NSpots; ++i) sum += (*store)[i].AverVel;
  EXPECT_NEAR(sum / store->NSpots, (m + s2 / (2 * m)) / T, 0.005);
}

TEST(Simulator, BleachingStepIsFoundAtItsFrame) {
  SimRandom random(5);
  for (int32_t bleach : {12, 57, 88}) {
    SimTrack t = MakeBrownianTrack(random, {100, 0, 5, 5}, 0.05, 0.03);
    AddIntensity(random, t, {100, 4, bleach, 45});
    SpotRec r = MakeSpot(t.X, t.Y, t.Int);
    FindIntensityDrop(r, Settings{}.IntDropWindow);
    EXPECT_EQ(r.StepIndex, bleach);
    EXPECT_TRUE(std::fabs(r.IntBefore - 100) < 5 && std::fabs(r.IntAfter - 45) < 5 && r.STest > 5);
  }
}

TEST(Simulator, SteppingMovesInWholeSteps) {
  SimRandom random(3);
  const SteppingMotion motion{0.008, 0.15, 0};
  double travelled = 0;
  for (int track = 0; track < 50; ++track) {
    const SimTrack t = MakeSteppingTrack(random, {300, 0, 0, 2}, motion, 0.03);
    for (int32_t k = 0; k < t.NPoints; ++k) {
      ASSERT_NEAR(t.X[k] / 0.008, std::round(t.X[k] / 0.008), 1e-3);
      ASSERT_EQ(t.Y[k], 2.0f);
      ASSERT_GE(t.X[k], t.X[k > 0 ? k - 1 : 0]);
    }
    travelled += t.X[t.NPoints - 1];
  }
  // Mean speed = step / dwell = 0.0533 µm/s over 299 frames of 30 ms.
  EXPECT_NEAR(travelled / 50 / (299 * 0.03), 0.008 / 0.15, 0.003);
}
