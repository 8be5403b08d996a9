#include "cli/TrackTable.h"

#include "edit/TableText.h"

std::string TrackTableText(const TrackStore& store, const std::string& dlatUnit,
                           const std::string& timeUnit, bool csv) {
  TableText table(csv);
  table.Row({"index", "NPoints", "FirstFrame", "PosX (0.1 µm)", "PosY (0.1 µm)",
             "AverInt (counts)", "Dlat (" + dlatUnit + ")", "AverVel (µm/" + timeUnit + ")",
             "STest", "StepIndex", "IntBefore (counts)", "IntAfter (counts)", "Valid",
             "Selected", "Dcve (" + dlatUnit + ")", "SigmaCve (µm)", "Alpha"});
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    table.Row({std::to_string(i), std::to_string(t.NPoints), std::to_string(t.FirstFrame),
               std::to_string(t.PosX), std::to_string(t.PosY), TableText::Float(t.AverInt),
               TableText::Float(t.Dlat), TableText::Float(t.AverVel), TableText::Float(t.STest),
               std::to_string(t.StepIndex), TableText::Float(t.IntBefore),
               TableText::Float(t.IntAfter), std::to_string(int(t.Valid)),
               std::to_string(int(t.Selected)), TableText::Float(t.Dcve),
               TableText::Float(t.SigmaCve), TableText::Float(t.Alpha)});
  }
  return table.Text();
}
