#include "app/PanelTable.h"

#include <iterator>

#include "stats/DlatPanels.h"

namespace {

// Items whose analysis has not landed yet clear their panel.
void EmptyPanel(AnalysisContext&, TQVgraph& graph);

const PanelChoice kPanels[] = {
    {"L_ShowIntens", "Left-IntensityDistr", EmptyPanel},
    {"L_ShowDlat", "Left-D_lat", CalcDlatDist},
    {"L_ShowMSD", "Left-MSD-dT", ShowMSDvsDT},
    {"L_ShowDlatLenDistr", "Left-Len-Dlat", EmptyPanel},
    {"L_ShowIntMobDistr", "Left-Int-Mob", EmptyPanel},
    {"L_ShowIntVelDistr", "Left-Int-Vel", EmptyPanel},
    {"L_ShowAngleDistr", "Left-Angle Distr.", EmptyPanel},
    {"L_ShowAbsTrackLenDistr", "Left-Abs. Track Len", EmptyPanel},
    {"L_ShowInstantVel", "Left-InstVel", EmptyPanel},
    {"L_ShowInstIntens", "Left-InstIntensDist", EmptyPanel},
    {"L_MobilitySlopeDist", "Left-MobSlopeDist", EmptyPanel},
    {"R_ShowIntens", "Right-Intensity-Distr", EmptyPanel},
    {"R_ShowDlat", "Right-D_lat", CalcDlatDist},
    {"R_ShowMSD", "Right-MSD-dT", ShowMSDvsDT},
    {"R_ShowRMSD", "Right-Distance-Tm", EmptyPanel},
    {"R_ShowVelDist", "Right-Velocity_Distr", EmptyPanel},
    {"R_ShowInstantVel", "Right-InstVel", EmptyPanel},
    {"R_ShowTimeCourse", "Right-Intens-Time", EmptyPanel},
    {"R_ShowVelocityTime", "Right-Velocity-Time", EmptyPanel},
    {"R_DistanceToNeighbDistrib", "Right-Dist To Neighb.", EmptyPanel},
    {"R_ShowStepDistr", "Right-Step_Distr", EmptyPanel},
};

}  // namespace

#include "plot/TQVgraph.h"

namespace {
void EmptyPanel(AnalysisContext&, TQVgraph& graph) { graph.DataFirst = graph.DataEnd = 0; }
}  // namespace

const PanelChoice* FindPanelChoice(std::string_view item) {
  for (const PanelChoice& choice : kPanels)
    if (item == choice.item) return &choice;
  return nullptr;
}

const PanelChoice* PanelChoicesBegin() { return std::begin(kPanels); }
const PanelChoice* PanelChoicesEnd() { return std::end(kPanels); }
