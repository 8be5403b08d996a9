#include "stats/JumpLengths.h"

#include <algorithm>
#include <cmath>

JumpSet CollectJumps(const TrackPoints* tracks, int32_t count, const JumpOptions& options) {
  JumpSet set;
  set.maxLag = std::clamp(options.maxLag, 1, kMaxJumpLag);
  const int32_t perTrack = std::max(options.jumpsPerTrack, 0);
  set.tracksGiven = tracks ? std::max(count, 0) : 0;
  for (int32_t t = 0; t < set.tracksGiven; ++t) {
    const TrackPoints& p = tracks[t];
    if (!p.X || !p.Y || p.NPoints < 2) continue;
    bool used = false;
    for (int32_t k = 1; k <= set.maxLag; ++k) {
      int32_t taken = 0;
      for (int32_t i = 0; i + k < p.NPoints && (perTrack == 0 || taken < perTrack); i += k) {
        const double dx = double{p.X[i + k]} - p.X[i], dy = double{p.Y[i + k]} - p.Y[i];
        const double r2 = dx * dx + dy * dy;
        ++taken;  // a jump lost to a bad coordinate still counts as one of the first J
        if (!std::isfinite(r2) || r2 > 3e38) continue;
        set.squared.push_back(static_cast<float>(r2));
        set.track.push_back(t);
        set.lag.push_back(static_cast<uint8_t>(k));
        set.endPoint.push_back(i + k);
        ++set.perLag[k];
        used = true;
      }
    }
    set.tracksUsed += used;
  }
  return set;
}
