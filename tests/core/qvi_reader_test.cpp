#include <atomic>
#include <filesystem>
#include <new>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"

using namespace testfiles;

// Allocation failures cannot be provoked through the program's inputs, so this binary
// replaces the nothrow array new (a replaceable allocation function) with one that fails
// on request: exactly `gFailSize` bytes, or `gFailFrom` bytes and more.
static std::atomic<size_t> gFailSize{0};
static std::atomic<size_t> gFailFrom{0};

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (size == gFailSize || (gFailFrom != 0 && size >= gFailFrom)) return nullptr;
  try {
    return ::operator new[](size);
  } catch (...) {
    return nullptr;
  }
}

const char* const kOld = " OLD FORMAT  !!!";

// Frames 0 .. n-1 of the record equal the file's; counts mismatches rather than
// reporting thousands of them.
static void ExpectFrames(const SpotRec& s, const Track& t, int n) {
  ASSERT_EQ(s.NPoints, n);
  int bad = 0;
  for (int k = 0; k < n; ++k)
    bad += s.Int[k] != t.in[k] || s.X[k] != t.x[k] || s.Y[k] != t.y[k];
  EXPECT_EQ(bad, 0);
  EXPECT_EQ((std::vector<int32_t>{s.PosX, s.PosY, s.FirstFrame, s.Valid, s.Partner, s.FastFlag}),
            (std::vector<int32_t>{static_cast<int32_t>(t.posX), static_cast<int32_t>(t.posY),
                                  static_cast<int32_t>(t.firstFrame), 1, -1, 0}));
}

using QviReading = FormTest;

TEST_F(QviReading, EveryLayoutWithItsFlagsAndCaptions) {
  Track a = MakeTrack(12, 1), b = MakeTrack(7, 2), c = MakeTrack(5, 3), d = MakeTrack(9, 4);
  a.hdr = 0.75f;
  c.posX = 2016.0f;  // the float 2016 is not the marker: its bytes differ
  Bytes planar, old, zero;
  AddPlanar(planar, 2016, a);
  AddPlanar(planar, 5, b);  // only the file's first word decides the layout
  AddOld(old, c);           // interleaved triples
  AddOld(old, d);
  AddPlanar(zero, 0, d);  // planar blocks, yet announced as the old format
  AddPlanar(zero, 0, c);
  const struct {
    const char* name;
    const Bytes& bytes;
    const Track &first, &second;
    bool is2016, isOld, isZero;
    float hdr;  // an old block has none: the reused slot keeps the last one read
  } cases[] = {{"planar.qvi", planar, a, b, true, false, false, 0.75f},
               {"old.qvi", old, c, d, false, true, false, 0.75f},
               {"zero.qvi", zero, d, c, false, true, true, 0.0f}};
  for (const auto& f : cases) {
    SCOPED_TRACE(f.name);
    const std::string path = WriteFile(f.name, f.bytes.str());
    form.LoadQVIFile(path, true);
    ASSERT_EQ(form.Spots.NSpots, 2);
    ExpectFrames(form.Spots[0], f.first, f.first.frames());
    ExpectFrames(form.Spots[1], f.second, f.second.frames());
    EXPECT_EQ(form.Spots[0].HdrValue, f.hdr);
    EXPECT_EQ((std::vector<bool>{form.Format2016, form.OldFormat, form.ZeroMarker}),
              (std::vector<bool>{f.is2016, f.isOld, f.isZero}));
    EXPECT_TRUE(platform.caption == (f.isOld ? kOld : path) && form.Caption == platform.caption);
    EXPECT_EQ(form.LeftGraph.Caption + "|" + form.RightGraph.Caption + "|" + form.ViewerCaption,
              path + "|" + path + "|" + path);
  }
  EXPECT_TRUE(platform.messages.empty());
}

TEST_F(QviReading, LoadResetsTheWindowComputesValuesAndTakesEmptyFiles) {
  const Track a = MakeTrack(12, 1), b = MakeTrack(7, 2);
  form.DualsFound = true, form.CurSpot = 4, form.S.TimeScale = 0.01666666666;
  form.LoadQVIFile(PlanarFile("planar.qvi", {a, b}), true);
  EXPECT_TRUE(platform.viewerClosed == 1 && form.NFiles == 1 && form.CurSpot == 0 && !form.DualsFound);
  // Per-track values are computed on load, Dlat with the lag dT x TimeScale as a float.
  float msd[10000], dk[10000];
  const float lag = static_cast<float>(0.03 * 0.01666666666);
  EXPECT_EQ(form.Spots[0].Dlat,
            static_cast<float>(CalcTrackMSD(a.x.data(), a.y.data(), 12, lag, dk, msd, false)));

  // An empty file adds nothing, and opened anew counts as old.
  const std::string empty = WriteFile("empty.qvi", "");
  form.LoadQVIFile(empty, false);
  EXPECT_TRUE(form.Spots.NSpots == 2 && form.NFiles == 2 && platform.messages.empty());
  const int repaints = platform.repaints;
  form.LoadQVIFile(empty, true);
  EXPECT_TRUE(form.Spots.NSpots == 0 && form.NFiles == 3 && platform.repaints == repaints + 1);
  EXPECT_EQ(form.RightGraph.Notes[0], "Too few objects selected");
  EXPECT_TRUE(form.OldFormat && platform.caption == kOld);
}

TEST_F(QviReading, HeaderIntegersAndHdrValue) {
  const float hdr[] = {1.23456f, -2.71828f, 0.00009f, 3.0f};
  const float expected[] = {static_cast<float>(12345 * 0.0001), static_cast<float>(-27182 * 0.0001),
                            0.0f, 3.0f};
  Bytes b;
  for (float v : hdr) {
    // Integers are the integer part of value + 0.001, toward zero.
    b.Int(2016).Float(0).Float(v).Float(12.9995f).Float(7.998f).Float(4.9995f).Float(-3.0f);
    b.Floats({1, 2, 3, 4, 5}).Floats({6, 7, 8, 9, 10}).Floats({11, 12, 13, 14, 15});
  }
  form.LoadQVIFile(WriteFile("hdr4.qvi", b.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 4);
  for (int i = 0; i < 4; ++i) {
    const SpotRec& s = form.Spots[i];
    EXPECT_TRUE(s.HdrValue == expected[i] && s.Y[4] == 15.0f) << i;
    EXPECT_EQ((std::vector<int32_t>{s.PosX, s.PosY, s.NPoints, s.FirstFrame}),
              (std::vector<int32_t>{13, 7, 5, -2}));
  }
}

TEST_F(QviReading, SurplusFramesAndOddCounts) {
  const Track big = MakeTrack(10002, 7), next = MakeTrack(4, 8);

  // Planar N = 10002: two floats skipped after each plane.
  form.LoadQVIFile(PlanarFile("big.qvi", {big, next}), true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], big, 10000);
  ExpectFrames(form.Spots[1], next, 4);

  // Old M = 10002: 9999 triples kept, the rest of the M - 1 skipped; the next block lines up.
  const Track bigOld = MakeTrack(10001, 7);
  Bytes old;
  AddOld(old, bigOld);
  AddOld(old, next);
  form.LoadQVIFile(WriteFile("bigold.qvi", old.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], bigOld, 9999);
  ExpectFrames(form.Spots[1], next, 4);

  // Old M = 1, 0 and negative, planar N negative: tracks of 0 points, nothing consumed.
  Bytes odd;
  for (float m : {1, 0, -7}) odd.Float(1).Float(2).Float(m).Float(3);
  AddOld(odd, next);
  form.LoadQVIFile(WriteFile("oddold.qvi", odd.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 4);
  for (int i = 0; i < 3; ++i) {
    const SpotRec& s = form.Spots[i];
    EXPECT_TRUE(s.NPoints == 0 && s.Valid == 1 && s.X.size() >= kSpareFrames) << i;
  }
  ExpectFrames(form.Spots[3], next, 4);

  Bytes neg;
  neg.Int(2016).Float(0).Float(0).Float(1).Float(2).Float(-3).Float(0);
  AddPlanar(neg, 2016, next);
  form.LoadQVIFile(WriteFile("negplanar.qvi", neg.str()), true);
  ASSERT_TRUE(form.Spots.NSpots == 2 && form.Spots[0].NPoints == 0);
  ExpectFrames(form.Spots[1], next, 4);
}

TEST_F(QviReading, TruncatedLastBlockStillCounts) {
  const Track a = MakeTrack(8, 1);
  Bytes b;
  AddPlanar(b, 2016, a);
  b.Int(2016).Float(0).Float(0.25f).Float(3.0f);  // ends after PosX
  form.LoadQVIFile(WriteFile("cut1.qvi", b.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], a, 8);
  const SpotRec& s = form.Spots[1];
  // The header values that could not be read repeat the last float read.
  EXPECT_EQ((std::vector<int32_t>{s.PosX, s.PosY, s.NPoints, s.FirstFrame, s.Valid}),
            (std::vector<int32_t>{3, 3, 3, 3, 1}));
  EXPECT_EQ((Floats{s.HdrValue, s.Int[0]}), (Floats{0.25f, 0}));

  // Ends inside the X plane: what was read is kept, the rest stays as allocated.
  Bytes c;
  c.Int(2016).Float(0).Float(0).Float(1).Float(2).Float(4).Float(0);
  c.Floats({5, 6, 7, 8}).Floats({9, 10});
  form.LoadQVIFile(WriteFile("cut2.qvi", c.str()), false);
  ASSERT_EQ(form.Spots.NSpots, 3);
  const SpotRec& t = form.Spots[2];
  EXPECT_EQ((Floats{float(t.NPoints), t.Int[3], t.X[1], t.X[2], t.Y[0]}), (Floats{4, 8, 10, 0, 0}));
}

TEST_F(QviReading, SecondHalfIsTheLaterHalfOfEachFile) {
  form.Spots[0].SecondHalf = 1;
  platform.openAnswers.push_back({PlanarFile("k1.qvi", Tracks(1, 4, 1)),
                                  PlanarFile("k2.qvi", Tracks(2, 4, 1)),
                                  PlanarFile("k3.qvi", Tracks(3, 4, 1)),
                                  PlanarFile("k5.qvi", Tracks(5, 4, 1))});
  form.AddDataFileClick();
  const int expected[] = {0, 0, 1, 0, 0, 1, 0, 0, 0, 1, 1};
  ASSERT_EQ(form.Spots.NSpots, 11);
  for (int i = 0; i < 11; ++i) EXPECT_EQ(form.Spots[i].SecondHalf, expected[i]) << "track " << i;
  EXPECT_EQ(form.NFiles, 4);
}

TEST_F(QviReading, OpenAndAddCommands) {
  const std::vector<Track> five = Tracks(5, 6, 1), two = Tracks(2, 6, 10), three = Tracks(3, 6, 20);
  form.LoadQVIFile(PlanarFile("five.qvi", five), true);
  const std::string twoPath = PlanarFile("two.qvi", two), threePath = PlanarFile("three.qvi", three);

  // Several files: only the first replaces the store, each gets its own recomputation.
  const int repaints = platform.repaints;
  platform.openAnswers.push_back({twoPath, threePath});
  form.OpenNewFileClick();
  ASSERT_EQ(platform.dialogs.size(), 1u);
  EXPECT_EQ(platform.dialogs[0].filter + "|" + platform.dialogs[0].defaultExt,
            "Quorvex  XYI output (QVI)|*.qvi|");
  EXPECT_TRUE(platform.dialogs[0].multiSelect);
  ASSERT_EQ(form.Spots.NSpots, 5);
  ExpectFrames(form.Spots[0], two[0], 6);
  ExpectFrames(form.Spots[2], three[0], 6);
  EXPECT_TRUE(form.NFiles == 2 && platform.repaints == repaints + 2 && platform.caption == threePath);

  platform.openAnswers.push_back({twoPath});
  form.AddDataFileClick();
  EXPECT_TRUE(form.Spots.NSpots == 7 && form.NFiles == 3);
  ExpectFrames(form.Spots[6], two[1], 6);
  form.OpenNewFileClick();  // cancelled, as is the next: nothing happens
  form.AddDataFileClick();
  EXPECT_TRUE(form.Spots.NSpots == 7 && form.NFiles == 3 && platform.repaints == repaints + 3);
}

TEST_F(QviReading, UnopenableFileOrFolderChangesNothing) {
  const std::string path = PlanarFile("keep.qvi", Tracks(2, 5, 1));
  form.LoadQVIFile(path, true);
  const int repaints = platform.repaints;
  for (const std::string& bad : {TempPath("no-such-dir/missing.qvi"), ::testing::TempDir()}) {
    SCOPED_TRACE(bad);
    platform.messages.clear();
    form.LoadQVIFile(bad, true);
    EXPECT_EQ(platform.messages, std::vector<std::string>{"Can not open file"});
    EXPECT_TRUE(form.Spots.NSpots == 2 && form.NFiles == 1 && form.Format2016);
    EXPECT_EQ(platform.caption + "|" + form.LeftGraph.Caption + "|" + form.ViewerCaption,
              path + "|" + path + "|" + path);
    EXPECT_TRUE(platform.viewerClosed == 1 && platform.repaints == repaints);
  }
}

TEST_F(QviReading, OverflowNeverPassesTheCapacity) {
  // 100003 one-point tracks whose PosX numbers them.
  Bytes b;
  for (int i = 0; i < 100003; ++i)
    b.Int(2016).Float(0).Float(0).Float(static_cast<float>(i)).Float(1).Float(1).Float(0)
        .Float(1).Float(2).Float(3);
  const std::string big = WriteFile("overflow.qvi", b.str());
  form.LoadQVIFile(big, true);
  std::filesystem::remove(big);
  EXPECT_EQ(platform.messages, std::vector<std::string>{"Data Overflow"});
  ASSERT_EQ(form.Spots.NSpots, 100001);
  EXPECT_EQ(form.Spots[100000].PosX, 100000);
  // ceil(100001 / 2) tracks in the first half.
  EXPECT_TRUE(form.Spots[50000].SecondHalf == 0 && form.Spots[50001].SecondHalf == 1);

  // Every further file adds its first track until the store is full, then none.
  for (int f = 0; f < 5; ++f) {
    std::vector<Track> tracks = Tracks(2, 3, 0);
    tracks[0].posX = static_cast<float>(-1 - f) - 0.5f;
    form.LoadQVIFile(PlanarFile("more.qvi", tracks), false);
    EXPECT_EQ(platform.messages, std::vector<std::string>(f + 2, "Data Overflow"));
    EXPECT_EQ(form.Spots.NSpots, std::min(100002 + f, kStoreCapacity));
  }
  // The fourth file's first track (-4.5 + 0.001).
  EXPECT_TRUE(form.Spots[100004].PosX == -4 && form.NFiles == 6);
}

TEST_F(QviReading, AllocationFailures) {
  std::vector<Track> tracks = Tracks(3, 5, 1);
  tracks.push_back(MakeTrack(7777, 4));
  tracks.push_back(MakeTrack(5, 5));
  const std::string path = PlanarFile("alloc.qvi", tracks);
  gFailSize = (7777 + kSpareFrames) * sizeof(float);
  form.LoadQVIFile(path, true);
  gFailSize = 0;
  EXPECT_EQ(platform.messages, std::vector<std::string>{"Can not allocate memory for Int, X, Y data"});
  // Reading stops, and the last complete track is dropped as well.
  EXPECT_TRUE(form.Spots.NSpots == 2 && form.NFiles == 1 &&
              platform.status.substr(0, 23) == "2 objects (2 selected),");

  // The store itself.
  FakePlatform other;
  gFailFrom = sizeof(SpotRec) * kStoreCapacity;
  TMainForm broken(other);
  gFailFrom = 0;
  EXPECT_TRUE(!broken.Ready() && other.mainClosed);
  EXPECT_EQ(other.messages, std::vector<std::string>{"Can not allocate memory for SPOT data"});
}
