#include <gtest/gtest.h>

#include <cmath>

#include "FakePlatform.h"
#include "StoreTestFiles.h"
#include "app/MainForm.h"

using namespace testfiles;

namespace {

bool IsIntegerIn(float v, float lo, float hi) { return v == std::floor(v) && v >= lo && v <= hi; }

void ExpectFreshTrack(const SpotRec& t) {
  EXPECT_EQ(t.Valid, 1);
  EXPECT_EQ(t.SecondHalf, 1);
  EXPECT_EQ(t.Partner, -1);
  EXPECT_EQ(t.FastFlag, 0);
  EXPECT_EQ(t.PosX, 0);
  EXPECT_EQ(t.PosY, 0);
  EXPECT_EQ(t.FirstFrame, 0);
  EXPECT_GE(t.X.size(), t.NPoints + kSpareFrames);
}

}  // namespace

TEST(TxtImport, RowsAndSyntheticTracks) {
  FakePlatform platform;
  TMainForm form(platform);
  const std::string text = "1.5\t2.5\n3\t4\r\n-0.25\t1e2\nabc\txyz\n12abc\t 7\n5\n" +
                           std::string(80, '0') + "7\t9\n7\t8";
  platform.openAnswers.push_back({WriteFile("track.txt", text)});
  form.DualsFound = true;
  form.OpenXYtxtClick();
  ASSERT_EQ(platform.dialogs.size(), 1u);
  EXPECT_EQ(platform.dialogs[0].filter, "TXT file|*.txt");
  EXPECT_TRUE(platform.messages.empty());

  // The last line has no line feed and is not stored; a line without a tab has X 0;
  // a token is cut after 64 characters; what is not a number reads as 0.
  const SpotRec& t = form.Spots[0];
  const float x[] = {1.5f, 3, -0.25f, 0, 12, 0, 0};
  const float y[] = {2.5f, 4, 100, 0, 7, 5, 9};
  ASSERT_EQ(t.NPoints, 7);
  float sum = 0;
  for (int k = 0; k < 7; ++k) {
    EXPECT_EQ(t.X[k], x[k]) << k;
    EXPECT_EQ(t.Y[k], y[k]) << k;
    EXPECT_TRUE(IsIntegerIn(t.Int[k], 20, 39)) << t.Int[k];
    sum += t.Int[k];
  }
  ExpectFreshTrack(t);
  EXPECT_EQ(t.AverInt, sum / 7.0f);
  float msd[10000], dk[10000];
  EXPECT_EQ(t.Dlat, static_cast<float>(CalcTrackMSD(x, y, 7, 0.03f, dk, msd, false)));

  // Nine synthetic companions in use, two more filled beyond NSpots.
  EXPECT_EQ(form.Spots.NSpots, 10);
  for (int i = 1; i <= 11; ++i) {
    const SpotRec& s = form.Spots[i];
    ASSERT_EQ(s.NPoints, 100);
    ExpectFreshTrack(s);
    int bad = 0;
    for (int k = 0; k < 100; ++k)
      bad += !IsIntegerIn(s.X[k], 0, 49) || !IsIntegerIn(s.Y[k], 0, 49) ||
             !IsIntegerIn(s.Int[k], 0, 199);
    EXPECT_EQ(bad, 0) << "track " << i;
  }
  EXPECT_EQ(form.Spots.NSelected, 10);
  EXPECT_EQ(form.CurSpot, 0);
  EXPECT_FALSE(form.DualsFound);
}

TEST(TxtImport, StopsAtTenThousandRows) {
  FakePlatform platform;
  TMainForm form(platform);
  std::string text;
  for (int i = 0; i < 20000; ++i) text += std::to_string(i) + "\t-" + std::to_string(i) + "\n";
  platform.openAnswers.push_back({WriteFile("long.txt", text)});
  form.OpenXYtxtClick();
  const SpotRec& t = form.Spots[0];
  ASSERT_EQ(t.NPoints, 10000);
  EXPECT_GE(t.X.size(), 10005);
  EXPECT_EQ(t.X[9999], 9999.0f);
  EXPECT_EQ(t.Y[9999], -9999.0f);
  EXPECT_EQ(form.Spots.NSpots, 10);
}

TEST(TxtImport, ReplacesFirstRecordsAndOpenErrorKeepsTheStore) {
  FakePlatform platform;
  TMainForm form(platform);
  Bytes b;
  for (int i = 0; i < 20; ++i) AddPlanar(b, 2016, MakeTrack(4, i));
  form.LoadQVIFile(WriteFile("twenty.qvi", b.str()), true);
  ASSERT_EQ(form.Spots.NSpots, 20);

  platform.openAnswers.push_back({WriteFile("short.txt", "1\t2\n3\t4\n")});
  form.OpenXYtxtClick();
  EXPECT_EQ(form.Spots.NSpots, 10);
  EXPECT_EQ(form.Spots[0].NPoints, 2);
  EXPECT_EQ(form.Spots[11].NPoints, 100);
  EXPECT_EQ(form.Spots[12].NPoints, 4);  // beyond the twelve: untouched
  EXPECT_EQ(form.Spots[12].PosX, 22);

  const float x1 = form.Spots[1].X[0];
  const int repaints = platform.repaints;
  platform.openAnswers.push_back({TempPath("no-such-dir/missing.txt")});
  form.OpenXYtxtClick();
  EXPECT_EQ(platform.messages, std::vector<std::string>{"File Open Error"});
  EXPECT_EQ(form.Spots.NSpots, 10);
  EXPECT_EQ(form.Spots[0].NPoints, 2);
  EXPECT_EQ(form.Spots[0].X[1], 3.0f);
  EXPECT_EQ(form.Spots[1].X[0], x1);
  EXPECT_EQ(platform.repaints, repaints);

  form.OpenXYtxtClick();  // Cancel
  EXPECT_EQ(platform.messages.size(), 1u);
  EXPECT_EQ(platform.repaints, repaints);
}
