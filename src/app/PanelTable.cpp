#include "app/PanelTable.h"

#include "stats/CorrelationPanels.h"
#include "stats/DistancePanels.h"
#include "stats/DlatLengthPanel.h"
#include "stats/DlatPanels.h"
#include "stats/EstimatorPanels.h"
#include "stats/IntensityPanels.h"
#include "stats/MobilitySlopePanel.h"
#include "stats/NeighbourPanel.h"
#include "stats/StepDistributionPanel.h"
#include "stats/TimeCoursePanels.h"
#include "stats/VelocityPanels.h"

namespace {

const PanelChoice kPanels[] = {
    {"L_ShowIntens", "Left-IntensityDistr", CalcIntensDist},
    {"L_ShowDlat", "Left-D_lat", CalcDlatDist},
    {"L_ShowMSD", "Left-MSD-dT", ShowMSDvsDT},
    {"L_ShowDlatLenDistr", "Left-Len-Dlat", CalcDlatLenDist},
    {"L_ShowIntMobDistr", "Left-Int-Mob", CalcIntMobDistr},
    {"L_ShowIntVelDistr", "Left-Int-Vel", CalcIntVelDistr},
    {"L_ShowAngleDistr", "Left-Angle Distr.", CalcAngleDist},
    {"L_ShowAbsTrackLenDistr", "Left-Abs. Track Len", CalcMaxDistDist},
    {"L_ShowInstantVel", "Left-InstVel", CalcInstantVelDist},
    {"L_ShowInstIntens", "Left-InstIntensDist", CalcInstIntensDist},
    {"L_MobilitySlopeDist", "Left-MobSlopeDist", CalcMobilitySlopeDist},
    {"L_ShowDcveDistr", "Left-D-CVE", CalcDcveDist},
    {"R_ShowIntens", "Right-Intensity-Distr", CalcIntensDist},
    {"R_ShowDlat", "Right-D_lat", CalcDlatDist},
    {"R_ShowMSD", "Right-MSD-dT", ShowMSDvsDT},
    {"R_ShowRMSD", "Right-Distance-Tm", CalcDistanceTimeCourse},
    {"R_ShowVelDist", "Right-Velocity_Distr", CalcVelDist},
    {"R_ShowInstantVel", "Right-InstVel", CalcInstantVelDist},
    {"R_ShowTimeCourse", "Right-Intens-Time", CalcIntensityTimeCourse},
    {"R_ShowVelocityTime", "Right-Velocity-Time", CalcVelocityTimeCourse},
    {"R_DistanceToNeighbDistrib", "Right-Dist To Neighb.", CalcNeighbDistDist},
    {"R_ShowStepDistr", "Right-Step_Distr", CalcStepDistr},
    {"R_ShowPooledMSD", "Right-Pooled-MSD", CalcPooledMSD},
    {"R_ShowJumpDistr", "Right-Jump-Distr", CalcJumpDistr},
};

}  // namespace

const PanelChoice* FindPanelChoice(std::string_view item) {
  for (const PanelChoice& choice : kPanels)
    if (item == choice.item) return &choice;
  return nullptr;
}
