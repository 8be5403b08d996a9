#pragma once
// Hand-made stores shared by the tests: tracks appended as on load, fixed-seed walks that
// come out the same on every platform, and the checks several suites share.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
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

// Allocates and fills the frames of a record: Y 0 and Int 100 where not given.
inline SpotRec& SetFrames(SpotRec& t, const Floats& x, const Floats& y = {}, const Floats& in = {}) {
  const int32_t n = static_cast<int32_t>(x.size());
  EXPECT_TRUE(t.AllocateFrames(n));
  t.NPoints = n;
  for (int32_t k = 0; k < n; ++k) {
    t.X[k] = x[k];
    t.Y[k] = k < static_cast<int32_t>(y.size()) ? y[k] : 0.0f;
    t.Int[k] = k < static_cast<int32_t>(in.size()) ? in[k] : 100.0f;
  }
  return t;
}

// A record on its own, outside any store.
inline SpotRec MakeSpot(const Floats& x, const Floats& y = {}, const Floats& in = {}) {
  SpotRec t;
  SetFrames(t, x, y, in);
  return t;
}

// Appends a record to a bare store, nothing computed.
inline SpotRec& AddRaw(TrackStore& store, const Floats& x, int32_t firstFrame = 0) {
  SpotRec& t = SetFrames(store[store.NSpots++], x);
  t.FirstFrame = firstFrame;
  return t;
}

// Appends an active track and computes its per-track values as on load.
inline SpotRec& AddTrack(TMainForm& form, const Floats& x, const Floats& y = {},
                         const Floats& in = {}, int32_t firstFrame = 0) {
  const int32_t i = form.Spots.NSpots;
  SpotRec& t = SetFrames(form.Spots[i], x, y, in);
  t.FirstFrame = firstFrame;
  t.Valid = 1;
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

inline Floats Frames(const FrameArray& values, int32_t n) {
  return Floats(values.data(), values.data() + n);
}

// '1' for every active (or selected) track, in store order.
inline std::string Mask(const TMainForm& form, uint8_t SpotRec::*flag) {
  std::string mask;
  for (int32_t i = 0; i < form.Spots.NSpots; ++i) mask += form.Spots[i].*flag ? '1' : '0';
  return mask;
}
inline std::string ValidMask(const TMainForm& form) { return Mask(form, &SpotRec::Valid); }
inline std::string SelectedMask(const TMainForm& form) { return Mask(form, &SpotRec::Selected); }

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

// A drifting random walk with an intensity step somewhere; `special` puts a NaN (1) or an
// infinity (2) into a few coordinates and one intensity.
inline SpotRec RandomSpot(std::mt19937& gen, int n, int special = 0) {
  std::normal_distribution<float> step(0.0f, 0.08f), noise(0.0f, 8.0f);
  std::uniform_real_distribution<float> drift(-0.06f, 0.06f);
  const float vx = drift(gen), vy = drift(gen);
  const int stepAt = n > 0 ? static_cast<int>(gen() % static_cast<unsigned>(n)) : 0;
  Floats x(n), y(n), in(n);
  for (int k = 0; k < n; ++k) {
    x[k] = (k ? x[k - 1] : 20.0f) + (vx + step(gen));
    y[k] = (k ? y[k - 1] : 20.0f) + (vy + step(gen));
    in[k] = (k < stepAt ? 150.0f : 70.0f) + noise(gen);
  }
  if (special != 0 && n > 3) {
    const float value = special == 1 ? NAN : INFINITY;
    x[n / 3] = y[n / 4] = y[n / 4 + 1] = in[n / 2] = value;
  }
  return MakeSpot(x, y, in);
}

// Selects as a recomputation does and runs one analysis onto a panel.
inline void RunAnalysis(TMainForm& form, PanelAnalysis analysis, TQVgraph& graph) {
  form.SelectSpots();
  AnalysisContext context = form.MakeAnalysisContext();
  analysis(context, graph);
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
