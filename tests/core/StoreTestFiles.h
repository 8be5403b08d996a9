#pragma once
// Files for the tests: temporary paths, whole-file reads and writes, simulated QVI files,
// and QVI blocks put together byte by byte here (not with the program's own writer), plus a
// check that the store is still consistent.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "app/MainForm.h"
#include "sim/SimOutput.h"
#include "sim/Simulator.h"

// A path in a folder of this test process's own.
inline std::string TempPath(const std::string& name) {
  static const std::filesystem::path dir = [] {
    auto d = std::filesystem::temp_directory_path() /
             ("kinetra-tests-" + std::to_string(::getpid()));
    std::filesystem::create_directories(d);
    return d;
  }();
  return (dir / name).string();
}

inline std::string WriteFile(const std::string& name, const std::string& bytes) {
  const std::string path = TempPath(name);
  // A new file rather than a truncated one: ext4 flushes a file truncated and rewritten.
  std::filesystem::remove(path);
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

inline std::string Repeat(const std::string& text, int n) {
  std::string out;
  while (n-- > 0) out += text;
  return out;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A simulated population written as a QVI file.
inline std::string SimulatedFile(const std::string& name, const PopulationPlan& plan) {
  const std::string path = TempPath(name);
  EXPECT_TRUE(WriteSimulatedQvi(path, MakePopulation(plan)));
  return path;
}

namespace testfiles {

class Bytes {
 public:
  Bytes& Float(float v) { return Raw(&v); }
  Bytes& Int(int32_t v) { return Raw(&v); }
  Bytes& Floats(const std::vector<float>& values) {
    for (float v : values) Float(v);
    return *this;
  }
  const std::string& str() const { return data_; }
  size_t size() const { return data_.size(); }

 private:
  Bytes& Raw(const void* word) {
    char b[4];
    std::memcpy(b, word, 4);  // the machine is little-endian, as the files are
    data_.append(b, 4);
    return *this;
  }
  std::string data_;
};

struct Track {
  float posX = 0, posY = 0, firstFrame = 0, hdr = 0;
  std::vector<float> in, x, y;
  int frames() const { return static_cast<int>(in.size()); }
};

// Distinct, exactly representable values, so a frame read from the wrong place shows.
inline Track MakeTrack(int frames, int seed) {
  Track t;
  t.posX = static_cast<float>(10 + seed);
  t.posY = static_cast<float>(20 + seed);
  t.firstFrame = static_cast<float>(3 * seed);
  for (int k = 0; k < frames; ++k) {
    t.in.push_back(static_cast<float>(1000 * seed + k) + 0.5f);
    t.x.push_back(static_cast<float>(seed) + 0.25f * static_cast<float>(k));
    t.y.push_back(-static_cast<float>(seed) - 0.125f * static_cast<float>(k));
  }
  return t;
}

// Planar block; `count` is the frame count written into the header (frames() unless given).
inline void AddPlanar(Bytes& b, int32_t marker, const Track& t, float count = -1) {
  b.Int(marker).Float(0).Float(t.hdr).Float(t.posX).Float(t.posY);
  b.Float(count < 0 ? static_cast<float>(t.frames()) : count).Float(t.firstFrame);
  b.Floats(t.in).Floats(t.x).Floats(t.y);
}

// Old interleaved block: the count is one more than the triples that follow.
inline void AddOld(Bytes& b, const Track& t) {
  b.Float(t.posX).Float(t.posY).Float(static_cast<float>(t.frames() + 1)).Float(t.firstFrame);
  for (int k = 0; k < t.frames(); ++k) b.Float(t.in[k]).Float(t.x[k]).Float(t.y[k]);
}

// `count` tracks of `frames` frames made from seeds seed, seed + 1, ...
inline std::vector<Track> Tracks(int count, int frames, int seed) {
  std::vector<Track> out;
  for (int i = 0; i < count; ++i) out.push_back(MakeTrack(frames, seed + i));
  return out;
}

inline std::string PlanarFile(const std::string& name, const std::vector<Track>& tracks) {
  Bytes b;
  for (const Track& t : tracks) AddPlanar(b, 2016, t);
  return WriteFile(name, b.str());
}

// Whatever was read, the store must stay usable by every analysis.
inline void ExpectStoreConsistent(const TMainForm& form) {
  const TrackStore& store = form.Spots;
  ASSERT_TRUE(store.NSpots >= 0 && store.NSpots <= kStoreCapacity) << store.NSpots;
  ASSERT_TRUE(store.NSelected >= 0 && store.NSelected <= store.NSpots) << store.NSelected;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    if (!t.Valid) continue;
    ASSERT_TRUE(t.NPoints >= 0 && t.NPoints <= kMaxPoints) << "track " << i << ": " << t.NPoints;
    for (const FrameArray* a : {&t.Int, &t.X, &t.Y})
      ASSERT_GE(a->size(), t.NPoints + kSpareFrames) << "track " << i;
  }
}

}  // namespace testfiles
