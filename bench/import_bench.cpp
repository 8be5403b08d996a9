// Import cases of kinetra-bench. The files are written here from simulated tracks in the
// layouts TrackMate and trackpy write (TrackMate 7 spot and edge features, a trackpy
// table sorted by frame as it leaves trackpy.link), then imported; "identical" says the
// import gave back exactly the floats written. The reference column is the time to read
// the same file into memory (fopen, one fread into new memory, fclose).
#include "ImportBench.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "import/TrackImport.h"
#include "sim/SimOutput.h"
#include "sim/Simulator.h"
#include "stats/ParallelValues.h"
#include "stats/ThreadPool.h"
#include "store/HeaderPosition.h"
#include "store/QviReader.h"

namespace {

using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Shortest text that reads back to the same value.
template <typename T>
std::string Short(T value) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

// Simulated tracks that start at different frames, so that a table sorted by frame
// interleaves them; the header position from the first point, as the import takes it.
std::vector<SimTrack> MakeTracks(int32_t tracks, int32_t points) {
  PopulationPlan plan;
  plan.seed = 11;
  plan.tracks = tracks;
  plan.points = points;
  plan.directedFraction = 0.3;
  plan.bleachFraction = 0.3;
  plan.fieldSize = 400;
  std::vector<SimTrack> all = MakePopulation(plan);
  for (size_t i = 0; i < all.size(); ++i) {
    all[i].FirstFrame = static_cast<int32_t>(i % 500);
    all[i].PosX = HeaderPosition(all[i].X[0]);
    all[i].PosY = HeaderPosition(all[i].Y[0]);
  }
  return all;
}

struct Writer {
  std::FILE* file;
  explicit Writer(const std::string& path) : file(std::fopen(path.c_str(), "wb")) {
    if (!file) {
      std::fprintf(stderr, "kinetra-bench: cannot write %s\n", path.c_str());
      std::exit(2);
    }
  }
  ~Writer() { std::fclose(file); }
  Writer& operator<<(const std::string& s) {
    std::fwrite(s.data(), 1, s.size(), file);
    return *this;
  }
};

void WriteTrackMateXml(const std::string& path, const std::vector<SimTrack>& tracks, double dT) {
  Writer out(path);
  int64_t spots = 0;
  for (const SimTrack& t : tracks) spots += t.NPoints;
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<TrackMate version=\"7.11.1\">\n"
      << "  <Log>Simulated by kinetra-bench</Log>\n"
      << "  <Model spatialunits=\"\xC2\xB5m\" timeunits=\"sec\">\n    <FeatureDeclarations>\n"
      << "      <SpotFeatures>\n";
  for (const char* f : {"QUALITY", "POSITION_X", "POSITION_Y", "POSITION_Z", "POSITION_T", "FRAME", "RADIUS",
                        "VISIBILITY", "MEAN_INTENSITY_CH1", "MEDIAN_INTENSITY_CH1", "TOTAL_INTENSITY_CH1",
                        "CONTRAST_CH1", "SNR_CH1"})
    out << "        <Feature feature=\"" << f << "\" name=\"" << f << "\" shortname=\"" << f
        << "\" dimension=\"NONE\" isint=\"false\" />\n";
  out << "      </SpotFeatures>\n    </FeatureDeclarations>\n    <AllSpots nspots=\""
      << std::to_string(spots) << "\">\n";
  // Spots frame by frame; the ID of a point is its track's base plus its index.
  int32_t lastFrame = 0;
  for (const SimTrack& t : tracks) lastFrame = std::max(lastFrame, t.FirstFrame + t.NPoints);
  std::vector<int64_t> base(tracks.size());
  for (size_t i = 0, id = 0; i < tracks.size(); ++i) {
    base[i] = static_cast<int64_t>(id);
    id += static_cast<size_t>(tracks[i].NPoints);
  }
  std::string line;
  for (int32_t f = 0; f < lastFrame; ++f) {
    out << "      <SpotsInFrame frame=\"" << std::to_string(f) << "\">\n";
    for (size_t i = 0; i < tracks.size(); ++i) {
      const SimTrack& t = tracks[i];
      const int32_t k = f - t.FirstFrame;
      if (k < 0 || k >= t.NPoints) continue;
      const std::string id = std::to_string(base[i] + k), in = Short(t.Int[k]);
      line = "        <Spot ID=\"" + id + "\" name=\"ID" + id + "\" STD_INTENSITY_CH1=\"12.5\" QUALITY=\"" +
             in + "\" POSITION_T=\"" + Short(f * dT) + "\" MAX_INTENSITY_CH1=\"" + in +
             "\" MEDIAN_INTENSITY_CH1=\"" + in + "\" VISIBILITY=\"1\" MEAN_INTENSITY_CH1=\"" + in +
             "\" TOTAL_INTENSITY_CH1=\"" + Short(t.Int[k] * 29) + "\" FRAME=\"" + std::to_string(f) +
             "\" POSITION_X=\"" + Short(t.X[k]) + "\" POSITION_Y=\"" + Short(t.Y[k]) +
             "\" RADIUS=\"0.25\" POSITION_Z=\"0.0\" CONTRAST_CH1=\"0.31\" SNR_CH1=\"2.4\" />\n";
      out << line;
    }
    out << "      </SpotsInFrame>\n";
  }
  out << "    </AllSpots>\n    <AllTracks>\n";
  for (size_t i = 0; i < tracks.size(); ++i) {
    const std::string id = std::to_string(i);
    out << "      <Track name=\"Track_" << id << "\" TRACK_ID=\"" << id << "\" TRACK_INDEX=\"" << id
        << "\" NUMBER_SPOTS=\"" << std::to_string(tracks[i].NPoints) << "\" NUMBER_GAPS=\"0\">\n";
    for (int32_t k = 0; k + 1 < tracks[i].NPoints; ++k) {
      // Every third link written from the later spot to the earlier one.
      int64_t a = base[i] + k, b = a + 1;
      if (k % 3 == 2) std::swap(a, b);
      out << "        <Edge SPOT_SOURCE_ID=\"" << std::to_string(a) << "\" SPOT_TARGET_ID=\"" << std::to_string(b)
          << "\" LINK_COST=\"0.0134\" DIRECTIONAL_CHANGE_RATE=\"0.41\" SPEED=\"1.2\" DISPLACEMENT=\"0.036\" "
             "EDGE_TIME=\"0.4\" EDGE_X_LOCATION=\"5.5\" EDGE_Y_LOCATION=\"7.5\" />\n";
    }
    out << "      </Track>\n";
  }
  out << "    </AllTracks>\n    <FilteredTracks>\n";
  for (size_t i = 0; i < tracks.size(); ++i) out << "      <TrackID TRACK_ID=\"" << std::to_string(i) << "\" />\n";
  out << "    </FilteredTracks>\n  </Model>\n  <Settings>\n    <ImageData filename=\"sim.tif\" folder=\"\" "
         "width=\"4000\" height=\"4000\" nslices=\"1\" nframes=\""
      << std::to_string(lastFrame) << "\" pixelwidth=\"0.1\" pixelheight=\"0.1\" voxeldepth=\"1.0\" timeinterval=\""
      << Short(dT) << "\" />\n  </Settings>\n</TrackMate>\n";
}

// TrackMate 7's spots table: sorted by track, then frame; four header lines.
void WriteTrackMateCsv(const std::string& path, const std::vector<SimTrack>& tracks, double dT) {
  Writer out(path);
  out << "LABEL,ID,TRACK_ID,QUALITY,POSITION_X,POSITION_Y,POSITION_Z,POSITION_T,FRAME,RADIUS,VISIBILITY,"
         "MANUAL_SPOT_COLOR,MEAN_INTENSITY_CH1,MEDIAN_INTENSITY_CH1,MIN_INTENSITY_CH1,MAX_INTENSITY_CH1,"
         "TOTAL_INTENSITY_CH1,STD_INTENSITY_CH1,CONTRAST_CH1,SNR_CH1\n"
         "Label,Spot ID,Track ID,Quality,X,Y,Z,T,Frame,Radius,Visibility,Manual spot color,"
         "Mean intensity ch1,Median intensity ch1,Min intensity ch1,Max intensity ch1,Sum intensity ch1,"
         "Std intensity ch1,Contrast ch1,Signal/Noise ratio ch1\n"
         "Label,Spot ID,Track ID,Quality,X,Y,Z,T,Frame,R,Visibility,Spot color,Mean ch1,Median ch1,"
         "Min ch1,Max ch1,Sum ch1,Std ch1,Ctrst ch1,SNR ch1\n"
         ",,,(quality),(micron),(micron),(micron),(sec),,(micron),,,(counts),(counts),(counts),(counts),"
         "(counts),(counts),,\n";
  std::string line;
  int64_t id = 0;
  for (size_t i = 0; i < tracks.size(); ++i) {
    const SimTrack& t = tracks[i];
    const std::string track = std::to_string(i);
    for (int32_t k = 0; k < t.NPoints; ++k, ++id) {
      const std::string in = Short(t.Int[k]), sid = std::to_string(id);
      const int32_t f = t.FirstFrame + k;
      line = "ID" + sid + "," + sid + "," + track + "," + in + "," + Short(t.X[k]) + "," + Short(t.Y[k]) +
             ",0.0," + Short(f * dT) + "," + std::to_string(f) + ",0.25,1,," + in + "," + in + "," + in + "," +
             in + "," + Short(t.Int[k] * 29) + ",12.5,0.31,2.4\n";
      out << line;
    }
  }
}

// trackpy's table after linking: rows by frame, positions in pixels of kPixel µm.
constexpr double kPixel = 0.125;  // a power of two: the pixel values stay exact

void WriteTrackpyCsv(const std::string& path, const std::vector<SimTrack>& tracks) {
  Writer out(path);
  out << ",y,x,mass,size,ecc,signal,raw_mass,ep,frame,particle\n";
  int32_t lastFrame = 0;
  for (const SimTrack& t : tracks) lastFrame = std::max(lastFrame, t.FirstFrame + t.NPoints);
  std::string line;
  int64_t row = 0;
  for (int32_t f = 0; f < lastFrame; ++f)
    for (size_t i = 0; i < tracks.size(); ++i) {
      const SimTrack& t = tracks[i];
      const int32_t k = f - t.FirstFrame;
      if (k < 0 || k >= t.NPoints) continue;
      line = std::to_string(row++) + "," + Short(t.Y[k] / kPixel) + "," + Short(t.X[k] / kPixel) + "," +
             Short(t.Int[k]) + ",1.2345678901234,0.0421931094,7.5012345,5555.12345,0.0123456789," +
             std::to_string(f) + "," + std::to_string(i) + "\n";
      out << line;
    }
}

// The import gave back every track with the same frames and floats.
bool SameTracks(const ImportResult& r, const std::vector<SimTrack>& tracks) {
  if (!r.ok || r.data.tracks.size() != tracks.size()) return false;
  for (size_t i = 0; i < tracks.size(); ++i) {
    const ImportedTrack& got = r.data.tracks[i];
    const SimTrack& t = tracks[i];
    if (got.firstFrame != t.FirstFrame || got.count != t.NPoints) return false;
    for (int32_t k = 0; k < t.NPoints; ++k)
      if (r.data.x[got.offset + k] != t.X[k] || r.data.y[got.offset + k] != t.Y[k] ||
          r.data.intensity[got.offset + k] != t.Int[k])
        return false;
  }
  return true;
}

double ReadIntoMemoryMs(const std::string& path) {
  double best = 0;
  for (int r = 0; r < 3; ++r) {
    const auto start = Clock::now();
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return 0;
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::rewind(file);
    std::unique_ptr<char[]> bytes(new char[static_cast<size_t>(size)]);
    const size_t got = std::fread(bytes.get(), 1, static_cast<size_t>(size), file);
    std::fclose(file);
    const double ms = MsSince(start);
    if (got != static_cast<size_t>(size)) return 0;
    if (r == 0 || ms < best) best = ms;
  }
  return best;
}

void PrintLine(const std::string& name, double referenceMs, double fastMs, bool identical) {
  std::printf("%s, %.1f, %.1f, %.2fx, identical=%s\n", name.c_str(), referenceMs, fastMs,
              fastMs > 0 ? referenceMs / fastMs : 0.0, identical ? "yes" : "no");
}

// One file imported (best of three) against reading it into memory.
bool ImportCase(const std::string& name, const std::string& path, const ImportOptions& options,
                const std::vector<SimTrack>& tracks) {
  const double readMs = ReadIntoMemoryMs(path);
  double best = 0;
  bool same = true;
  for (int r = 0; r < 3; ++r) {
    const auto start = Clock::now();
    const ImportResult result = ImportTrackFile(path, options);
    const double ms = MsSince(start);
    if (r == 0 || ms < best) best = ms;
    same &= SameTracks(result, tracks);
    if (!result.ok) std::fprintf(stderr, "kinetra-bench: %s\n", result.error.c_str());
  }
  const double mb = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
  PrintLine(name, readMs, best, same);
  std::printf("# %.1f MB: import %.0f MB/s, reading into memory %.0f MB/s (reference = reading)\n", mb,
              mb / best * 1000, mb / readMs * 1000);
  std::fflush(stdout);
  return same;
}

// What "Open New File(s)" will do with a table: import, append, per-track values; held
// against loading the same tracks from a zero-marker QVI file, whose positions are
// stored the same way, so both must leave the same per-track values.
bool EndToEndCase(const std::string& name, const std::string& csv, const std::string& qvi, int32_t tracks) {
  Settings settings;
  const PairRules rules;
  auto scratch = std::make_unique<MsdScratch>();
  ImportOptions options;
  options.pixelSizeUm = kPixel;
  options.frameIntervalS = settings.dT;
  auto values = [](const TrackStore& s) {
    std::vector<float> v;
    for (int32_t i = 0; i < s.NSpots; ++i)
      v.insert(v.end(), {s[i].Dlat, s[i].AverVel, s[i].AverInt, s[i].STest, s[i].X[s[i].NPoints - 1]});
    return v;
  };
  double importMs = 0, qviMs = 0;
  std::vector<float> imported, loaded;
  for (int r = 0; r < 3; ++r) {
    auto store = std::make_unique<TrackStore>();
    if (!store->Allocate()) std::exit(2);
    auto start = Clock::now();
    const ImportResult result = ImportTrackFile(csv, options);
    AppendImportedTracks(*store, result.data, nullptr);
    ComputeTrackValuesParallel(*store, 0, store->NSpots, settings, rules, ThreadPool::Shared(), *scratch);
    const double ms = MsSince(start);
    if (r == 0 || ms < importMs) importMs = ms;
    imported = values(*store);

    store = std::make_unique<TrackStore>();
    if (!store->Allocate()) std::exit(2);
    start = Clock::now();
    QviReader reader;
    if (!reader.Open(qvi)) std::exit(2);
    ReadTracksParallel(reader, *store, settings, rules, ThreadPool::Shared(), *scratch);
    const double qms = MsSince(start);
    if (r == 0 || qms < qviMs) qviMs = qms;
    loaded = values(*store);
  }
  const bool same = imported == loaded && imported.size() == static_cast<size_t>(tracks) * 5;
  PrintLine(name, qviMs, importMs, same);
  std::printf("# reference = loading the same tracks from a zero-marker QVI file; identical = same per-track "
              "values\n");
  std::fflush(stdout);
  return same;
}

}  // namespace

std::string WriteBenchTrackMateCsv(const std::filesystem::path& dir, int32_t tracks,
                                   int32_t points) {
  const std::string path = (dir / "commands-tm.csv").string();
  WriteTrackMateCsv(path, MakeTracks(tracks, points), 0.03);
  return path;
}

bool RunImportBench(bool shortMode, const std::filesystem::path& dir,
                    const std::function<bool(const std::string&)>& wanted) {
  const int32_t tracks = shortMode ? 1000 : 20000, points = 50;
  const double dT = 0.03;
  const std::string size = std::to_string(tracks) + " x " + std::to_string(points);
  const std::string xmlCase = "import TrackMate XML " + size, tmCsvCase = "import TrackMate CSV " + size,
                    tpCsvCase = "import trackpy CSV " + size;
  bool ok = true;
  if (wanted(xmlCase) || wanted(tmCsvCase) || wanted(tpCsvCase)) {
    const std::vector<SimTrack> sim = MakeTracks(tracks, points);
    const std::string xml = (dir / "import.xml").string(), tm = (dir / "import-tm.csv").string(),
                      tp = (dir / "import-tp.csv").string();
    ImportOptions options;
    if (wanted(xmlCase)) {
      WriteTrackMateXml(xml, sim, dT);
      ok &= ImportCase(xmlCase, xml, options, sim);
      std::filesystem::remove(xml);
    }
    if (wanted(tmCsvCase)) {
      WriteTrackMateCsv(tm, sim, dT);
      ok &= ImportCase(tmCsvCase, tm, options, sim);
      std::filesystem::remove(tm);
    }
    if (wanted(tpCsvCase)) {
      WriteTrackpyCsv(tp, sim);
      options.pixelSizeUm = kPixel;
      options.frameIntervalS = dT;
      ok &= ImportCase(tpCsvCase, tp, options, sim);
      std::filesystem::remove(tp);
    }
  }
  const int32_t many = shortMode ? 2000 : 50000;
  const std::string endCase =
      "import trackpy CSV + store + per-track values " + std::to_string(many) + " x " + std::to_string(points);
  if (wanted(endCase)) {
    const std::vector<SimTrack> sim = MakeTracks(many, points);
    const std::string csv = (dir / "import-end.csv").string(), qvi = (dir / "import-end.qvi").string();
    WriteTrackpyCsv(csv, sim);
    if (!WriteSimulatedQvi(qvi, sim, SimFileLayout::ZeroMarker)) std::exit(2);
    ok &= EndToEndCase(endCase, csv, qvi, many);
    std::filesystem::remove(csv);
    std::filesystem::remove(qvi);
  }
  return ok;
}
