#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <new>

#include "FakePlatform.h"
#include "StoreTestFiles.h"
#include "app/MainForm.h"

using namespace testfiles;

// Allocation failures cannot be provoked through the program's inputs, so this binary
// replaces the nothrow array new (a replaceable allocation function) with one that fails
// on request: exactly `gFailSize` bytes, or `gFailFrom` bytes and more.
namespace {
std::atomic<size_t> gFailSize{0};
std::atomic<size_t> gFailFrom{0};
}  // namespace

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (size == gFailSize || (gFailFrom != 0 && size >= gFailFrom)) return nullptr;
  try {
    return ::operator new[](size);
  } catch (...) {
    return nullptr;
  }
}

namespace {

const char* const kOld = " OLD FORMAT  !!!";

// Frames 0 .. n-1 of the record equal the file's; counts mismatches rather than
// reporting thousands of them.
void ExpectFrames(const SpotRec& s, const Track& t, int n) {
  ASSERT_EQ(s.NPoints, n);
  int bad = 0;
  for (int k = 0; k < n; ++k)
    bad += s.Int[k] != t.in[k] || s.X[k] != t.x[k] || s.Y[k] != t.y[k];
  EXPECT_EQ(bad, 0);
  EXPECT_EQ(s.PosX, static_cast<int>(t.posX));
  EXPECT_EQ(s.PosY, static_cast<int>(t.posY));
  EXPECT_EQ(s.FirstFrame, static_cast<int>(t.firstFrame));
  EXPECT_EQ(s.Valid, 1);
  EXPECT_EQ(s.Partner, -1);
  EXPECT_EQ(s.FastFlag, 0);
}

std::string PlanarFile(const std::string& name, const std::vector<Track>& tracks,
                       int32_t marker = 2016) {
  Bytes b;
  for (const Track& t : tracks) AddPlanar(b, marker, t);
  return WriteFile(name, b.str());
}

std::vector<Track> Tracks(int count, int frames, int seed) {
  std::vector<Track> out;
  for (int i = 0; i < count; ++i) out.push_back(MakeTrack(frames, seed + i));
  return out;
}

}  // namespace

TEST(QviReader, Planar2016File) {
  FakePlatform platform;
  TMainForm form(platform);
  Track a = MakeTrack(12, 1), b = MakeTrack(7, 2);
  a.hdr = 0.75f;
  Bytes bytes;
  AddPlanar(bytes, 2016, a);
  AddPlanar(bytes, 5, b);  // only the file's first word decides the layout
  const std::string path = WriteFile("planar.qvi", bytes.str());
  form.DualsFound = true;
  form.CurSpot = 4;
  form.S.TimeScale = 0.01666666666;

  form.LoadQVIFile(path, true);
  EXPECT_TRUE(platform.messages.empty());
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], a, 12);
  ExpectFrames(form.Spots[1], b, 7);
  EXPECT_EQ(form.Spots[0].HdrValue, 0.75f);
  EXPECT_TRUE(form.Format2016);
  EXPECT_FALSE(form.OldFormat);
  EXPECT_FALSE(form.ZeroMarker);
  EXPECT_EQ(platform.caption, path);
  EXPECT_EQ(form.LeftGraph.Caption, path);
  EXPECT_EQ(form.RightGraph.Caption, path);
  EXPECT_EQ(form.ViewerCaption, path);
  EXPECT_EQ(platform.viewerClosed, 1);
  EXPECT_EQ(form.NFiles, 1);
  EXPECT_EQ(form.CurSpot, 0);
  EXPECT_FALSE(form.DualsFound);
  EXPECT_EQ(platform.status,
            "2 objects (2 selected), IntThresh=50, length=100 points, velThresh=0.5");
  // Per-track values are computed on load, Dlat with the lag dT x TimeScale as a float.
  float msd[10000], dk[10000];
  const float lag = static_cast<float>(0.03 * 0.01666666666);
  EXPECT_EQ(form.Spots[0].Dlat,
            static_cast<float>(CalcTrackMSD(a.x.data(), a.y.data(), 12, lag, dk, msd, false)));
  float sum = 0;
  for (float v : b.in) sum += v;
  EXPECT_EQ(form.Spots[1].AverInt, sum / 7.0f);
}

TEST(QviReader, ZeroMarkerAndOldLayout) {
  FakePlatform platform;
  TMainForm form(platform);
  Track h = MakeTrack(3, 9);
  h.hdr = 1.5f;
  form.LoadQVIFile(PlanarFile("hdr.qvi", {h}), true);
  ASSERT_EQ(form.Spots[0].HdrValue, 1.5f);

  // Old layout: interleaved triples; HdrValue of the reused slot is left as it was.
  Track c = MakeTrack(5, 3), d = MakeTrack(9, 4);
  c.posX = 2016.0f;  // the float 2016 is not the marker: its bytes differ
  Bytes old;
  AddOld(old, c);
  AddOld(old, d);
  const std::string oldPath = WriteFile("old.qvi", old.str());
  form.LoadQVIFile(oldPath, true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], c, 5);
  ExpectFrames(form.Spots[1], d, 9);
  EXPECT_EQ(form.Spots[0].HdrValue, 1.5f);
  EXPECT_TRUE(form.OldFormat);
  EXPECT_FALSE(form.ZeroMarker);
  EXPECT_FALSE(form.Format2016);
  EXPECT_EQ(platform.caption, kOld);
  EXPECT_EQ(form.Caption, kOld);
  EXPECT_EQ(form.LeftGraph.Caption, oldPath);

  // Zero marker: planar blocks, yet announced as the old format.
  Track e = MakeTrack(6, 5);
  form.LoadQVIFile(PlanarFile("zero.qvi", {e, c}, 0), true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], e, 6);
  ExpectFrames(form.Spots[1], c, 5);
  EXPECT_TRUE(form.ZeroMarker);
  EXPECT_TRUE(form.OldFormat);
  EXPECT_FALSE(form.Format2016);
  EXPECT_EQ(platform.caption, kOld);
}

TEST(QviReader, HeaderIntegersAndHdrValue) {
  FakePlatform platform;
  TMainForm form(platform);
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
    EXPECT_EQ(s.HdrValue, expected[i]) << i;
    EXPECT_EQ(s.PosX, 13);
    EXPECT_EQ(s.PosY, 7);
    EXPECT_EQ(s.NPoints, 5);
    EXPECT_EQ(s.FirstFrame, -2);
    EXPECT_EQ(s.Y[4], 15.0f);
  }
}

TEST(QviReader, SurplusFramesAndOddCounts) {
  FakePlatform platform;
  TMainForm form(platform);
  const Track big = MakeTrack(10002, 7), next = MakeTrack(4, 8);

  // Planar N = 10002: two floats skipped after each plane.
  form.LoadQVIFile(PlanarFile("big.qvi", {big, next}), true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], big, 10000);
  ExpectFrames(form.Spots[1], next, 4);

  // Old M = 10002: 9999 triples kept, the rest of the M - 1 skipped; the next block lines up.
  Track bigOld = MakeTrack(10001, 7);
  Bytes old;
  AddOld(old, bigOld);
  AddOld(old, next);
  form.LoadQVIFile(WriteFile("bigold.qvi", old.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], bigOld, 9999);
  ExpectFrames(form.Spots[1], next, 4);

  // Old M = 1, 0 and negative, planar N negative: tracks of 0 points, nothing consumed.
  Bytes odd;
  odd.Float(1).Float(2).Float(1).Float(3);
  odd.Float(1).Float(2).Float(0).Float(3);
  odd.Float(1).Float(2).Float(-7).Float(3);
  AddOld(odd, next);
  form.LoadQVIFile(WriteFile("oddold.qvi", odd.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 4);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(form.Spots[i].NPoints, 0);
    EXPECT_EQ(form.Spots[i].Valid, 1);
    EXPECT_GE(form.Spots[i].X.size(), kSpareFrames);
  }
  ExpectFrames(form.Spots[3], next, 4);

  Bytes neg;
  neg.Int(2016).Float(0).Float(0).Float(1).Float(2).Float(-3).Float(0);
  AddPlanar(neg, 2016, next);
  form.LoadQVIFile(WriteFile("negplanar.qvi", neg.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  EXPECT_EQ(form.Spots[0].NPoints, 0);
  ExpectFrames(form.Spots[1], next, 4);
}

TEST(QviReader, TruncatedLastBlockStillCounts) {
  FakePlatform platform;
  TMainForm form(platform);
  const Track a = MakeTrack(8, 1);
  Bytes b;
  AddPlanar(b, 2016, a);
  b.Int(2016).Float(0).Float(0.25f).Float(3.0f);  // ends after PosX
  form.LoadQVIFile(WriteFile("cut1.qvi", b.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 2);
  ExpectFrames(form.Spots[0], a, 8);
  const SpotRec& s = form.Spots[1];
  EXPECT_EQ(s.HdrValue, 0.25f);
  // The header values that could not be read repeat the last float read.
  EXPECT_EQ(s.PosX, 3);
  EXPECT_EQ(s.PosY, 3);
  EXPECT_EQ(s.NPoints, 3);
  EXPECT_EQ(s.FirstFrame, 3);
  EXPECT_EQ(s.Valid, 1);
  EXPECT_EQ(s.Int[0], 0.0f);

  // Ends inside the X plane: what was read is kept, the rest stays as allocated.
  Bytes c;
  c.Int(2016).Float(0).Float(0).Float(1).Float(2).Float(4).Float(0);
  c.Floats({5, 6, 7, 8}).Floats({9, 10});
  form.LoadQVIFile(WriteFile("cut2.qvi", c.str()), false);
  ASSERT_EQ(form.Spots.NSpots, 3);
  const SpotRec& t = form.Spots[2];
  EXPECT_EQ(t.NPoints, 4);
  EXPECT_EQ(t.Int[3], 8.0f);
  EXPECT_EQ(t.X[1], 10.0f);
  EXPECT_EQ(t.X[2], 0.0f);
  EXPECT_EQ(t.Y[0], 0.0f);
}

TEST(QviReader, EmptyFile) {
  FakePlatform platform;
  TMainForm form(platform);
  const std::string empty = WriteFile("empty.qvi", "");
  form.LoadQVIFile(empty, true);
  EXPECT_EQ(form.Spots.NSpots, 0);
  EXPECT_EQ(form.NFiles, 1);
  EXPECT_EQ(platform.repaints, 1);
  EXPECT_EQ(form.RightGraph.Notes[0], "Too few objects selected");
  EXPECT_TRUE(form.OldFormat);  // an empty file counts as the old layout
  EXPECT_EQ(platform.caption, kOld);

  form.LoadQVIFile(PlanarFile("three.qvi", Tracks(3, 5, 1)), false);
  form.LoadQVIFile(empty, false);
  EXPECT_EQ(form.Spots.NSpots, 3);
  EXPECT_EQ(form.NFiles, 3);
  EXPECT_TRUE(platform.messages.empty());
}

TEST(QviReader, SecondHalfIsTheLaterHalfOfEachFile) {
  FakePlatform platform;
  TMainForm form(platform);
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

TEST(QviReader, OpenAndAddCommands) {
  FakePlatform platform;
  TMainForm form(platform);
  const std::vector<Track> five = Tracks(5, 6, 1), two = Tracks(2, 6, 10), three = Tracks(3, 6, 20);
  form.LoadQVIFile(PlanarFile("five.qvi", five), true);
  const std::string twoPath = PlanarFile("two.qvi", two), threePath = PlanarFile("three.qvi", three);

  // Several files: only the first replaces the store, each gets its own recomputation.
  const int repaints = platform.repaints;
  platform.openAnswers.push_back({twoPath, threePath});
  form.OpenNewFileClick();
  ASSERT_EQ(platform.dialogs.size(), 1u);
  EXPECT_EQ(platform.dialogs[0].filter, "Quorvex  XYI output (QVI)|*.qvi");
  EXPECT_TRUE(platform.dialogs[0].multiSelect);
  EXPECT_EQ(platform.dialogs[0].defaultExt, "");
  ASSERT_EQ(form.Spots.NSpots, 5);
  ExpectFrames(form.Spots[0], two[0], 6);
  ExpectFrames(form.Spots[2], three[0], 6);
  EXPECT_EQ(form.NFiles, 2);
  EXPECT_EQ(platform.repaints, repaints + 2);
  EXPECT_EQ(platform.caption, threePath);

  platform.openAnswers.push_back({twoPath});
  form.AddDataFileClick();
  EXPECT_EQ(form.Spots.NSpots, 7);
  EXPECT_EQ(form.NFiles, 3);
  ExpectFrames(form.Spots[6], two[1], 6);

  // Cancel does nothing.
  form.OpenNewFileClick();
  form.AddDataFileClick();
  EXPECT_EQ(form.Spots.NSpots, 7);
  EXPECT_EQ(form.NFiles, 3);
  EXPECT_EQ(platform.repaints, repaints + 3);
}

TEST(QviReader, UnopenableFileChangesNothing) {
  FakePlatform platform;
  TMainForm form(platform);
  const std::string path = PlanarFile("keep.qvi", Tracks(2, 5, 1));
  form.LoadQVIFile(path, true);
  const int repaints = platform.repaints;
  form.LoadQVIFile(TempPath("no-such-dir/missing.qvi"), true);
  EXPECT_EQ(platform.messages, std::vector<std::string>{"Can not open file"});
  EXPECT_EQ(form.Spots.NSpots, 2);
  EXPECT_EQ(form.NFiles, 1);
  EXPECT_EQ(platform.caption, path);
  EXPECT_EQ(form.LeftGraph.Caption, path);
  EXPECT_EQ(form.ViewerCaption, path);
  EXPECT_TRUE(form.Format2016);
  EXPECT_EQ(platform.viewerClosed, 1);
  EXPECT_EQ(platform.repaints, repaints);
}

TEST(QviReader, OverflowNeverPassesTheCapacity) {
  FakePlatform platform;
  TMainForm form(platform);
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
  EXPECT_EQ(form.Spots[50000].SecondHalf, 0);  // ceil(100001 / 2) tracks in the first half
  EXPECT_EQ(form.Spots[50001].SecondHalf, 1);

  // Every further file adds its first track until the store is full, then none.
  for (int f = 0; f < 5; ++f) {
    std::vector<Track> tracks = Tracks(2, 3, 0);
    tracks[0].posX = static_cast<float>(-1 - f) - 0.5f;
    form.LoadQVIFile(PlanarFile("more.qvi", tracks), false);
    EXPECT_EQ(platform.messages.size(), static_cast<size_t>(f + 2));
    EXPECT_EQ(platform.messages.back(), "Data Overflow");
    EXPECT_EQ(form.Spots.NSpots, std::min(100002 + f, kStoreCapacity));
  }
  EXPECT_EQ(form.Spots[100004].PosX, -4);  // the fourth file's first track (-4.5 + 0.001)
  EXPECT_EQ(form.NFiles, 6);
}

TEST(QviReader, AllocationFailures) {
  FakePlatform platform;
  TMainForm form(platform);
  std::vector<Track> tracks = Tracks(3, 5, 1);
  tracks.push_back(MakeTrack(7777, 4));
  tracks.push_back(MakeTrack(5, 5));
  const std::string path = PlanarFile("alloc.qvi", tracks);
  gFailSize = (7777 + kSpareFrames) * sizeof(float);
  form.LoadQVIFile(path, true);
  gFailSize = 0;
  EXPECT_EQ(platform.messages, std::vector<std::string>{"Can not allocate memory for Int, X, Y data"});
  // Reading stops, and the last complete track is dropped as well.
  EXPECT_EQ(form.Spots.NSpots, 2);
  EXPECT_EQ(form.NFiles, 1);
  EXPECT_EQ(platform.status.substr(0, 23), "2 objects (2 selected),");

  // The store itself.
  FakePlatform other;
  gFailFrom = sizeof(SpotRec) * kStoreCapacity;
  TMainForm broken(other);
  gFailFrom = 0;
  EXPECT_FALSE(broken.Ready());
  EXPECT_EQ(other.messages, std::vector<std::string>{"Can not allocate memory for SPOT data"});
  EXPECT_TRUE(other.mainClosed);
}

TEST(QviReader, FolderIsAFileThatCannotBeOpened) {
  FakePlatform platform;
  TMainForm form(platform);
  form.LoadQVIFile(::testing::TempDir(), true);
  ASSERT_EQ(platform.messages.size(), 1u);
  EXPECT_EQ(platform.messages[0], "Can not open file");
  EXPECT_EQ(form.NFiles, 0);
}
