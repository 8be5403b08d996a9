#include "TrackBuilders.h"

struct Selection : FormTest {
  SpotRec& Add(int n, float dlat, float averInt, float averVel) {
    SpotRec& t = AddBlankTrack(form, n);
    t.Dlat = dlat, t.AverInt = averInt, t.AverVel = averVel;
    return t;
  }
  // '1' for every track a fresh selection takes, in store order.
  std::string Selected() {
    form.SelectSpots();
    return SelectedMask(form);
  }
};

TEST_F(Selection, ClassesCompareUnevenly) {
  form.S.DlatThresh = 0.25;
  Add(100, 0.25f, 50, 0.5f);   // exactly at every threshold
  Add(99, 0.125f, 49, 0.25f);  // below
  Add(101, 0.5f, 51, 0.75f);   // above
  Add(100, NAN, NAN, NAN);     // not a number passes every class
  EXPECT_EQ(Selected(), "1111");
  const struct {
    const char *item, *all, *mask;
  } cases[] = {
      {"ShowShort", "ShowAll", "1101"},          {"ShowLong", "ShowAll", "1011"},
      {"WeakInt", "All_Int", "1101"},            {"BrightInt", "All_Int", "0011"},
      {"SelectLowDlat", "SelectAllDlat", "1101"}, {"SelectHighDlat", "SelectAllDlat", "1011"},
      {"LowVelocities", "AllVelocities", "1101"}, {"HighVelocities", "AllVelocities", "0011"},
  };
  for (const auto& c : cases) {
    form.Menu.SetChecked(c.item, true);
    EXPECT_EQ(Selected(), c.mask) << c.item;
    form.Menu.SetChecked(c.all, true);
  }
  // Float values meet double thresholds in double: 0.05f lies above 0.05.
  form.S.DlatThresh = 0.05, form.Spots[1].Dlat = 0.05f;
  form.Menu.SetChecked("SelectLowDlat", true);
  EXPECT_EQ(Selected().substr(0, 2), "00");
  form.Menu.SetChecked("SelectHighDlat", true);
  EXPECT_EQ(Selected().substr(0, 2), "11");
}

TEST_F(Selection, WindowFiltersAndValid) {
  const int window[][2] = {{0, 50}, {0, 49}, {60, 5}, {61, 5}};  // FirstFrame, NPoints
  for (const auto& w : window) Add(w[1], 0, 0, 0).FirstFrame = w[0];
  const float stest[] = {1.5f, 1.4f, NAN, 3};
  for (int i = 0; i < 4; ++i) form.Spots[i].STest = stest[i];
  form.Spots[0].SegLen[0] = 2, form.Spots[2].SegLen[0] = 1;
  form.Spots[2].FastFlag = form.Spots[3].FastFlag = 1, form.S.StartFrame = 50;
  for (auto [item, mask] : {std::pair{"UseTimeWindow", "1010"}, {"TwoStepsOnly", "1011"},
                            {"StoppingSpots", "1010"}, {"FastMovingSpots", "0011"}}) {
    form.Menu.SetChecked(item, true);
    EXPECT_EQ(Selected(), mask) << item;
    form.Menu.SetChecked(item, false);
  }
  // A dropped track is never selected; LenThresh 0 leaves "Show Short" only empty tracks.
  form.Spots[2].Valid = 0;
  EXPECT_EQ(Selected(), "1101");
  form.Spots[3].NPoints = 0, form.S.LenThresh = 0;
  form.Menu.SetChecked("ShowShort", true);
  EXPECT_EQ(Selected(), "0001");
}

TEST_F(Selection, StatusBarText) {
  form.UpdateAnalysis();  // an empty store selects nothing
  EXPECT_EQ(form.RightGraph.Notes[0], "Too few objects selected");
  EXPECT_EQ(platform.status, "0 objects (0 selected), IntThresh=50, length=100 points, velThresh=0.5");
  for (int i = 0; i < 5; ++i) Add(10 * i, 0, 0, 0);
  form.S.IntThresh = 47.5, form.S.LenThresh = 25;
  form.S.VelThresh = 0.5 - 0.05 - 0.05;  // shown in at most 15 digits: 0.4
  form.Menu.SetChecked("ShowShort", true);
  EXPECT_EQ(form.SelectSpots(), 3);
  EXPECT_EQ(form.Spots.NSelected, 3);
  EXPECT_EQ(platform.status,
            "5 objects (3 selected), IntThresh=47.5, length=25 points, velThresh=0.4");
  EXPECT_EQ(form.StatusText, platform.status);
}
