#pragma once
// Hand-made stores for the panel and export tests: tracks appended as on load, fixed-seed
// walks that come out the same on every platform, and checks shared by the panels.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "FakePlatform.h"
#include "app/MainForm.h"

using Floats = std::vector<float>;

// A main window on a scripted platform; each file names it after its suite for TEST_F.
struct FormTest : ::testing::Test {
  FakePlatform platform;
  TMainForm form{platform};
};

// Appends an active track (Y 0 and Int 100 where not given) and computes its per-track
// values as on load.
inline SpotRec& AddTrack(TMainForm& form, const Floats& x, const Floats& y = {},
                         const Floats& in = {}, int32_t firstFrame = 0) {
  const int32_t i = form.Spots.NSpots, n = static_cast<int32_t>(x.size());
  SpotRec& t = form.Spots[i];
  EXPECT_TRUE(t.AllocateFrames(n));
  t.NPoints = n;
  t.FirstFrame = firstFrame;
  t.Valid = 1;
  for (int32_t k = 0; k < n; ++k) {
    t.X[k] = x[k];
    t.Y[k] = k < static_cast<int32_t>(y.size()) ? y[k] : 0.0f;
    t.Int[k] = k < static_cast<int32_t>(in.size()) ? in[k] : 100.0f;
  }
  form.ComputeTrackValuesOf(i, i + 1);
  form.Spots.NSpots = i + 1;
  return t;
}

// Appends an active track of n frames at the origin with nothing computed, for bulk
// stores whose per-track values the test sets itself.
inline SpotRec& AddBlankTrack(TMainForm& form, int32_t n) {
  SpotRec& t = form.Spots[form.Spots.NSpots++];
  EXPECT_TRUE(t.AllocateFrames(n));
  t.NPoints = n;
  t.Valid = 1;
  return t;
}

// start, start + step, ... (n values, worked out in double).
inline Floats Ramp(int n, double step, double start = 0) {
  Floats v(n);
  for (int k = 0; k < n; ++k) v[k] = static_cast<float>(start + k * step);
  return v;
}

// Fixed-seed uniforms in (0, 1) and Box-Muller normals on the engine's raw 32-bit output.
struct Noise {
  std::mt19937 engine;
  explicit Noise(uint32_t seed) : engine(seed) {}
  double Uniform() { return (engine() + 0.5) / 4294967296.0; }
  double Normal() { return std::sqrt(-2 * std::log(Uniform())) * std::cos(2 * M_PI * Uniform()); }
};

struct XY {
  Floats x, y;
};

// A walk from (10, 10): every frame moves `drift` along `angle` plus normal steps of SD
// `sd` in each coordinate. Brownian motion of D has sd = sqrt(2 D dT).
inline XY Walk(Noise& noise, int n, double sd, double drift = 0, double angle = 0) {
  XY t{Floats(n), Floats(n)};
  double x = 10, y = 10;
  for (int k = 0; k < n; ++k) {
    t.x[k] = static_cast<float>(x);
    t.y[k] = static_cast<float>(y);
    x += drift * std::cos(angle) + sd * noise.Normal();
    y += drift * std::sin(angle) + sd * noise.Normal();
  }
  return t;
}

inline SpotRec& AddTrack(TMainForm& form, const XY& t, int32_t firstFrame = 0) {
  return AddTrack(form, t.x, t.y, {}, firstFrame);
}

// The number just after `key` in a note; NaN when the key is missing.
inline double NoteNumber(const std::string& note, const std::string& key) {
  const size_t at = note.find(key);
  return at == std::string::npos ? NAN : std::strtod(note.c_str() + at + key.size(), nullptr);
}

// Finite axes with positive X and left Y ticks, rows in bounds: nothing the graph has to
// repair but an empty range. Only distributions that may fill a whole row may end there.
inline void ExpectFiniteAxes(const TQVgraph& g, bool fullRowAllowed = false) {
  for (double v : {g.FirstXval, g.LastXval, g.FirstY0val, g.LastY0val, g.FirstY1val, g.LastY1val,
                   g.TickXdist, g.TickY0dist, g.TickY1dist})
    EXPECT_TRUE(std::isfinite(v));
  EXPECT_TRUE(g.TickXdist > 0 && g.TickY0dist > 0);
  EXPECT_GE(g.DataFirst, 0);
  EXPECT_LE(g.DataEnd, fullRowAllowed ? g.Stride : g.Stride - 1);
}
