#include "import/TrackMateXmlReader.h"

#include <expat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <unordered_set>
#include <vector>

#include "import/Calibration.h"
#include "import/NumberText.h"
#include "store/FileOpen.h"

namespace {

// Where in the document the parser is; only the elements the import reads have a state.
enum class Scope { Outside, Root, Model, Features, SpotFeatures, AllSpots, AllTracks, Track, Filtered,
                   Settings, Other };

enum class SpotState : uint8_t { Ok, BadFrame, BadPosition };

struct Spots {
  std::vector<int64_t> id;
  std::vector<int32_t> frame;
  std::vector<double> x, y;
  std::vector<float> intensity;
  std::vector<SpotState> state;
  std::vector<uint8_t> warned;  // a warning about the spot was given
};

struct Track {
  int64_t id = 0;
  size_t firstEdge = 0, edges = 0;
};

// Spot IDs to their index: a direct table for the usual dense IDs, else a sorted list.
class SpotIndex {
 public:
  // Duplicated IDs keep their first spot; `duplicate` is called for the others.
  template <typename Duplicate>
  void Build(const std::vector<int64_t>& ids, Duplicate duplicate) {
    if (ids.empty()) return;
    const auto [lo, hi] = std::minmax_element(ids.begin(), ids.end());
    const bool dense = *lo >= 0 && *hi < static_cast<int64_t>(4 * ids.size() + 1024);
    if (dense) {
      direct_.assign(static_cast<size_t>(*hi) + 1, -1);
      for (size_t i = 0; i < ids.size(); ++i) {
        int32_t& slot = direct_[static_cast<size_t>(ids[i])];
        if (slot >= 0) duplicate(i);
        else slot = static_cast<int32_t>(i);
      }
      return;
    }
    sorted_.resize(ids.size());
    for (size_t i = 0; i < ids.size(); ++i) sorted_[i] = {ids[i], static_cast<int32_t>(i)};
    std::sort(sorted_.begin(), sorted_.end());
    for (size_t i = 1; i < sorted_.size(); ++i)
      if (sorted_[i].first == sorted_[i - 1].first) duplicate(static_cast<size_t>(sorted_[i].second));
  }
  int32_t Find(int64_t id) const {
    if (!direct_.empty()) return id >= 0 && static_cast<size_t>(id) < direct_.size() ? direct_[id] : -1;
    const auto it = std::lower_bound(sorted_.begin(), sorted_.end(), std::pair<int64_t, int32_t>{id, -1});
    return it != sorted_.end() && it->first == id ? it->second : -1;
  }

 private:
  std::vector<int32_t> direct_;
  std::vector<std::pair<int64_t, int32_t>> sorted_;
};

class TrackMateParse {
 public:
  TrackMateParse(const std::string& path, const ImportOptions& options, ImportResult& result)
      : path_(path), options_(options), result_(result), report_(result.report) {}

  bool Run(std::FILE* file);
  void Build(PointTable& table);
  bool Calibrate();

  bool sawTracks_ = false;

 private:
  static void XMLCALL Start(void* self, const XML_Char* name, const XML_Char** atts) {
    static_cast<TrackMateParse*>(self)->OnStart(name, atts);
  }
  static void XMLCALL End(void* self, const XML_Char*) {
    TrackMateParse& p = *static_cast<TrackMateParse*>(self);
    ++p.events_;
    if (!p.scopes_.empty()) p.scopes_.pop_back();
  }
  static void XMLCALL Doctype(void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
    static_cast<TrackMateParse*>(self)->Stop("a DOCTYPE declaration is not accepted (its entities could expand without bound)");
  }

  void Stop(const std::string& why) {
    if (error_.empty()) error_ = why;
    XML_StopParser(parser_, XML_FALSE);
  }
  std::string Line() const { return "line " + std::to_string(XML_GetCurrentLineNumber(parser_)); }

  void OnStart(const XML_Char* name, const XML_Char** atts);
  void OnSpot(const XML_Char** atts);
  void OnEdge(const XML_Char** atts);
  void ChooseIntensity(const XML_Char** firstSpotAtts);
  void WarnSpot(int32_t spot, const std::string& why);

  const std::string& path_;
  const ImportOptions& options_;
  ImportResult& result_;
  ImportReport& report_;
  XML_Parser parser_ = nullptr;
  std::string error_;
  uint64_t events_ = 0;
  std::vector<Scope> scopes_;

  std::string spatialUnits_, timeUnits_;
  bool modelUnitsSeen_ = false;
  double pixelWidth_ = NAN, timeInterval_ = NAN;
  std::vector<std::string> declared_;  // spot features
  bool intensityChosen_ = false;
  std::string intensityFeature_;  // empty: none
  int64_t spotsWithoutIntensity_ = 0;

  Spots spots_;
  std::vector<Track> tracks_;
  std::vector<std::pair<int64_t, int64_t>> edges_;
  std::unordered_set<int64_t> filtered_;
  bool filteredSeen_ = false;
};

const XML_Char* Attribute(const XML_Char** atts, const char* name) {
  for (; atts[0]; atts += 2)
    if (std::strcmp(atts[0], name) == 0) return atts[1];
  return nullptr;
}

bool IntegerAttribute(const XML_Char* value, int64_t& out) {
  return value && ParseIntegerCell(value, out) == IntegerCell::Ok;
}

double NumberAttribute(const XML_Char* value) {
  double v;
  return value && ParseNumber(value, v) ? v : NAN;
}

void TrackMateParse::OnStart(const XML_Char* name, const XML_Char** atts) {
  ++events_;
  const Scope parent = scopes_.empty() ? Scope::Outside : scopes_.back();
  Scope now = Scope::Other;
  auto is = [&](const char* n) { return std::strcmp(name, n) == 0; };
  switch (parent) {
    case Scope::Outside:
      if (!is("TrackMate")) return Stop(std::string("the root element is <") + name + ">, not <TrackMate>");
      now = Scope::Root;
      break;
    case Scope::Root:
      if (is("Model")) {
        now = Scope::Model;
        if (const XML_Char* u = Attribute(atts, "spatialunits")) spatialUnits_ = u;
        if (const XML_Char* u = Attribute(atts, "timeunits")) timeUnits_ = u;
        modelUnitsSeen_ = true;
      } else if (is("Settings")) {
        now = Scope::Settings;
      }
      break;
    case Scope::Model:
      if (is("FeatureDeclarations")) now = Scope::Features;
      else if (is("AllSpots")) {
        now = Scope::AllSpots;
        int64_t n;
        // The count is only a hint; a file may claim any number.
        if (IntegerAttribute(Attribute(atts, "nspots"), n) && n > 0 && n <= (int64_t{1} << 22)) {
          const size_t count = static_cast<size_t>(n);
          spots_.id.reserve(count);
          spots_.frame.reserve(count);
          spots_.x.reserve(count);
          spots_.y.reserve(count);
          spots_.intensity.reserve(count);
          spots_.state.reserve(count);
        }
      } else if (is("AllTracks")) {
        now = Scope::AllTracks;
        sawTracks_ = true;
      } else if (is("FilteredTracks")) {
        now = Scope::Filtered;
        filteredSeen_ = true;
      }
      break;
    case Scope::Features:
      if (is("SpotFeatures")) now = Scope::SpotFeatures;
      break;
    case Scope::SpotFeatures:
      if (is("Feature"))
        if (const XML_Char* f = Attribute(atts, "feature")) declared_.emplace_back(f);
      break;
    case Scope::AllSpots:
      if (is("SpotsInFrame")) now = Scope::AllSpots;
      else if (is("Spot")) OnSpot(atts);
      break;
    case Scope::AllTracks:
      if (is("Track")) {
        now = Scope::Track;
        int64_t id;
        if (IntegerAttribute(Attribute(atts, "TRACK_ID"), id)) {
          tracks_.push_back({id, edges_.size(), 0});
        } else {
          now = Scope::Other;  // its edges cannot be told apart from another track's
          report_.Warn(path_ + ": " + Line() + ": a Track without a usable TRACK_ID is left out");
        }
      }
      break;
    case Scope::Track:
      if (is("Edge")) OnEdge(atts);
      break;
    case Scope::Filtered:
      if (is("TrackID")) {
        int64_t id;
        if (IntegerAttribute(Attribute(atts, "TRACK_ID"), id)) filtered_.insert(id);
      }
      break;
    case Scope::Settings:
      if (is("ImageData")) {
        pixelWidth_ = NumberAttribute(Attribute(atts, "pixelwidth"));
        timeInterval_ = NumberAttribute(Attribute(atts, "timeinterval"));
      }
      break;
    default:
      break;
  }
  scopes_.push_back(now);
}

void TrackMateParse::ChooseIntensity(const XML_Char** atts) {
  intensityChosen_ = true;
  auto declared = [&](const std::string& f) {
    return std::find(declared_.begin(), declared_.end(), f) != declared_.end() ||
           (declared_.empty() && Attribute(atts, f.c_str()));
  };
  if (!options_.intensity.empty()) {
    if (!declared_.empty() && !declared(options_.intensity)) {
      std::string list;
      for (size_t i = 0; i < declared_.size(); ++i) list += (i ? ", " : "") + declared_[i];
      return Stop("no spot feature " + options_.intensity + " (the file declares " + list + ")");
    }
    intensityFeature_ = options_.intensity;
    return;
  }
  for (const char* f : {"MEAN_INTENSITY_CH1", "MEAN_INTENSITY"})
    if (declared(f)) {
      intensityFeature_ = f;
      return;
    }
  report_.notes.push_back("the spots have no mean intensity: intensities are 0");
}

void TrackMateParse::OnSpot(const XML_Char** atts) {
  if (!intensityChosen_) ChooseIntensity(atts);
  const XML_Char *id = nullptr, *frame = nullptr, *x = nullptr, *y = nullptr, *in = nullptr;
  const char* feature = intensityFeature_.empty() ? nullptr : intensityFeature_.c_str();
  for (; atts[0]; atts += 2) {
    const char* n = atts[0];
    if (n[0] == 'I' && n[1] == 'D' && n[2] == 0) id = atts[1];
    else if (n[0] == 'F' && std::strcmp(n, "FRAME") == 0) frame = atts[1];
    else if (n[0] == 'P' && std::strcmp(n, "POSITION_X") == 0) x = atts[1];
    else if (n[0] == 'P' && std::strcmp(n, "POSITION_Y") == 0) y = atts[1];
    else if (feature && std::strcmp(n, feature) == 0) in = atts[1];
  }
  int64_t spotId;
  if (!IntegerAttribute(id, spotId)) {
    ++report_.counts.rowsSkipped;
    report_.Warn(path_ + ": " + Line() + ": a Spot without a usable ID is left out");
    return;
  }
  int64_t f = 0;
  SpotState state = SpotState::Ok;
  if (!IntegerAttribute(frame, f) || f > kMaxFrameMagnitude || f < -kMaxFrameMagnitude) {
    state = SpotState::BadFrame;
    f = 0;
  }
  const double px = NumberAttribute(x), py = NumberAttribute(y);
  if (state == SpotState::Ok && !(std::isfinite(px) && std::isfinite(py))) state = SpotState::BadPosition;
  double intensity = feature ? NumberAttribute(in) : 0;
  if (!std::isfinite(intensity)) {
    intensity = 0;
    ++spotsWithoutIntensity_;
  }
  spots_.id.push_back(spotId);
  spots_.frame.push_back(static_cast<int32_t>(f));
  spots_.x.push_back(px);
  spots_.y.push_back(py);
  spots_.intensity.push_back(static_cast<float>(intensity));
  spots_.state.push_back(state);
}

void TrackMateParse::OnEdge(const XML_Char** atts) {
  int64_t source, target;
  if (!IntegerAttribute(Attribute(atts, "SPOT_SOURCE_ID"), source) ||
      !IntegerAttribute(Attribute(atts, "SPOT_TARGET_ID"), target)) {
    report_.Warn(path_ + ": " + Line() + ": an Edge without usable spot IDs is left out");
    return;
  }
  edges_.emplace_back(source, target);
  ++tracks_.back().edges;
}

bool TrackMateParse::Run(std::FILE* file) {
  std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr),
                                                                                  XML_ParserFree);
  if (!parser) {
    result_.error = path_ + ": out of memory";
    return false;
  }
  parser_ = parser.get();
  XML_SetUserData(parser_, this);
  XML_SetElementHandler(parser_, Start, End);
  XML_SetStartDoctypeDeclHandler(parser_, Doctype);

  // Expat scans an unfinished token again from its start with every block it is given;
  // while a block brings no element (a huge attribute), the next block is made twice as
  // large, so such a token costs linear time instead of quadratic.
  constexpr int kBlock = 1 << 20, kLargestBlock = 1 << 28;
  int block = kBlock;
  std::error_code unknown;
  const double size = static_cast<double>(std::filesystem::file_size(path_, unknown));
  double read = 0;
  for (;;) {
    void* buffer = XML_GetBuffer(parser_, block);
    if (!buffer) {
      result_.error = path_ + ": out of memory (an XML token too large to hold)";
      return false;
    }
    const size_t got = std::fread(buffer, 1, static_cast<size_t>(block), file);
    if (got < static_cast<size_t>(block) && std::ferror(file)) {
      result_.error = path_ + ": cannot read the file to its end";
      return false;
    }
    const bool last = got < static_cast<size_t>(block);
    const uint64_t before = events_;
    if (XML_ParseBuffer(parser_, static_cast<int>(got), last) != XML_STATUS_OK) {
      const std::string where = "line " + std::to_string(XML_GetCurrentLineNumber(parser_));
      result_.error = path_ + ": " + where + ": " +
                      (error_.empty() ? std::string("XML error: ") + XML_ErrorString(XML_GetErrorCode(parser_))
                                      : error_);
      return false;
    }
    if (last) break;
    read += static_cast<double>(got);
    if (options_.progress && !unknown && size > 0 && !options_.progress(read / size)) {
      result_.error = path_ + ": cancelled";
      return false;
    }
    block = events_ == before ? std::min(block * 2, kLargestBlock) : kBlock;
  }
  parser_ = nullptr;
  if (spotsWithoutIntensity_ > 0)
    report_.Warn(path_ + ": " + CountOf(spotsWithoutIntensity_, "spot") + " without a finite " +
                 intensityFeature_ + ": taken as 0");
  return true;
}

void TrackMateParse::WarnSpot(int32_t spot, const std::string& why) {
  if (spots_.warned[spot]) return;
  spots_.warned[spot] = 1;
  report_.Warn(WherePrefix(path_, WhereKind::Spot, spots_.id[spot]) + why);
}

void TrackMateParse::Build(PointTable& table) {
  SpotIndex index;
  spots_.warned.assign(spots_.id.size(), 0);
  index.Build(spots_.id, [&](size_t i) {
    WarnSpot(static_cast<int32_t>(i), "the ID is used by an earlier spot; this one is left out");
  });
  if (!filteredSeen_ && !tracks_.empty())
    report_.Warn(path_ + ": no FilteredTracks: every track is read");

  const size_t n = spots_.id.size();
  std::vector<int32_t> successors(n, 0), predecessors(n, 0), next(n, -1);
  std::vector<uint8_t> hasPrevious(n, 0);
  std::vector<std::pair<int32_t, int32_t>> links;  // earlier spot, later spot
  std::vector<int32_t> touched, heads;
  std::vector<std::vector<int32_t>> stretches;
  for (const Track& track : tracks_) {
    if (filteredSeen_ && !filtered_.count(track.id)) continue;
    const std::string trackName = "track " + std::to_string(track.id);
    links.clear();
    for (size_t e = track.firstEdge; e < track.firstEdge + track.edges; ++e) {
      const auto [sourceId, targetId] = edges_[e];
      int32_t a = index.Find(sourceId), b = index.Find(targetId);
      if (a < 0 || b < 0) {
        report_.Warn(WherePrefix(path_, WhereKind::Spot, a < 0 ? sourceId : targetId) + trackName +
                     " links to this spot, which the file does not have; link left out");
        continue;
      }
      bool usable = true;
      for (int32_t s : {a, b})
        if (spots_.state[s] == SpotState::BadFrame) {
          WarnSpot(s, "FRAME is not an integer in range; its links are left out");
          usable = false;
        }
      if (!usable) continue;
      if (spots_.frame[a] == spots_.frame[b]) {
        report_.Warn(WherePrefix(path_, WhereKind::Spot, sourceId) + trackName + " links it to spot " +
                     std::to_string(targetId) + " in the same frame; link left out");
        continue;
      }
      if (spots_.frame[a] > spots_.frame[b]) std::swap(a, b);  // written later to earlier
      links.emplace_back(a, b);
    }
    std::sort(links.begin(), links.end());
    links.erase(std::unique(links.begin(), links.end()), links.end());

    touched.clear();
    for (const auto& [a, b] : links) {
      if (successors[a] == 0 && predecessors[a] == 0) touched.push_back(a);
      if (successors[b] == 0 && predecessors[b] == 0) touched.push_back(b);
      ++successors[a];
      ++predecessors[b];
    }
    for (const int32_t s : touched)
      report_.counts.branchesCut += (successors[s] > 1) + (predecessors[s] > 1);
    for (const auto& [a, b] : links)
      if (successors[a] == 1 && predecessors[b] == 1) {
        next[a] = b;
        hasPrevious[b] = 1;
      }
    // Each spot without a kept predecessor starts a stretch; frames rise along links,
    // so following them always ends.
    heads.clear();
    for (const int32_t s : touched)
      if (!hasPrevious[s]) heads.push_back(s);
    std::sort(heads.begin(), heads.end(), [&](int32_t a, int32_t b) {
      return spots_.frame[a] != spots_.frame[b] ? spots_.frame[a] < spots_.frame[b] : spots_.id[a] < spots_.id[b];
    });
    for (const int32_t head : heads) {
      const int32_t group = static_cast<int32_t>(table.groups.size());
      table.groups.push_back({true, track.id, {}});
      for (int32_t s = head; s >= 0; s = next[s]) {
        if (spots_.state[s] != SpotState::Ok) {
          ++report_.counts.rowsSkipped;
          WarnSpot(s, "the position is not a finite number; spot left out");
          continue;
        }
        table.Add(group, spots_.frame[s], spots_.x[s], spots_.y[s], spots_.intensity[s], spots_.id[s]);
      }
    }
    for (const int32_t s : touched) {
      successors[s] = predecessors[s] = 0;
      next[s] = -1;
      hasPrevious[s] = 0;
    }
  }
}

bool TrackMateParse::Calibrate() {
  Calibration& file = result_.fileCalibration;
  if (!spatialUnits_.empty()) {
    file.positionUnit = ParseLengthUnit(spatialUnits_);
    if (file.positionUnit == LengthUnit::Unknown && options_.positionUnit == LengthUnit::Unknown) {
      result_.error = path_ + ": unknown spatial unit \"" + spatialUnits_ + "\" (\xC2\xB5m, nm or pixel)";
      return false;
    }
  }
  if (std::isfinite(pixelWidth_) && pixelWidth_ > 0) {
    if (file.positionUnit == LengthUnit::Micrometre) file.pixelSizeUm = pixelWidth_;
    if (file.positionUnit == LengthUnit::Nanometre) file.pixelSizeUm = pixelWidth_ * 0.001;
  }
  const double seconds = SecondsPerTimeUnit(timeUnits_);
  if (std::isfinite(timeInterval_) && timeInterval_ > 0 && seconds > 0)
    file.frameIntervalS = timeInterval_ * seconds;
  return true;
}

}  // namespace

bool ReadTrackMateXml(const std::string& path, const ImportOptions& options, PointTable& table,
                      ImportResult& result) {
  std::FILE* file = OpenFileForReading(path);
  if (!file) {
    result.error = path + ": cannot open the file";
    return false;
  }
  result.format = "TrackMate XML";
  TrackMateParse parse(path, options, result);
  const bool read = parse.Run(file);
  std::fclose(file);
  if (!read) return false;
  if (!parse.sawTracks_) {
    result.error = path + ": a TrackMate file without AllTracks (no tracks were saved)";
    return false;
  }
  if (!parse.Calibrate()) return false;
  parse.Build(table);
  return true;
}
