#pragma once
// How a long loop hears that its command was cancelled: called now and then with the
// share done, on the caller's thread; false means stop. Empty: the loop runs to its end.
#include <cstdint>
#include <functional>

using KeepGoing = std::function<bool(double fraction)>;

// True when the loop may go on: every `every` items, ask (and say how far it got).
inline bool GoOn(const KeepGoing& keepGoing, int64_t done, int64_t total, int64_t every = 1024) {
  if (!keepGoing || done % every != 0 || total <= 0) return true;
  return keepGoing(static_cast<double>(done) / static_cast<double>(total));
}
