#include "store/TrackAppend.h"

bool FileTrackAppender::Commit(const std::function<void(SpotRec&)>& trackAdded) {
  SpotRec& t = store_[store_.NSpots];
  t.Valid = 1;
  t.SecondHalf = 1;
  t.Partner = -1;
  t.FastFlag = 0;
  if (trackAdded) trackAdded(t);
  // The first half of the file's tracks (rounded up) are not in the second half. Clearing
  // the whole range NSpots - k/2 .. NSpots - k + 1 after every track would be quadratic in
  // the tracks of a file; all of it but its top record is already clear, so clear that one.
  ++added_;
  store_[store_.NSpots - added_ / 2].SecondHalf = 0;
  ++store_.NSpots;
  return store_.NSpots <= kMaxTracks;
}
