#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "FakePlatform.h"
#include "app/MainForm.h"

TEST(Selection, EmptyStoreSelectsNothing) {
  FakePlatform platform;
  TMainForm form(platform);
  form.UpdateAnalysis();
  EXPECT_EQ(form.Spots.NSelected, 0);
  EXPECT_EQ(form.RightGraph.Notes[0], "Too few objects selected");
  EXPECT_EQ(platform.status, "0 objects (0 selected), IntThresh=50, length=100 points, velThresh=0.5");
}

namespace {

const float kNaN = std::numeric_limits<float>::quiet_NaN();

SpotRec& AddTrack(TMainForm& form, int n, float dlat, float averInt, float averVel) {
  SpotRec& t = form.Spots[form.Spots.NSpots++];
  t.Valid = 1;
  t.NPoints = n;
  t.Dlat = dlat;
  t.AverInt = averInt;
  t.AverVel = averVel;
  return t;
}

// '1' for every selected track, in store order.
std::string SelectedMask(TMainForm& form) {
  form.SelectSpots();
  std::string mask;
  for (int i = 0; i < form.Spots.NSpots; ++i) mask += form.Spots[i].Selected ? '1' : '0';
  return mask;
}

}  // namespace

TEST(Selection, ClassesCompareUnevenly) {
  FakePlatform platform;
  TMainForm form(platform);
  form.S.DlatThresh = 0.25;
  AddTrack(form, 100, 0.25f, 50, 0.5f);    // exactly at every threshold
  AddTrack(form, 99, 0.125f, 49, 0.25f);   // below
  AddTrack(form, 101, 0.5f, 51, 0.75f);    // above
  AddTrack(form, 100, kNaN, kNaN, kNaN);   // not a number passes every class
  EXPECT_EQ(SelectedMask(form), "1111");
  const struct {
    const char* item;
    const char* all;
    const char* mask;
  } cases[] = {
      {"ShowShort", "ShowAll", "1101"},          {"ShowLong", "ShowAll", "1011"},
      {"WeakInt", "All_Int", "1101"},            {"BrightInt", "All_Int", "0011"},
      {"SelectLowDlat", "SelectAllDlat", "1101"}, {"SelectHighDlat", "SelectAllDlat", "1011"},
      {"LowVelocities", "AllVelocities", "1101"}, {"HighVelocities", "AllVelocities", "0011"},
  };
  for (const auto& c : cases) {
    form.Menu.SetChecked(c.item, true);
    EXPECT_EQ(SelectedMask(form), c.mask) << c.item;
    form.Menu.SetChecked(c.all, true);
  }
  // Float values meet double thresholds in double: 0.05f lies above 0.05.
  form.S.DlatThresh = 0.05;
  form.Spots[1].Dlat = 0.05f;
  form.Menu.SetChecked("SelectLowDlat", true);
  EXPECT_EQ(SelectedMask(form).substr(0, 2), "00");
  form.Menu.SetChecked("SelectHighDlat", true);
  EXPECT_EQ(SelectedMask(form).substr(0, 2), "11");
}

TEST(Selection, WindowFiltersAndValid) {
  FakePlatform platform;
  TMainForm form(platform);
  const int window[][2] = {{0, 50}, {0, 49}, {60, 5}, {61, 5}};  // FirstFrame, NPoints
  for (const auto& w : window) AddTrack(form, w[1], 0, 0, 0).FirstFrame = w[0];
  form.Spots[0].STest = 1.5f;
  form.Spots[1].STest = 1.4f;
  form.Spots[2].STest = kNaN;
  form.Spots[3].STest = 3;
  form.Spots[0].SegLen[0] = 2;
  form.Spots[2].SegLen[0] = 1;
  form.Spots[2].FastFlag = 1;
  form.Spots[3].FastFlag = 1;

  form.S.StartFrame = 50;
  form.Menu.SetChecked("UseTimeWindow", true);
  EXPECT_EQ(SelectedMask(form), "1010");
  form.Menu.SetChecked("UseTimeWindow", false);
  form.Menu.SetChecked("TwoStepsOnly", true);
  EXPECT_EQ(SelectedMask(form), "1011");
  form.Menu.SetChecked("TwoStepsOnly", false);
  form.Menu.SetChecked("StoppingSpots", true);
  EXPECT_EQ(SelectedMask(form), "1010");
  form.Menu.SetChecked("StoppingSpots", false);
  form.Menu.SetChecked("FastMovingSpots", true);
  EXPECT_EQ(SelectedMask(form), "0011");
  form.Menu.SetChecked("FastMovingSpots", false);

  // A dropped track is never selected; LenThresh 0 leaves "Show Short" only empty tracks.
  form.Spots[2].Valid = 0;
  EXPECT_EQ(SelectedMask(form), "1101");
  form.Spots[3].NPoints = 0;
  form.S.LenThresh = 0;
  form.Menu.SetChecked("ShowShort", true);
  EXPECT_EQ(SelectedMask(form), "0001");
}

TEST(Selection, StatusBarText) {
  FakePlatform platform;
  TMainForm form(platform);
  for (int i = 0; i < 5; ++i) AddTrack(form, 10 * i, 0, 0, 0);
  form.S.IntThresh = 47.5;
  form.S.LenThresh = 25;
  form.S.VelThresh = 0.5 - 0.05 - 0.05;  // shown in at most 15 digits: 0.4
  form.Menu.SetChecked("ShowShort", true);
  EXPECT_EQ(form.SelectSpots(), 3);
  EXPECT_EQ(form.Spots.NSelected, 3);
  EXPECT_EQ(platform.status,
            "5 objects (3 selected), IntThresh=47.5, length=25 points, velThresh=0.4");
  EXPECT_EQ(form.StatusText, platform.status);
}
