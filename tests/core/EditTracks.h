#pragma once
// Small hand-built stores for the editing-command tests.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "app/MainForm.h"

// Appends an active track with the given frames and its per-track values as on load.
inline SpotRec& AddEditTrack(TMainForm& form, int32_t firstFrame, const std::vector<float>& x,
                             const std::vector<float>& y = {}, const std::vector<float>& in = {}) {
  const int32_t i = form.Spots.NSpots;
  SpotRec& t = form.Spots[i];
  const int32_t n = static_cast<int32_t>(x.size());
  EXPECT_TRUE(t.AllocateFrames(n));
  t.NPoints = n;
  t.FirstFrame = firstFrame;
  t.Valid = 1;
  for (int32_t j = 0; j < n; ++j) {
    t.X[j] = x[static_cast<size_t>(j)];
    t.Y[j] = j < static_cast<int32_t>(y.size()) ? y[static_cast<size_t>(j)] : 0.0f;
    t.Int[j] = j < static_cast<int32_t>(in.size()) ? in[static_cast<size_t>(j)] : 100.0f;
  }
  form.ComputeTrackValuesOf(i, i + 1);
  form.Spots.NSpots = i + 1;
  return t;
}

inline std::vector<float> Frames(const FrameArray& values, int32_t n) {
  return std::vector<float>(values.data(), values.data() + n);
}

// '1' for every active track, in store order.
inline std::string ValidMask(const TMainForm& form) {
  std::string mask;
  for (int32_t i = 0; i < form.Spots.NSpots; ++i) mask += form.Spots[i].Valid ? '1' : '0';
  return mask;
}
