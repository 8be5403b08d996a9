#include "StoreTestFiles.h"
#include "TrackBuilders.h"

using namespace testfiles;

static bool Whole(float v, float lo, float hi) { return v == std::floor(v) && v >= lo && v <= hi; }

static void ExpectFreshTrack(const SpotRec& t) {
  EXPECT_EQ((std::vector<int32_t>{t.Valid, t.SecondHalf, t.Partner, t.FastFlag, t.PosX, t.PosY,
                                  t.FirstFrame}),
            (std::vector<int32_t>{1, 1, -1, 0, 0, 0, 0}));
  EXPECT_GE(t.X.size(), t.NPoints + kSpareFrames);
}

using TxtImport = FormTest;

TEST_F(TxtImport, RowsAndSyntheticTracks) {
  const std::string text = "1.5\t2.5\n3\t4\r\n-0.25\t1e2\nabc\txyz\n12abc\t 7\n5\n" +
                           std::string(80, '0') + "7\t9\n7\t8";
  platform.openAnswers.push_back({WriteFile("track.txt", text)});
  form.DualsFound = true;
  form.OpenXYtxtClick();
  ASSERT_EQ(platform.dialogs.size(), 1u);
  EXPECT_TRUE(platform.dialogs[0].filter == "TXT file|*.txt" && platform.messages.empty());

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
    EXPECT_TRUE(Whole(t.Int[k], 20, 39)) << t.Int[k];
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
      bad += !Whole(s.X[k], 0, 49) || !Whole(s.Y[k], 0, 49) ||
             !Whole(s.Int[k], 0, 199);
    EXPECT_EQ(bad, 0) << "track " << i;
  }
  EXPECT_TRUE(form.Spots.NSelected == 10 && form.CurSpot == 0 && !form.DualsFound);
}

TEST_F(TxtImport, ReplacesFirstRecordsAndOpenErrorKeepsTheStore) {
  form.LoadQVIFile(PlanarFile("twenty.qvi", Tracks(20, 4, 0)), true);
  ASSERT_EQ(form.Spots.NSpots, 20);

  platform.openAnswers.push_back({WriteFile("short.txt", "1\t2\n3\t4\n")});
  form.OpenXYtxtClick();
  // Beyond the twelve records the import fills, the file's tracks are untouched.
  EXPECT_EQ((std::vector<int32_t>{form.Spots.NSpots, form.Spots[0].NPoints,
                                  form.Spots[11].NPoints, form.Spots[12].NPoints,
                                  form.Spots[12].PosX}),
            (std::vector<int32_t>{10, 2, 100, 4, 22}));

  const float x1 = form.Spots[1].X[0];
  const int repaints = platform.repaints;
  platform.openAnswers.push_back({TempPath("no-such-dir/missing.txt")});
  form.OpenXYtxtClick();
  EXPECT_EQ(platform.messages, std::vector<std::string>{"File Open Error"});
  EXPECT_TRUE(form.Spots.NSpots == 10 && form.Spots[0].NPoints == 2);
  EXPECT_TRUE(form.Spots[0].X[1] == 3.0f && form.Spots[1].X[0] == x1 && platform.repaints == repaints);
  form.OpenXYtxtClick();  // Cancel
  EXPECT_TRUE(platform.messages.size() == 1u && platform.repaints == repaints);
}
