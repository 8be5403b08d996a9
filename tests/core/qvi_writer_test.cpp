#include <filesystem>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"

using namespace testfiles;

static void ExpectSameTrack(const SpotRec& read, const SpotRec& saved) {
  ASSERT_EQ(read.NPoints, saved.NPoints);
  EXPECT_EQ((std::vector<int32_t>{read.PosX, read.PosY, read.FirstFrame}),
            (std::vector<int32_t>{saved.PosX, saved.PosY, saved.FirstFrame}));
  EXPECT_EQ(read.HdrValue, 0.0f);
  const int32_t n = read.NPoints;
  EXPECT_TRUE(Frames(read.Int, n) == Frames(saved.Int, n) && Frames(read.X, n) == Frames(saved.X, n) &&
              Frames(read.Y, n) == Frames(saved.Y, n));
}

const std::string kZeroWord(4, '\0');
const std::string kMarker2016("\xE0\x07\0\0", 4);  // the int32 2016, not the float 2016.0

TEST(QviWriter, SelectedTracksRoundTripWithTheMarkerOfTheLastFileRead) {
  for (bool old : {false, true}) {
    SCOPED_TRACE(old ? "from an old-layout file" : "from a 2016 file");
    FakePlatform platform;
    TMainForm form(platform);
    Bytes b;
    const int frames[] = {5, 8, 12, 3};
    for (int i = 0; i < 4; ++i) {
      Track t = MakeTrack(frames[i], i + 1);
      t.hdr = 0.5f + static_cast<float>(i);
      old ? AddOld(b, t) : AddPlanar(b, 2016, t);
    }
    form.LoadQVIFile(WriteFile("source.qvi", b.str()), true);
    form.Spots[1].Valid = 0;                 // dropped by editing
    form.Menu.SetChecked("ShowLong", true);  // the 3-point track is not selected
    form.S.LenThresh = 5;
    form.UpdateAnalysis();

    const std::string out = TempPath("saved.qvi");
    platform.saveAnswers.push_back(out);
    const int repaints = platform.repaints;
    form.SaveDataClick();
    ASSERT_EQ(platform.dialogs.size(), 1u);
    const FileDialog& dialog = platform.dialogs[0];
    EXPECT_EQ(dialog.title + "|" + dialog.filter + "|" + dialog.defaultExt,
              "Save data in QVI file|QVI data file|*.qvi|qvi");
    // No recomputation, nothing removed.
    EXPECT_TRUE(dialog.promptOverwrite && platform.messages.empty() && platform.repaints == repaints &&
                form.Spots.NSpots == 4);

    // Planar blocks of 28 + 12 N bytes: the marker (0 after an old-layout file), a zero
    // word, and no HdrValue; then N as a float.
    const std::string bytes = ReadFile(out);
    ASSERT_EQ(bytes.size(), (28u + 12 * 5) + (28u + 12 * 12));
    for (size_t block : {size_t{0}, size_t{88}})
      EXPECT_EQ(bytes.substr(block, 12), (old ? kZeroWord : kMarker2016) + kZeroWord + kZeroWord);
    float n;
    std::memcpy(&n, bytes.data() + 88 + 20, 4);
    EXPECT_EQ(n, 12.0f);

    // Read back: a 0 marker is announced as the old format.
    FakePlatform platform2;
    TMainForm back(platform2);
    back.LoadQVIFile(out, true);
    EXPECT_TRUE(back.Format2016 != old && back.ZeroMarker == old);
    EXPECT_EQ(platform2.caption, old ? " OLD FORMAT  !!!" : out);
    ASSERT_EQ(back.Spots.NSpots, 2);
    ExpectSameTrack(back.Spots[0], form.Spots[0]);
    ExpectSameTrack(back.Spots[1], form.Spots[2]);
  }
}

TEST(QviWriter, NothingSelectedAndFailures) {
  FakePlatform platform;
  TMainForm form(platform);
  form.SaveDataClick();
  EXPECT_TRUE(platform.messages == std::vector<std::string>{"NULL objects selected"} &&
              platform.dialogs.empty());
  platform.messages.clear();

  form.LoadQVIFile(PlanarFile("one.qvi", {MakeTrack(5, 1)}), true);
  form.Menu.SetChecked("ShowLong", true);
  form.UpdateAnalysis();  // LenThresh 100: nothing selected
  ASSERT_EQ(form.Spots.NSelected, 0);
  const std::string out = WriteFile("emptied.qvi", "old contents");
  platform.saveAnswers.push_back(out);
  form.SaveDataClick();
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_TRUE(std::filesystem::exists(out) && std::filesystem::file_size(out) == 0u);

  platform.saveAnswers.push_back(TempPath("no-such-dir/x.qvi"));
  form.SaveDataClick();
  EXPECT_EQ(platform.messages, std::vector<std::string>{"Can not open file to write data"});
  form.SaveDataClick();  // Cancel
  EXPECT_TRUE(platform.messages.size() == 1u && form.Spots.NSpots == 1);
}
