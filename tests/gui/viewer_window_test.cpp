// The single-track viewer window on Qt's offscreen platform: every view of a sample track
// as a screenshot, keys, a dragged zoom, the replay timer, closing and reloading. The rows
// of each view, the fused one included, are checked without a window in viewer_test.
#include <QElapsedTimer>

#include "QtTestApp.h"
#include "app/GraphForm.h"
#include "gui/ViewerWindow.h"

// Pixels the series add to the picture: the same chart drawn without its data differs
// from the screenshot in this many places.
static int SeriesInk(ViewerWindow& viewer, const QImage& shot) {
  TQVgraph& graph = viewer.graph().Graph;
  graph.HasData = false;
  const QImage frame = viewer.grab().toImage();
  graph.HasData = true;
  return DifferentPixels(shot, frame, 0, std::min(shot.width(), frame.width()));
}

// The main window with the sample open and the viewer on its first selected track of at
// least `points` points.
class ViewerWindowTest : public QtTest {
 protected:
  void SetUp() override {
    window.show();
    window.OpenFiles({kSample});
  }
  void ShowTrack(int32_t points) {
    for (int32_t i = 0; i < form.Spots.NSpots && track < 0; ++i)
      if (form.Spots[i].Selected && form.Spots[i].NPoints >= points) track = i;
    ASSERT_GE(track, 0);
    form.CurSpot = track;
    form.ShowCurrentSpot();
  }
  static QImage Shot(ViewerWindow& viewer, const std::string& name) {
    QApplication::processEvents();
    const QImage image = viewer.grab().toImage();
    image.save(QString::fromStdString(KINETRA_BINARY_DIR "/viewer_" + name + ".png"));
    return image;
  }
  MainWindow window{false};
  TMainForm& form = window.form();
  ViewerWindow& viewer = *window.viewer();
  TGraphForm& graph = viewer.graph();
  int32_t track = -1;
};

TEST_F(ViewerWindowTest, EveryViewOfASampleTrack) {
  EXPECT_FALSE(viewer.isVisible());
  ShowTrack(150);
  ASSERT_TRUE(viewer.isVisible());
  EXPECT_EQ(viewer.windowTitle().toStdString() + " " + MenuTitles(viewer.menuBar()),
            "Kinetra - Graph File|Settings|Show");
  EXPECT_EQ(graph.Graph.Caption, kSample);

  const char* views[] = {"IntensityXY", "Show_MSD_dT",    "ShowDistAutoCorr",
                         "ShowXverYgraph", "ShowYverIntens", "ShowDrift"};
  for (const char* item : views) {
    viewer.RunCommand(item);
    EXPECT_GT(SeriesInk(viewer, Shot(viewer, item)), 1000) << item;
    EXPECT_GT(graph.Graph.DataEnd, 2) << item;
  }
  viewer.RunCommand("IntensityXY");
  viewer.RunCommand("ShowVelocity");
  EXPECT_GT(SeriesInk(viewer, Shot(viewer, "velocity")), 1000);
  viewer.RunCommand("ShowVelocity");
  EXPECT_GT(CountPixels(Shot(viewer, "intensity"), qRgb(255, 0, 0)), 300);

}

TEST_F(ViewerWindowTest, KeysMouseTimerResizeAndClose) {
  ShowTrack(100);
  viewer.resize(700, 480);
  QApplication::processEvents();
  QWidget* canvas = viewer.centralWidget();
  EXPECT_EQ(QSize(graph.Graph.Bitmap->Width(), graph.Graph.Bitmap->Height()), canvas->size());

  PressKey(&viewer, Qt::Key_Right);
  EXPECT_EQ(graph.FirstIndex, 1);
  PressKey(&viewer, Qt::Key_Plus, Qt::KeypadModifier);
  EXPECT_EQ(graph.Graph.Series[1].SymbolSize, 11);
  PressKey(&viewer, Qt::Key_PageUp);
  EXPECT_TRUE(form.CurSpot > track && graph.SpotIndex == form.CurSpot);

  // Dragging over the middle of the time axis zooms in and offers the trim.
  QApplication::processEvents();
  const int y = canvas->height() / 2;
  const int x1 = canvas->width() * 2 / 5, x2 = canvas->width() * 3 / 5;
  auto mouse = [&](QEvent::Type type, int x, Qt::MouseButtons buttons) {
    QMouseEvent event(type, QPointF(x, y), canvas->mapToGlobal(QPointF(x, y)), Qt::LeftButton,
                      buttons, Qt::NoModifier);
    QApplication::sendEvent(canvas, &event);
  };
  mouse(QEvent::MouseButtonPress, x1, Qt::LeftButton);
  mouse(QEvent::MouseMove, x2, Qt::LeftButton);
  mouse(QEvent::MouseButtonRelease, x2, Qt::NoButton);
  EXPECT_TRUE(graph.FirstIndex > 0 && graph.LastIndex < form.Spots[graph.SpotIndex].NPoints - 1 &&
              graph.Menu.Item("RemoveEnds").enabled);
  mouse(QEvent::MouseMove, (x1 + x2) / 2, Qt::NoButton);
  EXPECT_EQ(graph.StatusText.rfind("Time=", 0), 0u);

  // The 50 ms timer replays the path.
  viewer.RunCommand("DynamicXY");
  const int32_t start = graph.ReplayIndex;
  QElapsedTimer clock;
  clock.start();
  while (graph.ReplayIndex < start + 3 && clock.elapsed() < 3000) QApplication::processEvents();
  EXPECT_GE(graph.ReplayIndex, start + 3);

  // Closing stops the replay; a file load closes an open viewer.
  viewer.close();
  EXPECT_FALSE(graph.TimerEnabled);
  form.ShowCurrentSpot();
  ASSERT_TRUE(viewer.isVisible());
  window.OpenFiles({kSample});
  EXPECT_FALSE(viewer.isVisible());
}
