// Imported tracks into the store, and the CSV track writer read back by the import.
#include <fstream>
#include <memory>
#include <sstream>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "import/TrackCsvWriter.h"
#include "import/TrackImport.h"
#include "stats/TrackValues.h"
#include "store/HeaderPosition.h"

namespace {

void AddImported(ImportedTracks& d, int32_t first, const Floats& x, const Floats& y) {
  d.tracks.push_back({{}, first, static_cast<int64_t>(d.x.size()), static_cast<int32_t>(x.size())});
  d.x.insert(d.x.end(), x.begin(), x.end());
  d.y.insert(d.y.end(), y.begin(), y.end());
  for (size_t k = 0; k < x.size(); ++k) d.intensity.push_back(static_cast<float>(100 + k));
}

}  // namespace

TEST(ImportStore, TracksAreAppendedAsTheQviReaderFillsRecords) {
  auto store = std::make_unique<TrackStore>();
  ASSERT_TRUE(store->Allocate());
  store->NSpots = 2;  // appended after what is there
  ImportedTracks d;
  AddImported(d, 7, {12.34f, 12.5f, 11.9f}, {-0.05f, 0.3f, -0.2f});
  for (int i = 0; i < 3; ++i) AddImported(d, i, {1.0f + i, 2.0f}, {3.0f, 4.0f});
  AddImported(d, 0, Floats(kMaxPoints + 3, 55.55f), Floats(kMaxPoints + 3, 0.0f));
  int computed = 0;
  const AppendOutcome out = AppendImportedTracks(*store, d, [&](SpotRec&) { ++computed; });
  EXPECT_EQ(out.added, 5);
  EXPECT_EQ(out.stop, QviStop::EndOfFile);
  EXPECT_EQ(computed, 5);
  ASSERT_EQ(store->NSpots, 7);
  const SpotRec& t = (*store)[2];
  EXPECT_EQ(t.PosX, 123);  // 12.34 µm in 0.1 µm, truncated
  EXPECT_EQ(t.PosY, 0);    // -0.5 truncated toward zero
  EXPECT_EQ(t.FirstFrame, 7);
  EXPECT_EQ(t.NPoints, 3);
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(t.PosX * 0.1 + t.X[k], d.x[k], 1e-6);  // what the panels compute
    EXPECT_EQ(HeaderOrigin(t.PosX) + t.X[k], d.x[k]);
    EXPECT_EQ(t.Y[k], d.y[k]);
    EXPECT_EQ(t.Int[k], d.intensity[k]);
  }
  EXPECT_EQ((*store)[6].NPoints, kMaxPoints);
  std::string flags;
  for (int32_t i = 2; i < 7; ++i) {
    const SpotRec& r = (*store)[i];
    EXPECT_TRUE(r.Valid == 1 && r.Partner == -1 && r.FastFlag == 0);
    flags += r.SecondHalf ? '1' : '0';
  }
  EXPECT_EQ(flags, "00011");  // the first ceil(5/2) tracks of the file are its first half

  store->NSpots = kMaxTracks - 1;
  EXPECT_EQ(AppendImportedTracks(*store, d, nullptr).added, 2);  // the one past 100000 stops it
  EXPECT_EQ(store->NSpots, kMaxTracks + 1);
  store->NSpots = kStoreCapacity;
  const AppendOutcome full = AppendImportedTracks(*store, d, nullptr);
  EXPECT_TRUE(full.added == 0 && full.stop == QviStop::Overflow);
}

using ImportRoundTrip = FormTest;

// Simulated tracks as a zero-marker QVI file (positions relative to the header, as the
// import stores them) against the same tracks saved as CSV and imported: every record the
// same bit for bit, per-track values included.
TEST_F(ImportRoundTrip, SavedCsvImportsBackToTheSameRecordsAndValues) {
  PopulationPlan plan;
  plan.seed = 5;
  plan.tracks = 41;
  plan.points = 60;
  plan.directedFraction = 0.3;
  plan.bleachFraction = 0.4;
  plan.localisationNoise = 0.02;
  std::vector<SimTrack> sim = MakePopulation(plan);
  for (size_t i = 0; i < sim.size(); ++i) {
    sim[i].FirstFrame = static_cast<int32_t>(3 * i);
    sim[i].PosX = HeaderPosition(sim[i].X[0]);
    sim[i].PosY = HeaderPosition(sim[i].Y[0]);
  }
  const std::string qvi = TempPath("roundtrip.qvi"), csv = TempPath("roundtrip.csv");
  ASSERT_TRUE(WriteSimulatedQvi(qvi, sim, SimFileLayout::ZeroMarker));
  form.S.dT = 0.00748;
  form.LoadQVIFile(qvi, true);
  ASSERT_EQ(form.Spots.NSpots, 41);
  ASSERT_TRUE(WriteTracksCsv(csv, form.Spots, {true, form.S.dT, false}));

  const ImportResult r = ImportTrackFile(csv);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.format, "Kinetra CSV");
  EXPECT_NEAR(r.calibration.frameIntervalS, 0.00748, 1e-15);
  ASSERT_EQ(r.data.tracks.size(), sim.size());
  for (size_t i = 0; i < sim.size(); ++i) {  // the absolute positions, exactly
    const ImportedTrack& t = r.data.tracks[i];
    ASSERT_TRUE(t.firstFrame == sim[i].FirstFrame && t.count == sim[i].NPoints) << i;
    EXPECT_EQ(Floats(r.data.x.begin() + t.offset, r.data.x.begin() + t.offset + t.count), sim[i].X) << i;
  }

  auto store = std::make_unique<TrackStore>();
  ASSERT_TRUE(store->Allocate());
  auto scratch = std::make_unique<MsdScratch>();
  AppendImportedTracks(*store, r.data, [&](SpotRec& t) { ComputeTrackValues(t, form.S, {}, *scratch); });
  ASSERT_EQ(store->NSpots, 41);
  for (int32_t i = 0; i < 41; ++i) {
    const SpotRec &a = form.Spots[i], &b = (*store)[i];
    const int32_t n = a.NPoints;
    EXPECT_TRUE(a.PosX == b.PosX && a.PosY == b.PosY && a.FirstFrame == b.FirstFrame && n == b.NPoints &&
                a.SecondHalf == b.SecondHalf)
        << i;
    EXPECT_TRUE(Frames(a.X, n) == Frames(b.X, n) && Frames(a.Y, n) == Frames(b.Y, n) &&
                Frames(a.Int, n) == Frames(b.Int, n))
        << i;
    EXPECT_TRUE(a.Dlat == b.Dlat && a.AverVel == b.AverVel && a.AverInt == b.AverInt && a.STest == b.STest &&
                a.StepIndex == b.StepIndex && a.IntBefore == b.IntBefore && a.IntAfter == b.IntAfter)
        << i;
  }

  // The per-track file: one row per track with the values of the store.
  std::ifstream values(TrackValuesCsvPath(csv));
  std::string header, row;
  std::getline(values, header);
  EXPECT_EQ(header, "track,first_frame,n_points,aver_int,dlat_um2_s,aver_vel_um_s,s_test,step_index,int_before,"
                    "int_after,selected,dcve_um2_s,sigma_cve_um,alpha");
  int rows = 0;
  while (std::getline(values, row)) {
    std::replace(row.begin(), row.end(), ',', ' ');
    std::istringstream cells(row);
    int track, first, n;
    float averInt, dlat;
    cells >> track >> first >> n >> averInt >> dlat;
    EXPECT_TRUE(track == rows && first == form.Spots[rows].FirstFrame && averInt == form.Spots[rows].AverInt &&
                dlat == form.Spots[rows].Dlat)
        << row;
    ++rows;
  }
  EXPECT_EQ(rows, 41);
  EXPECT_EQ(TrackValuesCsvPath("a/b.csv"), "a/b.tracks.csv");
  EXPECT_EQ(TrackValuesCsvPath("a/b.txt"), "a/b.txt.tracks.csv");
  const FileWriteResult unwritable = WriteTracksCsv(TempPath("no-such-folder/x.csv"), form.Spots, {});
  EXPECT_TRUE(!unwritable && unwritable.error.find("no-such-folder/x.csv") != std::string::npos);
}
