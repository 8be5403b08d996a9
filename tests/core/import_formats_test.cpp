// Imports of TrackMate XML and track tables written here by hand: which tracks come out,
// where they start, what was cut, left out or filled, and the calibration chosen.
#include <cmath>
#include <string>

#include "StoreTestFiles.h"
#include "import/TrackImport.h"
#include "import/TrackTableReader.h"

namespace {

// Every track as "id@first:p,p,..." where p is 10 x its X in µm, rounded (the tests
// give point p the X 0.1 p µm, so p names the point).
std::string Layout(const ImportResult& r) {
  std::string s;
  for (const ImportedTrack& t : r.data.tracks) {
    s += (s.empty() ? "" : " ") + t.id.Display() + "@" + std::to_string(t.firstFrame) + ":";
    for (int32_t k = 0; k < t.count; ++k)
      s += (k ? "," : "") + std::to_string(std::lround(r.data.x[t.offset + k] * 10));
  }
  return s;
}

bool AnyContains(const std::vector<std::string>& lines, const std::string& text) {
  for (const std::string& l : lines)
    if (l.find(text) != std::string::npos) return true;
  return false;
}

// Spots s (frame f) at X = 100 s, Y = -50 s in `units`, intensity 10 s. Track 3 splits at
// spot 2 (its link to spot 1 written backwards) and 8 -> 3 is written backwards too;
// track 5 merges at 12; track 1 misses frame 2; track 2 is not in FilteredTracks.
std::string TrackMateXml(const std::string& units, const std::string& feature = "MEAN_INTENSITY_CH1") {
  const int spots[][2] = {{1, 0}, {2, 1}, {3, 2}, {4, 2},   {8, 3},   {9, 4},   {5, 0}, {6, 1},
                          {7, 3}, {10, 0}, {11, 0}, {12, 1}, {13, 2}, {20, 0}, {21, 1}};
  auto edge = [](int a, int b) {
    return "<Edge SPOT_SOURCE_ID=\"" + std::to_string(a) + "\" SPOT_TARGET_ID=\"" + std::to_string(b) + "\" />";
  };
  std::string x = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- saved by hand -->\n<TrackMate version=\"7.11\">\n"
                  "<Model spatialunits=\"" + units + "\" timeunits=\"ms\"><FeatureDeclarations><SpotFeatures>"
                  "<Feature feature=\"" + feature + "\" /><Feature feature=\"TOTAL_INTENSITY_CH1\" />"
                  "</SpotFeatures></FeatureDeclarations>\n<AllSpots nspots=\"15\"><SpotsInFrame frame=\"0\">\n";
  for (const auto& [s, f] : spots)
    x += "<Spot ID=\"" + std::to_string(s) + "\" name=\"Sp\xC3\xB6t \xE2\x9C\x93\" FRAME=\"" + std::to_string(f) +
         "\" POSITION_X=\"" + std::to_string(100 * s) + "\" POSITION_Y=\"" + std::to_string(-50 * s) + "\" " +
         feature + "=\"" + std::to_string(10 * s) + "\" TOTAL_INTENSITY_CH1=\"" + std::to_string(1000 * s) + "\" />\n";
  x += "</SpotsInFrame></AllSpots><AllTracks>\n<Track TRACK_ID=\"3\">" + edge(2, 1) + edge(2, 3) + edge(2, 4) +
       edge(8, 3) + edge(8, 9) + "</Track>\n<Track TRACK_ID=\"5\">" + edge(10, 12) + edge(11, 12) + edge(12, 13) +
       "</Track>\n<Track TRACK_ID=\"1\">" + edge(5, 6) + edge(6, 7) + "</Track>\n<Track TRACK_ID=\"2\">" +
       edge(20, 21) + "</Track></AllTracks>\n<FilteredTracks><TrackID TRACK_ID=\"5\" /><TrackID TRACK_ID=\"1\" />"
       "<TrackID TRACK_ID=\"3\" /></FilteredTracks></Model>\n<!-- settings -->\n<Settings><ImageData "
       "pixelwidth=\"160\" timeinterval=\"7.48\" /></Settings></TrackMate>\n";
  return x;
}

}  // namespace

TEST(ImportFormats, TrackMateXmlCutsBranchesAndGapsAndKeepsFilteredTracks) {
  const std::string nm = WriteFile("tm-nm.xml", TrackMateXml("nm"));
  ImportResult r = ImportTrackFile(nm);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.format, "TrackMate XML");
  EXPECT_EQ(Layout(r), "1@0:5,6 3@0:1,2 3@2:3,8,9 5@1:12,13");
  const ImportCounts& c = r.report.counts;
  EXPECT_EQ(c.tracksImported, 4);
  EXPECT_EQ(c.branchesCut, 2);  // the split at spot 2, the merge at spot 12
  EXPECT_EQ(c.splitAtGaps, 1);
  EXPECT_EQ(c.singlePointsLeftOut, 4);  // 7 after the gap, 4 of the branch, 10 and 11 before the merge
  // nm to µm; pixelwidth in nm, timeinterval in ms.
  EXPECT_EQ(r.data.x[0], static_cast<float>(500 * 0.001));
  EXPECT_EQ(r.data.y[0], static_cast<float>(-250 * 0.001));
  EXPECT_EQ(r.data.intensity[0], 50.0f);
  EXPECT_DOUBLE_EQ(r.calibration.pixelSizeUm, 0.16);
  EXPECT_DOUBLE_EQ(r.calibration.frameIntervalS, 0.00748);

  // Filled gap: frame 2 of track 1 halfway between spots 6 and 7.
  ImportOptions fill;
  fill.gaps = GapRule::Fill;
  fill.intensity = "TOTAL_INTENSITY_CH1";
  r = ImportTrackFile(nm, fill);
  ASSERT_TRUE(r.ok) << r.error;
  ASSERT_EQ(r.data.tracks[0].count, 4);
  EXPECT_EQ(r.report.counts.gapsFilled, 1);
  EXPECT_FLOAT_EQ(r.data.x[2], 0.65f);
  EXPECT_FLOAT_EQ(r.data.intensity[2], 6500.0f);
  fill.intensity = "SNR_CH1";
  r = ImportTrackFile(nm, fill);
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("no spot feature SNR_CH1"), std::string::npos) << r.error;

  // Pixels: the file's pixelwidth is not a size in µm, so the caller must give one.
  const std::string px = WriteFile("tm-px.xml", TrackMateXml("pixel", "MEAN_INTENSITY"));
  r = ImportTrackFile(px);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error, px + ": positions are in pixels and no pixel size is known: add --pixel-size UM");
  ImportOptions calibrated;
  calibrated.pixelSizeUm = 0.001;  // 100 s pixels of 1 nm: the same µm as above
  r = ImportTrackFile(px, calibrated);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Layout(r), "1@0:5,6 3@0:1,2 3@2:3,8,9 5@1:12,13");
  EXPECT_EQ(r.data.intensity[0], 50.0f);  // MEAN_INTENSITY of TrackMate 3
}

TEST(ImportFormats, TablesOfEachKindAreRecognisedByTheirHeader) {
  ImportOptions none, pixels;
  pixels.pixelSizeUm = 0.5;
  pixels.frameIntervalS = 0.02;

  // TrackMate 7: four header lines, quoted names, CRLF, spots without a track, rows of
  // track 2 before track 1, POSITION_T in seconds.
  std::string tm =
      "LABEL,ID,TRACK_ID,POSITION_X,POSITION_Y,POSITION_T,FRAME,MEAN_INTENSITY_CH1\r\n"
      "Label,Spot ID,Track ID,X,Y,T,Frame,\"Mean intensity, ch1\"\r\nLabel,ID,Track,X,Y,T,Frame,Mean\r\n"
      ",,,(micron),(micron),(sec),,(counts)\r\n"
      "ID3,3,2,0.3,1,0.1,2,30\r\nID9,9,,9,9,0.1,2,1\r\nID4,4,2,0.4,1,0.15,3,40\r\n"
      "ID1,1,1,0.1,1,0,0,10\r\n\"ID2\",2,1,0.2,1,0.05,1,\"20\"\r\n";
  ImportResult r = ImportTrackFile(WriteFile("tm7.csv", tm), none);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.format, "TrackMate CSV");
  EXPECT_EQ(Layout(r), "1@0:1,2 2@2:3,4");
  EXPECT_DOUBLE_EQ(r.calibration.frameIntervalS, 0.05);
  EXPECT_EQ(r.data.intensity[1], 20.0f);
  EXPECT_EQ(r.report.counts.rowsSkipped, 1);
  EXPECT_TRUE(r.report.warnings.empty());

  // TrackMate 3: one header line, MEAN_INTENSITY, positions taken as µm (said in a note).
  r = ImportTrackFile(WriteFile("tm3.csv", "Label,ID,TRACK_ID,POSITION_X,POSITION_Y,FRAME,MEAN_INTENSITY\n"
                                           "a,1,7,0.1,0,0,5\nb,2,7,0.2,0,1,6\n"),
                      pixels);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Layout(r), "7@0:1,2");
  EXPECT_EQ(r.data.intensity[1], 6.0f);
  EXPECT_TRUE(AnyContains(r.report.notes, "taken as \xC2\xB5m"));

  // trackpy: pandas' unnamed index column, rows by frame, particle ids written as floats,
  // mass before signal; pixels of 0.5 µm.
  r = ImportTrackFile(WriteFile("trackpy.csv", ",y,x,mass,signal,frame,particle\n0,0,0.2,100,1,0,10.0\n"
                                               "1,0,0.4,200,1,0,9\n2,0,0.6,300,1,1,9\n3,0,0.8,400,1,1,10\n"),
                      pixels);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.format, "trackpy CSV");
  EXPECT_EQ(Layout(r), "9@0:2,3 10@0:1,4");  // 9 before 10: ids sort by value
  EXPECT_EQ(r.data.intensity[0], 200.0f);

  // saspt, tab-separated, with I0.
  r = ImportTrackFile(WriteFile("saspt.tsv", "y\tx\tI0\tframe\ttrajectory\n0\t0.2\t7\t5\t0\n0\t0.4\t8\t6\t0\n"), pixels);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Layout(r), "0@5:1,2");
  EXPECT_EQ(r.data.intensity[1], 8.0f);

  // Any table through a mapping: semicolons, decimal commas, text ids in natural order.
  ImportOptions mapped = pixels;
  mapped.columns = "track = cell, frame=t_idx, x=px, y=py, unit=um";
  r = ImportTrackFile(WriteFile("mapped.csv", "cell;t_idx;px;py\nc10;0;0,1;0\nc10;1;0,2;0\nc9;0;0,3;0\nc9;1;0,4;0\n"),
                      mapped);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Layout(r), "c9@0:3,4 c10@0:1,2");
  EXPECT_EQ(r.data.intensity[0], 0.0f);  // no intensity column

  const std::string other = WriteFile("other.csv", "a,b,c\n1,2,3\n");
  r = ImportTrackFile(other, pixels);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error.rfind(other + ": not a track table: the header has a, b, c;", 0), 0u) << r.error;
  mapped.columns = "track=a,frame=b,x=c,y=d";
  EXPECT_EQ(ImportTrackFile(other, mapped).error, other + ": no column \"d\" (the header has a, b, c)");

  ColumnMapping m;
  std::string error;
  for (const auto& [text, message] :
       {std::pair{"track=a,frame=b,x=c", "\"y=NAME\" is missing"}, {"track=a,track=b", "\"track\" given twice"},
        {"track=a,colour=b", "unknown key \"colour\" (track, frame, x, y, intensity, t, unit)"},
        {"track=", "no column name after \"track=\""}, {"track", "\"track\" is not KEY=NAME"},
        {"unit=furlong", "unknown unit \"furlong\" (px, um or nm)"}}) {
    EXPECT_FALSE(ParseColumnMapping(text, m, error)) << text;
    EXPECT_EQ(error, message);
  }
}

TEST(ImportFormats, RowsAreGroupedSortedSplitOrFilledAndBadRowsNamed) {
  // Track 4 out of order, a duplicate frame, a gap of two frames, a fractional frame, a
  // NaN position and a single point after the gap of track 5.
  const std::string path = WriteFile("rows.csv",
                                     "track,frame,x_um,y_um,intensity\n"
                                     "4,3,0.4,0,40\n4,1,0.2,0,20\n4,2,0.3,0,30\n4,2,9.9,0,99\n"
                                     "4,6,0.7,0,70\n4,7,0.8,0,80\n4,1.5,1,0,1\n5,0,nan,0,1\n5,1,0.5,0,1\n"
                                     "5,2,0.6,0,1\n5,9,0.9,0,1\n");
  ImportOptions options;
  options.frameIntervalS = 0.1;
  ImportResult r = ImportTrackFile(path, options);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Layout(r), "4@1:2,3,4 4@6:7,8 5@1:5,6");
  const ImportCounts& c = r.report.counts;
  EXPECT_EQ(c.duplicates, 1);
  EXPECT_EQ(c.splitAtGaps, 2);
  EXPECT_EQ(c.singlePointsLeftOut, 1);
  EXPECT_EQ(c.rowsSkipped, 3);  // the duplicate, the fraction, the NaN
  EXPECT_TRUE(AnyContains(r.report.warnings, path + ": line 5: track 4 has frame 2 again (line 4 kept"));
  EXPECT_TRUE(AnyContains(r.report.warnings, path + ": line 8: frame \"1.5\" is not an integer; row left out"));
  EXPECT_TRUE(AnyContains(r.report.warnings, path + ": line 9: x \"nan\" is not a finite number; row left out"));

  options.gaps = GapRule::Fill;
  r = ImportTrackFile(path, options);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Layout(r), "4@1:2,3,4,5,6,7,8 5@1:5,6,6,7,7,8,8,9,9");  // 6 + 3k/7 for k = 1..6
  EXPECT_EQ(r.report.counts.gapsFilled, 2);
  EXPECT_EQ(r.report.counts.framesFilled, 8);
  EXPECT_FLOAT_EQ(r.data.intensity[3], 50.0f);  // frame 4: 40 + (70 - 40) / 3
}

TEST(ImportFormats, CallerCalibrationWinsAndMissingValuesNameTheirOption) {
  // 0.25 s per frame from POSITION_T in seconds; positions in nm from the units line.
  const std::string path = WriteFile("cal.csv",
                                     "TRACK_ID,FRAME,POSITION_X,POSITION_Y,POSITION_T\nTrack,Frame,X,Y,T\nT,F,X,Y,T\n"
                                     ",,(nm),(nm),(sec)\n1,0,100,0,0.5\n1,1,200,0,0.75\n1,2,300,0,1\n");
  ImportOptions options;
  ImportResult r = ImportTrackFile(path, options);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_DOUBLE_EQ(r.calibration.frameIntervalS, 0.25);
  EXPECT_EQ(Layout(r), "1@0:1,2,3");
  options.frameIntervalS = 0.00748;
  options.pixelSizeUm = 0.1;
  r = ImportTrackFile(path, options);
  EXPECT_DOUBLE_EQ(r.calibration.frameIntervalS, 0.00748);
  EXPECT_TRUE(AnyContains(r.report.notes, "frame interval 0.00748 s from the caller (the file says 0.25 s)"));
  EXPECT_TRUE(AnyContains(r.report.notes, "positions are not in pixels: the pixel size is not used"));
  options.positionUnit = LengthUnit::Pixel;  // the caller knows better than the units line
  r = ImportTrackFile(path, options);
  EXPECT_EQ(Layout(r), "1@0:100,200,300");

  // A time column that counts frames gives no interval; neither value known.
  const std::string frames = WriteFile("frames.csv", "particle,frame,x,y,t\n1,3,1,1,3\n1,4,2,2,4\n");
  r = ImportTrackFile(frames);
  EXPECT_EQ(r.error, frames + ": positions are in pixels and no pixel size is known: add --pixel-size UM; "
                              "no frame interval is known: add --frame-interval S");
}

TEST(ImportFormats, LargeTablesReadInTwoHalvesGiveWhatOnePassGives) {
  // 1.4 MB of 40 interleaved tracks; bad rows and a duplicate in each half. The second
  // file has a quoted field with line breaks across the middle of its rows, where the
  // halves would meet.
  std::string half[2];
  for (int h = 0; h < 2; ++h)
    for (int f = 600 * h; f < 600 * (h + 1); ++f) {
      for (int p = 0; p < 40; ++p)
        half[h] += std::to_string(p) + "," + std::to_string(f) + "," + std::to_string(p + f * 0.01) + ",1,7,a\n";
      if (f % 250 == 7) half[h] += "3," + std::to_string(f) + ",9,9,9,dup\n5,x,1,1,1,bad\n";
    }
  const std::string multiLine = "1,5000,1,1,1,\"" + std::string(2000, '\n') + "\"\n";
  const std::string rows = half[0] + half[1];
  const size_t middle = rows.rfind('\n', rows.size() / 2) + 1;
  for (const std::string& inserted : {std::string(), multiLine}) {
    const std::string text =
        "particle,frame,x,y,mass,label\n" + rows.substr(0, middle) + inserted + rows.substr(middle);
    const std::string path = WriteFile("halves.csv", text);
    const size_t lastBad = text.rfind("5,x,");
    const std::string line = std::to_string(std::count(text.begin(), text.begin() + lastBad, '\n') + 1);
    ImportOptions options;
    options.pixelSizeUm = 0.1;
    options.frameIntervalS = 0.1;
    options.threads = 1;
    const ImportResult one = ImportTrackFile(path, options);
    options.threads = 2;
    const ImportResult two = ImportTrackFile(path, options);
    ASSERT_TRUE(one.ok && two.ok) << one.error << two.error;
    EXPECT_EQ(Layout(one).substr(0, 200), Layout(two).substr(0, 200));
    EXPECT_TRUE(one.data.x == two.data.x && one.data.y == two.data.y && one.data.intensity == two.data.intensity);
    EXPECT_EQ(one.report.warnings, two.report.warnings);
    EXPECT_EQ(one.report.counts.duplicates, 5);  // 7, 257, 507, 757, 1007
    EXPECT_EQ(two.report.counts.rowsSkipped, 10);
    EXPECT_TRUE(AnyContains(two.report.warnings, path + ": line " + line + ": frame \"x\" is not an integer"));
  }
}
