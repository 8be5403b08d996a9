#include "edit/Drift.h"

#include "edit/TrackPoints.h"

void ComputeDriftPath(const TrackStore& store, DriftTables& tables) {
  for (int32_t f = 0; f < kDriftFrames; ++f) {
    tables.DriftX[f] = 0.0;
    tables.DriftY[f] = 0.0;
    tables.DriftCount[f] = 0;
  }

  // Slot f collects the steps from frame f to frame f + 1.
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    const int32_t n = t.ReadablePoints();
    for (int32_t j = 0; j < n - 1; ++j) {
      const int64_t f = int64_t{t.FirstFrame} + j;
      if (f >= kDriftFrames) break;
      if (f < 0) continue;
      tables.DriftX[f] += t.X[j + 1] - t.X[j];
      tables.DriftY[f] += t.Y[j + 1] - t.Y[j];
      tables.DriftCount[f] += 1;
    }
  }

  for (int32_t f = 0; f < kDriftFrames; ++f) {
    if (tables.DriftCount[f] > 0) {
      tables.DriftX[f] /= tables.DriftCount[f];
      tables.DriftY[f] /= tables.DriftCount[f];
    }
  }
  for (int32_t f = 0; f + 1 < kDriftFrames; ++f) {
    tables.DriftX[f + 1] += tables.DriftX[f];
    tables.DriftY[f + 1] += tables.DriftY[f];
  }
}

int64_t CorrectForDrift(TrackStore& store, DriftTables& tables) {
  ComputeDriftPath(store, tables);
  int64_t uncorrected = 0;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    const int32_t n = t.ReadablePoints();
    for (int32_t j = 0; j < n; ++j) {
      const int64_t f = int64_t{t.FirstFrame} + j;
      if (f < 0 || f >= kDriftFrames) {
        ++uncorrected;
        continue;
      }
      t.X[j] = static_cast<float>(t.X[j] - tables.DriftX[f]);
      t.Y[j] = static_cast<float>(t.Y[j] - tables.DriftY[f]);
    }
  }
  return uncorrected;
}
