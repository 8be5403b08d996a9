// Track files of other programs through the main window's commands: calibration asked
// once, dT taken exactly, positions physical for every analysis that reads them, a failed
// import leaving the store alone, and the tracks out as QVI and CSV and back.
#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "cli/TrackTable.h"
#include "stats/NeighbourPanel.h"

namespace {

// A trackpy table in pixels without a frame interval: still tracks at the given pixel
// positions, 8 frames each (rows in no particular order).
std::string TrackpyFile(const std::string& name,
                        const std::vector<std::pair<double, double>>& positions) {
  std::string text = "frame,particle,x,y,mass\n";
  for (int f = 7; f >= 0; --f)
    for (size_t p = 0; p < positions.size(); ++p)
      text += std::to_string(f) + "," + std::to_string(p) + "," +
              std::to_string(positions[p].first + 0.01 * (f % 2)) + "," +
              std::to_string(positions[p].second) + ",150\n";
  return WriteFile(name, text);
}

using ImportCommands = FormTest;

}  // namespace

TEST_F(ImportCommands, CalibrationAskedOnceAndPositionsPhysical) {
  // 1 µm = 6.25 pixels of 0.16 µm: tracks 0 and 1 are 1 µm apart, track 2 is 2 µm from 0,
  // track 3 sits 0.32 µm (2 pixels) from track 2.
  const std::string csv =
      TrackpyFile("cells.csv", {{100, 100}, {106.25, 100}, {100, 112.5}, {102, 112.5}});
  platform.openAnswers = {{csv}};
  platform.calibrationAnswers = {{0.16, 0.00748}};
  ASSERT_TRUE(form.RunCommand("ImportTracks"));
  ASSERT_EQ(platform.calibrationAsked, std::vector<std::string>{csv});
  ASSERT_EQ(form.Spots.NSpots, 4);
  EXPECT_EQ(form.S.dT, 0.00748);
  EXPECT_EQ(form.Menu.Caption("Settings") + "|" + form.Menu.Caption("DeltaTime"),
            "Settings(dT=7.48ms)|Time Interval=7.48ms");
  EXPECT_EQ(platform.messages.at(0).rfind(
                "4 tracks imported (0 split at gaps, 0 branches cut, 0 single points left out)", 0),
            0u);
  EXPECT_FALSE(form.Format2016 || form.OldFormat);
  EXPECT_EQ(platform.caption, csv);

  // Nearest neighbours from the centres: 1, 1, 0.32 and 0.32 µm.
  std::vector<float> cx(kStoreCapacity), cy(kStoreCapacity), d2(kStoreCapacity);
  TrackCentres(form.Spots, cx.data(), cy.data(), nullptr);
  ASSERT_EQ(NearestNeighbourDistancesQuadratic(form.Spots, cx.data(), cy.data(), d2.data()), 4);
  const double expected[] = {1, 1, 0.32, 0.32};
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(std::sqrt(d2[i]), expected[i], 1e-5) << i;
  // Tracks 2 and 3 run within the Critical Distance (0.2 µm)? No: 0.32 µm apart. With
  // 0.4 µm they pair.
  platform.promptAnswers = {"0.4", "1"};
  ASSERT_TRUE(form.RunCommand("SetDistanceLimit"));
  ASSERT_TRUE(form.RunCommand("MinNumDataPointsSet"));
  platform.messages.clear();
  ASSERT_TRUE(form.RunCommand("FindDualTracks"));
  EXPECT_EQ(platform.messages, std::vector<std::string>{"1"});
  EXPECT_TRUE(form.Spots[2].Partner == 3 && form.Spots[3].Partner == 2);
}

TEST_F(ImportCommands, DuplicatesAndShiftSeeTenthsOfMicrometres) {
  // 0.4 µm apart (PosX differs by 4 < 6): one is a duplicate; 0.96 µm apart stays.
  const std::string csv = TrackpyFile("dup.csv", {{100, 100}, {102.5, 100}, {106, 100}});
  platform.openAnswers = {{csv}};
  platform.calibrationAnswers = {{0.16, 0.03}};
  ASSERT_TRUE(form.RunCommand("ImportTracks"));
  const int32_t posX = form.Spots[0].PosX;
  EXPECT_EQ(posX, 160);  // 16.0 µm in tenths
  ASSERT_TRUE(form.RunCommand("RemoveDupicates1"));
  EXPECT_EQ(ValidMask(form), "011");
  ASSERT_TRUE(form.RunCommand("ShiftDown"));
  EXPECT_EQ(form.Spots[0].PosX, posX + 2);  // the default 0.2 µm
}

TEST_F(ImportCommands, FailedImportLeavesTheStore) {
  form.LoadQVIFile(KINETRA_SOURCE_DIR "/examples/sample.qvi", true);
  const int32_t before = form.Spots.NSpots;
  const double dT = form.S.dT;
  const std::string csv = TrackpyFile("nocal.csv", {{1, 1}, {5, 5}});
  platform.messages.clear();
  platform.openAnswers = {{csv}};  // and the calibration dialog cancelled
  ASSERT_TRUE(form.RunCommand("AddTracks"));
  EXPECT_EQ(form.Spots.NSpots, before);
  EXPECT_EQ(form.S.dT, dT);
  ASSERT_EQ(platform.messages.size(), 1u);
  EXPECT_EQ(platform.messages[0].rfind(csv + ": positions are in pixels", 0), 0u);
}

// Imported tracks saved as QVI and as CSV read back to the same per-track table.
TEST_F(ImportCommands, SavedAsQviAndCsvReadBackTheSame) {
  const std::string csv = TrackpyFile("moving.csv", {{10, 10}, {40, 20}, {80, 90}, {30, 60}});
  platform.openAnswers = {{csv}};
  platform.calibrationAnswers = {{0.16, 0.02}};
  ASSERT_TRUE(form.RunCommand("ImportTracks"));
  const std::string table = TrackTableText(form.Spots, form.DlatUnit, form.TimeUnit, false);
  const std::string qvi = TempPath("back.qvi"), saved = TempPath("back.csv");
  platform.saveAnswers = {qvi, saved};
  ASSERT_TRUE(form.RunCommand("SaveData") && form.RunCommand("SaveTracksCSV"));
  FakePlatform otherPlatform;
  TMainForm other(otherPlatform);
  other.S.dT = 0.02;
  other.OpenTrackFiles({qvi}, true);
  EXPECT_EQ(TrackTableText(other.Spots, other.DlatUnit, other.TimeUnit, false), table);
  other.OpenTrackFiles({saved}, true);  // the CSV carries its own frame interval
  EXPECT_TRUE(otherPlatform.calibrationAsked.empty());
  EXPECT_EQ(TrackTableText(other.Spots, other.DlatUnit, other.TimeUnit, false), table);
}

// A large TrackMate file reports how far its reading has got; cancelled there, the store
// keeps the tracks it had.
TEST_F(ImportCommands, CancelledWhileReadingKeepsTheStore) {
  std::string xml = "<?xml version=\"1.0\"?>\n<TrackMate><Model spatialunits=\"micron\" "
                    "timeunits=\"sec\"><AllSpots>\n";
  for (int s = 0; s < 40000; ++s)
    xml += "<Spot ID=\"" + std::to_string(s) + "\" FRAME=\"" + std::to_string(s % 10) +
           "\" POSITION_X=\"1\" POSITION_Y=\"2\" MEAN_INTENSITY=\"3\" name=\"a long name of a "
           "spot, to make the file span several read blocks\" />\n";
  xml += "</AllSpots><AllTracks></AllTracks></Model><Settings><ImageData timeinterval=\"0.1\" "
         "/></Settings></TrackMate>\n";
  const std::string path = WriteFile("big.xml", xml);
  form.LoadQVIFile(KINETRA_SOURCE_DIR "/examples/sample.qvi", true);
  const int32_t before = form.Spots.NSpots;
  platform.messages.clear();
  platform.cancelAtReport = 1;
  platform.openAnswers = {{path}};
  ASSERT_TRUE(form.RunCommand("AddTracks"));
  EXPECT_GE(platform.progressReports, 1);
  EXPECT_EQ(platform.messages, std::vector<std::string>{"Cancelled"});
  EXPECT_EQ(form.Spots.NSpots, before);
}
