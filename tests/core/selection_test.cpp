#include <gtest/gtest.h>

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
