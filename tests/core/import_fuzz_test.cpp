// Damaged, hostile and random input to the importers: a clear message naming the file,
// or tracks that are whole; never a crash (run under the sanitizers as well).
#include <cstdio>
#include <memory>
#include <random>

#include "StoreTestFiles.h"
#include "import/TrackImport.h"

namespace {

// Whatever came out must be usable: two or more points each, inside the arrays, finite.
void ExpectWhole(const ImportResult& r, const std::string& path) {
  if (!r.ok) {
    EXPECT_EQ(r.error.rfind(path + ": ", 0), 0u) << r.error;
    return;
  }
  const ImportedTracks& d = r.data;
  ASSERT_TRUE(d.x.size() == d.y.size() && d.x.size() == d.intensity.size());
  for (const ImportedTrack& t : d.tracks) {
    ASSERT_TRUE(t.count >= 2 && t.offset >= 0 && t.offset + t.count <= static_cast<int64_t>(d.x.size()));
    for (int64_t k = t.offset; k < t.offset + t.count; ++k)
      ASSERT_TRUE(std::isfinite(d.x[k]) && std::isfinite(d.y[k]) && std::isfinite(d.intensity[k]));
  }
}

const char* const kXml =
    "<?xml version=\"1.0\"?><TrackMate><Model spatialunits=\"micron\" timeunits=\"sec\"><AllSpots>"
    "<SpotsInFrame frame=\"0\"><Spot ID=\"1\" FRAME=\"0\" POSITION_X=\"1\" POSITION_Y=\"2\" MEAN_INTENSITY=\"3\"/>"
    "<Spot ID=\"2\" FRAME=\"1\" POSITION_X=\"1.5\" POSITION_Y=\"2\" MEAN_INTENSITY=\"4\"/>"
    "<Spot ID=\"3\" FRAME=\"2\" POSITION_X=\"2\" POSITION_Y=\"2\" MEAN_INTENSITY=\"5\"/></SpotsInFrame></AllSpots>"
    "<AllTracks><Track TRACK_ID=\"0\"><Edge SPOT_SOURCE_ID=\"1\" SPOT_TARGET_ID=\"2\"/>"
    "<Edge SPOT_SOURCE_ID=\"3\" SPOT_TARGET_ID=\"2\"/></Track></AllTracks><FilteredTracks><TrackID TRACK_ID=\"0\"/>"
    "</FilteredTracks></Model><Settings><ImageData pixelwidth=\"0.1\" timeinterval=\"0.05\"/></Settings></TrackMate>";

const char* const kCsv =
    "TRACK_ID,FRAME,POSITION_X,POSITION_Y,POSITION_T,MEAN_INTENSITY_CH1\n"
    "1,0,0.5,0.5,0,10\n1,1,\"0.6\",0.5,0.1,11\n2,5,3,3,0.5,1\n2,6,3.1,3,0.6,2\n1,2,0.7,0.5,0.2,12\n";

}  // namespace

TEST(ImportFuzz, BadFilesGetAMessageNamingTheFileAndTheFault) {
  const std::string doctype =
      "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [<!ENTITY a \"lol\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">"
      "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;\">]>\n<TrackMate>&c;</TrackMate>";
  const std::pair<std::string, std::string> cases[] = {
      {"<TrackMate><Model><AllSpots>", "XML error: no element found"},
      {"<?xml version=\"1.0\"?>\n<Spots/>", "the root element is <Spots>, not <TrackMate>"},
      {doctype, "a DOCTYPE declaration is not accepted"},
      {"<TrackMate><Model name=\"\xFF\xFE\"/></TrackMate>", "XML error: not well-formed"},
      {"<TrackMate><Model/></TrackMate>", "without AllTracks"},
      {"", "the file is empty"},
      {std::string("\x01\x02\x00\xFF\x10,\x7F\n\x05", 9), "not a text table"},
      {"track,frame,x_um,y_um\r\n", "no data rows"},
      {"particle,frame,x\n1,0,3\n1,1,4\n", "not a track table"},
      {"track,frame,x_um,y_um\n1,0,a,b\n1,x,1,2\n", "no usable row (2 left out)"},
  };
  ImportOptions options;
  options.frameIntervalS = 0.1;
  int i = 0;
  for (const auto& [bytes, fault] : cases) {
    const std::string path = WriteFile("bad" + std::to_string(i++) + ".txt", bytes);
    const ImportResult r = ImportTrackFile(path, options);
    EXPECT_FALSE(r.ok) << path;
    EXPECT_EQ(r.error.rfind(path + ": ", 0), 0u) << r.error;
    EXPECT_NE(r.error.find(fault), std::string::npos) << r.error;
  }
  for (const std::string& path : {TempPath("missing.csv"), TempPath("")})  // no file; a folder
    EXPECT_EQ(ImportTrackFile(path).error, path + ": cannot open the file");
}

// A spot name of 100 MB: read at linear cost (expat rescans an unfinished token with
// every block it gets, so the blocks grow while one is pending).
TEST(ImportFuzz, HugeAttributeIsReadWhole) {
  const std::string path = TempPath("huge.xml");
  std::string text(kXml);
  const size_t at = text.find("ID=\"2\"");
  {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    ASSERT_TRUE(file);
    std::fwrite(text.data(), 1, at, file.get());
    std::fputs("name=\"", file.get());
    const std::string block(1 << 20, 'x');
    for (int mb = 0; mb < 100; ++mb) std::fwrite(block.data(), 1, block.size(), file.get());
    std::fputs("\" ", file.get());
    std::fwrite(text.data() + at, 1, text.size() - at, file.get());
  }
  const ImportResult r = ImportTrackFile(path);
  std::remove(path.c_str());
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.data.tracks.size(), 1u);
  EXPECT_EQ(r.data.tracks[0].count, 3);
}

TEST(ImportFuzz, MutatedFilesGiveWholeTracksOrAMessage) {
  std::mt19937 gen(2024);
  auto store = std::make_unique<TrackStore>();
  ASSERT_TRUE(store->Allocate());
  const char specials[] = "<>\"=/,;\t\r\n.-e&#\xC3\xB5";
  for (int round = 0; round < 400; ++round) {
    std::string bytes = round % 2 ? kCsv : kXml;
    for (int edits = 1 + static_cast<int>(gen() % 4); edits > 0; --edits) {
      const size_t at = gen() % bytes.size();
      switch (gen() % 4) {
        case 0: bytes[at] = specials[gen() % (sizeof specials - 1)]; break;
        case 1: bytes.insert(at, 1, static_cast<char>(gen())); break;
        case 2: bytes.erase(at, 1 + gen() % 8); break;
        default: bytes.resize(at); break;
      }
      if (bytes.empty()) bytes = "<";
    }
    const std::string path = WriteFile("mutated.txt", bytes);
    ImportOptions options;
    options.gaps = round % 3 ? GapRule::Split : GapRule::Fill;
    const ImportResult r = ImportTrackFile(path, options);
    ExpectWhole(r, path);
    if (HasFatalFailure()) return;
    store->NSpots = 0;
    const AppendOutcome out = AppendImportedTracks(*store, r.data, nullptr);
    EXPECT_EQ(out.added, static_cast<int32_t>(r.data.tracks.size()));
  }
}
