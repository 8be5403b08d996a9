// The real main window on Qt's offscreen platform: menus, the sample's default panels, keys.
#include <QTimer>
#include <fstream>

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

// A TrackMate 7 spots CSV dropped onto the window is imported: its units line gives µm
// and seconds, so no dialog is needed, and dT becomes its frame interval.
TEST_F(MainWindowTest, DroppedTrackMateTableIsImported) {
  std::string csv = "LABEL,ID,TRACK_ID,POSITION_X,POSITION_Y,POSITION_T,FRAME,MEAN_INTENSITY_CH1\n"
                    "Label,Spot ID,Track ID,X,Y,T,Frame,Mean\nLabel,ID,Track,X,Y,T,Frame,Mean\n"
                    ",,,(micron),(micron),(sec),,(counts)\n";
  for (int track = 0; track < 4; ++track)
    for (int frame = 0; frame < 12; ++frame)
      csv += "s,0," + std::to_string(track) + "," + std::to_string(track + 0.01 * (frame % 3)) +
             ",1," + std::to_string(0.025 * frame) + "," + std::to_string(frame) + ",100\n";
  const std::string path = KINETRA_BINARY_DIR "/dropped_spots.csv";
  { std::ofstream(path) << csv; }
  MainWindow window(false);
  // The import's message box is closed as soon as it shows, as a user would click OK.
  QTimer closer;
  QObject::connect(&closer, &QTimer::timeout, [] {
    if (QWidget* box = QApplication::activeModalWidget()) box->close();
  });
  closer.start(20);
  window.OpenFiles({QString::fromStdString(path)});
  TMainForm& form = window.form();
  EXPECT_EQ(form.Spots.NSpots, 4);
  EXPECT_EQ(form.S.dT, 0.025);
  EXPECT_EQ(window.windowTitle().toStdString(), path);
}
