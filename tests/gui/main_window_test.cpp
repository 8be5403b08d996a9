// The real main window on Qt's offscreen platform: menus, the sample's default panels, keys.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QMenuBar>
#include <QPixmap>

#include "QtTestApp.h"
#include "app/MainForm.h"
#include "gui/MainWindow.h"
#include "gui/QtBitmap.h"

namespace {

const char* const kSample = KINETRA_SOURCE_DIR "/examples/sample.qvi";

class MainWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    EnsureQtApp();
    InstallQtBitmapFactory();
  }
};

// Pixels of exactly this colour, as drawn (RGB).
int CountPixels(const QImage& image, QRgb color) {
  int count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if ((image.pixel(x, y) & 0xFFFFFF) == (color & 0xFFFFFF)) ++count;
  return count;
}

}  // namespace

TEST_F(MainWindowTest, MenusComeFromTheModelAndFollowCommands) {
  MainWindow window(false);
  QStringList titles;
  for (QAction* action : window.menuBar()->actions()) titles << action->text();
  EXPECT_EQ(titles.join("|").toStdString(),
            "File|Left-D_lat|Right-MSD-dT|Settings(dT=30ms)|Action|FILTER|RunFilter|LenSet(All)|"
            "intThrsh(All)|DlatSet(All)|VelSet(All)");

  window.RunCommand("ShowShort");
  window.RunCommand("L_ShowMSD");
  titles.clear();
  for (QAction* action : window.menuBar()->actions()) titles << action->text();
  EXPECT_TRUE(titles.contains("LenSet(Short)"));
  EXPECT_TRUE(titles.contains("Left-MSD-dT"));
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
  EXPECT_GT(CountPixels(shot, qRgb(0, 0, 255)), 200);
  EXPECT_GT(CountPixels(shot, qRgb(255, 0, 0)), 200);

  const int lenThresh = form.S.LenThresh;
  QKeyEvent up(QEvent::KeyPress, Qt::Key_Up, Qt::NoModifier);
  QApplication::sendEvent(&window, &up);
  EXPECT_EQ(form.S.LenThresh, lenThresh + 1);
  QKeyEvent left(QEvent::KeyPress, Qt::Key_Left, Qt::NoModifier);
  QApplication::sendEvent(&window, &left);
  EXPECT_EQ(form.S.IntThresh, 49.0);
}
