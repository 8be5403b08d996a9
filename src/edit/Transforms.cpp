#include "edit/Transforms.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "edit/TrackPoints.h"
#include "stats/Fits.h"
#include "store/TrackStore.h"

namespace {

// Turns one track clockwise by the angle of its fitted line, after shifting the line
// through the origin. A slope that is not a number (a vertical or one-point track) is
// taken as it comes.
void RotateTrack(SpotRec& track, float& FitSlope) {
  const int32_t n = track.ReadablePoints();
  float* x = track.X.data();
  float* y = track.Y.data();
  const double b = LinearFit(x, y, n, FitSlope);
  const float m = FitSlope;
  track.LineSlope = m;
  if (m == 0) return;
  const long double a = std::atan(static_cast<long double>(m));
  const long double c = std::cos(a), s = std::sin(a);
  // Each new point depends only on the old point of the same index, so the rotated
  // values can go straight back into the track.
  for (int32_t j = 0; j < n; ++j) {
    y[j] = static_cast<float>(y[j] - b);
    const long double xj = x[j], yj = y[j];
    x[j] = static_cast<float>(c * xj + s * yj);
    y[j] = static_cast<float>(-xj * s + c * yj);
  }
}

// Shifts `track` by its mean offset from `reference` over the track's own points.
void AlignOnto(SpotRec& track, const SpotRec& reference) {
  const int32_t n = std::min(track.ReadablePoints(), reference.ReadablePoints());
  if (n <= 0) return;  // no points: the mean is undefined and nothing would move
  double sx = 0, sy = 0;
  for (int32_t j = 0; j < n; ++j) {
    sx += track.X[j] - reference.X[j];
    sy += track.Y[j] - reference.Y[j];
  }
  const double mx = sx / n, my = sy / n;
  for (int32_t j = 0; j < n; ++j) {
    track.X[j] = static_cast<float>(track.X[j] - mx);
    track.Y[j] = static_cast<float>(track.Y[j] - my);
  }
}

}  // namespace

void RaiseY(TrackStore& store) {
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    const int32_t n = t.ReadablePoints();
    for (int32_t j = 0; j < n; ++j) t.Y[j] = static_cast<float>(t.Y[j] + 1.0);
  }
}

std::optional<float> RotateTracksLeftToRight(TrackStore& store) {
  for (int32_t i = 0; i < store.NSpots; ++i) {
    SpotRec& t = store[i];
    const int32_t n = t.ReadablePoints();
    if (n > 0 && t.X[n - 1] < t.X[0])
      for (int32_t j = 0; j < n; ++j) t.X[j] = -t.X[j];
  }
  std::optional<float> lastSlope;
  for (int32_t i = 0; i < store.NSpots; ++i) {
    float slope = 0;
    RotateTrack(store[i], slope);
    lastSlope = slope;
  }
  return lastSlope;
}

std::vector<int32_t> AlignmentOrder(const TrackStore& store) {
  std::vector<int32_t> order;
  order.reserve(static_cast<size_t>(std::max(store.NSpots, 0)));
  for (int32_t i = 0; i < store.NSpots; ++i)
    if (store[i].NPoints > 0) order.push_back(i);
  std::stable_sort(order.begin(), order.end(),
                   [&](int32_t a, int32_t b) { return store[a].NPoints > store[b].NPoints; });
  return order;
}

void FitTracksTogetherReference(TrackStore& store) {
  const int32_t count = store.NSpots;
  for (int32_t i = 0; i < count; ++i) store[i].SecondHalf = 0;
  // NPoints does not change here, so the references come in a fixed order; sorting once
  // spares a search of the whole store in every pass.
  const std::vector<int32_t> order = AlignmentOrder(store);
  const size_t references = order.size();
  for (size_t p = 0; p < references; ++p) {
    const SpotRec& reference = store[order[p]];
    store[order[p]].SecondHalf = 1;
    // Every track still unmarked: the later ones of the order (tracks without points
    // have nothing to move).
    for (size_t q = p + 1; q < references; ++q) AlignOnto(store[order[q]], reference);
  }
  // Passes left over once no track qualifies take track 0 as the reference.
  if (static_cast<size_t>(count) > references) store[0].SecondHalf = 1;
  RaiseY(store);
}
