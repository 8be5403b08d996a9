// The real main window on Qt's offscreen platform: menus, the sample's default panels, keys.
#include "QtTestApp.h"

using MainWindowTest = QtTest;

TEST_F(MainWindowTest, MenusComeFromTheModelAndFollowCommands) {
  MainWindow window(false);
  EXPECT_EQ(MenuTitles(window.menuBar()),
            "File|Left-D_lat|Right-MSD-dT|Settings(dT=30ms)|Action|FILTER|RunFilter|LenSet(All)|"
            "intThrsh(All)|DlatSet(All)|VelSet(All)|Estimators");
  window.RunCommand("ShowShort");
  window.RunCommand("L_ShowMSD");
  const std::string titles = MenuTitles(window.menuBar());
  EXPECT_TRUE(titles.find("|LenSet(Short)|") != std::string::npos &&
              titles.find("|Left-MSD-dT|") != std::string::npos) << titles;
}

TEST_F(MainWindowTest, SampleShowsBothDefaultPanelsAndKeysMoveThresholds) {
  MainWindow window(false);
  window.show();
  window.OpenFiles({kSample});
  QApplication::processEvents();
  TMainForm& form = window.form();
  ASSERT_GT(form.Spots.NSpots, 100);
  EXPECT_EQ(window.windowTitle().toStdString(), kSample);

  const QImage shot = window.grab().toImage();
  shot.save(KINETRA_BINARY_DIR "/main_window_sample.png");
  EXPECT_GE(shot.width(), 1197);
  // The Dlat histogram is drawn in blue, the mean MSD in red; both must be on screen.
  EXPECT_TRUE(CountPixels(shot, qRgb(0, 0, 255)) > 200 && CountPixels(shot, qRgb(255, 0, 0)) > 200);

  const int lenThresh = form.S.LenThresh;
  PressKey(&window, Qt::Key_Up);
  EXPECT_EQ(form.S.LenThresh, lenThresh + 1);
  PressKey(&window, Qt::Key_Left);
  EXPECT_EQ(form.S.IntThresh, 49.0);
}
