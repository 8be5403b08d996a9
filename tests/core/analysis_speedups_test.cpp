// The faster analysis paths (kept MSD curves, worker threads, the neighbour grid) leave
// exactly what the plain loops leave.
#include <cstring>
#include <filesystem>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "stats/MsdCurveCache.h"
#include "stats/NeighbourPanel.h"
#include "stats/ThreadPool.h"

// What both panels show, and the results the notes are made of.
struct PanelState {
  std::vector<float> rows;
  std::vector<std::string> notes;
  std::vector<int32_t> extents;
  std::vector<double> results;
};

static PanelState Capture(const TMainForm& form) {
  PanelState s;
  for (const TQVgraph* g : {&form.LeftGraph, &form.RightGraph}) {
    s.rows.insert(s.rows.end(), g->Data, g->Data + kPanelRows * kPanelStride);
    s.notes.insert(s.notes.end(), std::begin(g->Notes), std::end(g->Notes));
    s.extents.push_back(g->DataFirst);
    s.extents.push_back(g->DataEnd);
  }
  const AnalysisRegisters& r = form.Registers;
  s.results = {r.AverDlat, r.DlatSD, static_cast<double>(r.NMSDPoints), r.FitSlope, r.AverInstVel};
  return s;
}

// Bit for bit, so that NaN rows compare too.
static void ExpectSame(const PanelState& fast, const PanelState& plain, const char* when) {
  ASSERT_EQ(fast.rows.size(), plain.rows.size());
  EXPECT_EQ(std::memcmp(fast.rows.data(), plain.rows.data(), fast.rows.size() * sizeof(float)), 0)
      << when;
  EXPECT_TRUE(fast.notes == plain.notes && fast.extents == plain.extents) << when;
  EXPECT_EQ(std::memcmp(fast.results.data(), plain.results.data(), 5 * sizeof(double)), 0) << when;
}

// Runs the pass as it stands, then again with the plain loops, and compares.
static void ExpectPanelsMatchPlain(TMainForm& form, const char* when) {
  form.UpdateAnalysis();
  const PanelState fast = Capture(form);
  form.PlainAnalysis = true;
  form.UpdateAnalysis();
  const PanelState plain = Capture(form);
  form.PlainAnalysis = false;
  ExpectSame(fast, plain, when);
}

static int32_t KeptCurves(const TMainForm& form) {
  const bool independent = form.Menu.Checked("IndependentPairs");
  int32_t kept = 0;
  for (int32_t i = 0; i < form.Spots.NSpots; ++i)
    if (form.MsdCurves->Find(i, form.Spots[i].NPoints, independent)) ++kept;
  return kept;
}

TEST(MsdCurveCache, KeepsCurvesForTheirInputsOnly) {
  std::mt19937 gen(3);
  const SpotRec t = RandomSpot(gen, 57);
  const float *x = t.X.data(), *y = t.Y.data();
  MsdScratch scratch{};
  const double dlat = CalcTrackMSD(x, y, 57, 0.03f, scratch.Dk, scratch.MSD, false);

  MsdCurveCache cache;
  ASSERT_TRUE(cache.Ready() && !cache.Find(7, 57, false));  // nothing kept yet
  cache.Keep(7, 57, false, scratch.MSD);
  const float* curve = cache.Find(7, 57, false);
  ASSERT_NE(curve, nullptr);  // lags 1 .. 27 kept, slot 0 zero
  EXPECT_TRUE(curve[0] == 0.0f && std::memcmp(curve + 1, scratch.MSD + 1, 27 * sizeof(float)) == 0);
  EXPECT_EQ(cache.Dlat(7, 0.03f), dlat);  // other lag units: "new frame interval" below

  // Another number of points, pair rule or track; then nothing after invalidation.
  EXPECT_TRUE(!cache.Find(7, 56, false) && !cache.Find(7, 57, true) && !cache.Find(8, 57, false));
  cache.Invalidate();
  EXPECT_EQ(cache.Find(7, 57, false), nullptr);

  // Too short for a Dlat (NaN, as CalcTrackMSD gives), or without any lag.
  for (int32_t n : {5, 2, 0, -3}) {
    cache.Keep(9, n, false, scratch.MSD);
    ASSERT_NE(cache.Find(9, n, false), nullptr) << n;
    EXPECT_TRUE(std::isnan(cache.Dlat(9, 0.03f))) << n;
  }
  EXPECT_TRUE(!cache.Find(-1, 57, false) && !cache.Find(kStoreCapacity, 57, false));
}

using AnalysisSpeedups = FormTest;

TEST_F(AnalysisSpeedups, PanelsMatchThePlainLoopsThroughCommands) {
  // 20 .. 400 points, Brownian, directed and stepping tracks, on a drifting stage.
  PopulationPlan plan{.seed = 11, .mixed = true, .drift = {}};
  plan.drift.vx = 0.05, plan.drift.D = 0.002;
  const std::string path = SimulatedFile("speedups.qvi", plan);
  platform.openAnswers.push_back({path});
  ASSERT_TRUE(form.RunCommand("OpenNewFile"));
  ASSERT_GT(form.Spots.NSpots, 300);
  EXPECT_EQ(KeptCurves(form), form.Spots.NSpots);  // filled while reading
  ExpectPanelsMatchPlain(form, "after load");
  const PanelState loaded = Capture(form);

  // Correct For Drift moves every point and recomputes nothing; the next pass, by a
  // command that keeps curves, must not read the old ones.
  ASSERT_TRUE(form.RunCommand("CorrectForDrift1"));
  EXPECT_EQ(KeptCurves(form), 0);
  ASSERT_TRUE(form.RunCommand("ShowFreq"));
  EXPECT_NE(std::memcmp(&Capture(form).rows[kPanelRows * kPanelStride + 2 * kPanelStride],
                        &loaded.rows[kPanelRows * kPanelStride + 2 * kPanelStride],
                        kPanelStride * sizeof(float)),
            0);  // the mean MSD has changed
  ExpectPanelsMatchPlain(form, "after drift correction");

  ASSERT_TRUE(form.RunCommand("IndependentPairs"));
  EXPECT_EQ(KeptCurves(form), form.Spots.NSpots);  // refilled by the recomputation
  ExpectPanelsMatchPlain(form, "independent pairs");
  ASSERT_TRUE(form.RunCommand("IndependentPairs"));
  ExpectPanelsMatchPlain(form, "overlapping pairs again");

  // A new frame interval changes every Dlat but no curve.
  platform.promptAnswers.push_back("47");
  ASSERT_TRUE(form.RunCommand("DeltaTime"));
  EXPECT_EQ(KeptCurves(form), form.Spots.NSpots);
  ExpectPanelsMatchPlain(form, "new frame interval");

  // Keys only move thresholds: the curves stay.
  form.ChooseClass("BrightInt");
  form.KeyDown(39);
  form.KeyDown(38);
  EXPECT_EQ(KeptCurves(form), form.Spots.NSpots);
  ExpectPanelsMatchPlain(form, "after keys");
  form.ChooseClass("All_Int");

  // A point cut off in the viewer.
  form.CurSpot = 3;
  form.GraphForm->ShowSpot(3);
  ASSERT_TRUE(form.GraphForm->RunCommand("RemoveFirstVal"));
  ExpectPanelsMatchPlain(form, "after a viewer trim");

  // The other fast panels on the same tracks.
  form.ChoosePanel("L_ShowInstantVel");
  form.ChoosePanel("R_DistanceToNeighbDistrib");
  ExpectPanelsMatchPlain(form, "instant velocity and neighbours");
  std::filesystem::remove(path);
}

TEST_F(AnalysisSpeedups, InstantVelocityWorkersCollectWhatThePlainLoopCollects) {
  // 2.1 million steps: the collection stops in the middle of the 200th track.
  std::mt19937 gen(23);
  std::uniform_real_distribution<float> step(-0.2f, 0.2f);
  for (int32_t t = 0; t < 210; ++t) {
    SpotRec& track = AddBlankTrack(form, t == 7 ? 3 : 10000);  // one too short for a step
    for (int32_t k = 1; k < track.NPoints; ++k) {
      track.X[k] = track.X[k - 1] + step(gen), track.Y[k] = track.Y[k - 1] + step(gen);
    }
  }
  form.SelectSpots();
  auto compare = [&](const char* when) {
    form.RunPanel("L_ShowInstantVel", form.LeftGraph);
    const PanelState fast = Capture(form);
    form.PlainAnalysis = true;
    form.RunPanel("L_ShowInstantVel", form.LeftGraph);
    form.PlainAnalysis = false;
    ExpectSame(fast, Capture(form), when);
  };
  compare("overlapping steps");
  form.Menu.SetChecked("AbsoluteXspeed", true);  // leftward steps negative
  compare("signed");
  form.Menu.SetChecked("IndependentPairs", true);
  form.S.VelocityStep = 2;
  compare("independent steps");
}

// The smallest squared distance of every selected centre, both ways.
static void ExpectGridMatchesQuadratic(TrackStore& store, const std::vector<float>& cx,
                                const std::vector<float>& cy, const char* what) {
  // The same filler everywhere: nothing may be written past the selected tracks' values.
  std::vector<float> plain(kStoreCapacity, -1);
  const int32_t n = NearestNeighbourDistancesQuadratic(store, cx.data(), cy.data(), plain.data());
  for (ThreadPool* pool : {static_cast<ThreadPool*>(nullptr), &ThreadPool::Shared()}) {
    std::vector<float> grid(kStoreCapacity, -1);
    EXPECT_EQ(NearestNeighbourDistancesGrid(store, cx.data(), cy.data(), grid.data(), pool), n)
        << what;
    EXPECT_EQ(std::memcmp(plain.data(), grid.data(), kStoreCapacity * sizeof(float)), 0) << what;
  }
}

TEST(NeighbourGrid, SameValuesAsThePlainSearch) {
  const float kInf = INFINITY, kNaN = NAN;
  TrackStore store;
  ASSERT_TRUE(store.Allocate());
  std::vector<float> cx(kStoreCapacity), cy(kStoreCapacity);
  std::mt19937 gen(17);
  std::uniform_real_distribution<float> field(0, 400), tiny(0, 0.001f);
  store.NSpots = 10000;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    store[i].Selected = gen() % 5 != 0;
    switch (i % 40) {
      case 0: cx[i] = cy[i] = kNaN; break;                  // a track without points
      case 1: cx[i] = kInf; cy[i] = field(gen); break;
      case 2: cx[i] = cx[i / 2]; cy[i] = cy[i / 2]; break;  // the same centre twice
      case 3: cx[i] = field(gen) + 1e6f; cy[i] = -3e38f; break;  // far outliers
      case 4: case 5: case 6:  // a lattice: equal distances
        cx[i] = 0.5f * static_cast<float>(gen() % 40), cy[i] = 0.5f * static_cast<float>(gen() % 40);
        break;
      case 7: case 8: case 9: case 10: case 11: case 12:  // a dense cluster
        cx[i] = 200 + tiny(gen), cy[i] = 200 + tiny(gen);
        break;
      default: cx[i] = field(gen); cy[i] = field(gen);
    }
  }
  ExpectGridMatchesQuadratic(store, cx, cy, "10000 mixed centres");
  // Most centres in one spot: the rest sit sparsely in cells sized for the average, and
  // their nearest neighbours lie several rings out.
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const bool clustered = i % 10 < 7;
    cx[i] = clustered ? 100 + tiny(gen) : field(gen);
    cy[i] = clustered ? 100 + tiny(gen) : field(gen);
  }
  ExpectGridMatchesQuadratic(store, cx, cy, "sparse around a cluster");

  // Small and degenerate populations.
  for (int32_t i = 0; i < store.NSpots; ++i) store[i].Selected = 0;
  ExpectGridMatchesQuadratic(store, cx, cy, "none selected");
  store[5].Selected = 1;
  ExpectGridMatchesQuadratic(store, cx, cy, "one");  // keeps kNoNeighbour
  cx[5] = cy[5] = cx[6] = 1, cy[6] = 1e8f;  // squared distance 1e16: no neighbour either
  store[6].Selected = 1;
  ExpectGridMatchesQuadratic(store, cx, cy, "two far apart");
  store.NSpots = 3000;
  for (int32_t i = 0; i < store.NSpots; ++i)  // on one line
    store[i].Selected = 1, cx[i] = 7.25f, cy[i] = static_cast<float>(i) * 0.1f;
  ExpectGridMatchesQuadratic(store, cx, cy, "collinear");
  for (int32_t i = 0; i < store.NSpots; ++i) cy[i] = 3;
  ExpectGridMatchesQuadratic(store, cx, cy, "all in one place");
}
