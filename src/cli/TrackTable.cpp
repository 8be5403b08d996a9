#include "cli/TrackTable.h"

#include <cmath>
#include <string>

#include "store/Numbers.h"

namespace {

std::string Float9(float value) {
  if (std::isnan(value)) return "nan";
  return FormatG(value, 9);
}

}  // namespace

void WriteTrackTable(std::ostream& out, const TrackStore& store) {
  out << "index\tNPoints\tFirstFrame\tPosX\tPosY\tAverInt\tDlat\tAverVel\tSTest\tStepIndex\t"
         "IntBefore\tIntAfter\tValid\tSelected\n";
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    out << i << '\t' << t.NPoints << '\t' << t.FirstFrame << '\t' << t.PosX << '\t' << t.PosY
        << '\t' << Float9(t.AverInt) << '\t' << Float9(t.Dlat) << '\t' << Float9(t.AverVel) << '\t'
        << Float9(t.STest) << '\t' << t.StepIndex << '\t' << Float9(t.IntBefore) << '\t'
        << Float9(t.IntAfter) << '\t' << int(t.Valid) << '\t' << int(t.Selected) << '\n';
  }
}
