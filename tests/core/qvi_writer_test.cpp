#include <gtest/gtest.h>

#include <filesystem>

#include "FakePlatform.h"
#include "StoreTestFiles.h"
#include "app/MainForm.h"

using namespace testfiles;

namespace {

void ExpectSameTrack(const SpotRec& read, const SpotRec& saved) {
  ASSERT_EQ(read.NPoints, saved.NPoints);
  EXPECT_EQ(read.PosX, saved.PosX);
  EXPECT_EQ(read.PosY, saved.PosY);
  EXPECT_EQ(read.FirstFrame, saved.FirstFrame);
  EXPECT_EQ(read.HdrValue, 0.0f);
  for (int k = 0; k < saved.NPoints; ++k) {
    EXPECT_EQ(read.Int[k], saved.Int[k]);
    EXPECT_EQ(read.X[k], saved.X[k]);
    EXPECT_EQ(read.Y[k], saved.Y[k]);
  }
}

std::string Word(const std::string& bytes, size_t offset) { return bytes.substr(offset, 4); }
const std::string kZeroWord(4, '\0');
const std::string kMarker2016("\xE0\x07\0\0", 4);  // the int32 2016, not the float 2016.0

}  // namespace

TEST(QviWriter, RoundTripOfSelectedTracks) {
  FakePlatform platform;
  TMainForm form(platform);
  Bytes b;
  const int frames[] = {5, 8, 12, 3};
  for (int i = 0; i < 4; ++i) {
    Track t = MakeTrack(frames[i], i + 1);
    t.hdr = 0.5f + static_cast<float>(i);
    AddPlanar(b, 2016, t);
  }
  form.LoadQVIFile(WriteFile("source.qvi", b.str()), true);
  form.Spots[1].Valid = 0;              // dropped by editing
  form.Menu.SetChecked("ShowLong", true);  // the 3-point track is not selected
  form.S.LenThresh = 5;
  form.UpdateAnalysis();

  const std::string out = TempPath("saved.qvi");
  platform.saveAnswers.push_back(out);
  const int repaints = platform.repaints;
  form.SaveDataClick();
  ASSERT_EQ(platform.dialogs.size(), 1u);
  EXPECT_EQ(platform.dialogs[0].title, "Save data in QVI file");
  EXPECT_EQ(platform.dialogs[0].filter, "QVI data file|*.qvi");
  EXPECT_EQ(platform.dialogs[0].defaultExt, "qvi");
  EXPECT_TRUE(platform.dialogs[0].promptOverwrite);
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(platform.repaints, repaints);  // no recomputation
  EXPECT_EQ(form.Spots.NSpots, 4);

  const std::string bytes = ReadFile(out);
  ASSERT_EQ(bytes.size(), (28u + 12 * 5) + (28u + 12 * 12));
  for (size_t block : {size_t{0}, size_t{88}}) {
    EXPECT_EQ(Word(bytes, block), kMarker2016);
    EXPECT_EQ(Word(bytes, block + 4), kZeroWord);
    EXPECT_EQ(Word(bytes, block + 8), kZeroWord);  // HdrValue is not written
  }
  float n;
  std::memcpy(&n, bytes.data() + 88 + 20, 4);
  EXPECT_EQ(n, 12.0f);

  FakePlatform platform2;
  TMainForm back(platform2);
  back.LoadQVIFile(out, true);
  EXPECT_TRUE(back.Format2016);
  EXPECT_EQ(platform2.caption, out);
  ASSERT_EQ(back.Spots.NSpots, 2);
  ExpectSameTrack(back.Spots[0], form.Spots[0]);
  ExpectSameTrack(back.Spots[1], form.Spots[2]);
}

TEST(QviWriter, MarkerFollowsTheLastFileRead) {
  FakePlatform platform;
  TMainForm form(platform);
  Bytes old;
  AddOld(old, MakeTrack(6, 1));
  AddOld(old, MakeTrack(4, 2));
  form.LoadQVIFile(WriteFile("old-src.qvi", old.str()), true);
  const std::string out = TempPath("from-old.qvi");
  platform.saveAnswers.push_back(out);
  form.SaveDataClick();
  const std::string bytes = ReadFile(out);
  ASSERT_EQ(bytes.size(), (28u + 12 * 6) + (28u + 12 * 4));
  EXPECT_EQ(Word(bytes, 0), kZeroWord);
  EXPECT_EQ(Word(bytes, 100), kZeroWord);

  // Read back: planar blocks, announced as the old format.
  FakePlatform platform2;
  TMainForm back(platform2);
  back.LoadQVIFile(out, true);
  EXPECT_TRUE(back.ZeroMarker);
  EXPECT_EQ(platform2.caption, " OLD FORMAT  !!!");
  ASSERT_EQ(back.Spots.NSpots, 2);
  ExpectSameTrack(back.Spots[0], form.Spots[0]);
  ExpectSameTrack(back.Spots[1], form.Spots[1]);
}

TEST(QviWriter, NothingSelectedAndFailures) {
  FakePlatform platform;
  TMainForm form(platform);
  form.SaveDataClick();
  EXPECT_EQ(platform.messages, std::vector<std::string>{"NULL objects selected"});
  EXPECT_TRUE(platform.dialogs.empty());
  platform.messages.clear();

  Bytes b;
  AddPlanar(b, 2016, MakeTrack(5, 1));
  form.LoadQVIFile(WriteFile("one.qvi", b.str()), true);
  form.Menu.SetChecked("ShowLong", true);
  form.UpdateAnalysis();  // LenThresh 100: nothing selected
  ASSERT_EQ(form.Spots.NSelected, 0);
  const std::string out = WriteFile("emptied.qvi", "old contents");
  platform.saveAnswers.push_back(out);
  form.SaveDataClick();
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_TRUE(std::filesystem::exists(out));
  EXPECT_EQ(std::filesystem::file_size(out), 0u);

  platform.saveAnswers.push_back(TempPath("no-such-dir/x.qvi"));
  form.SaveDataClick();
  EXPECT_EQ(platform.messages, std::vector<std::string>{"Can not open file to write data"});

  form.SaveDataClick();  // Cancel
  EXPECT_EQ(platform.messages.size(), 1u);
  EXPECT_EQ(form.Spots.NSpots, 1);
}
