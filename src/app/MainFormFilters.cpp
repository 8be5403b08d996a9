// The FILTER menu's toggles and the two track transforms of the Action menu.
#include <string>

#include "app/MainForm.h"
#include "edit/SpotFilters.h"
#include "edit/Transforms.h"

namespace {

// The toggles in menu order, with what each adds to the FILTER menu's caption.
struct FilterToggle {
  const char* item;
  const char* suffix;
};

const FilterToggle kFilterToggles[] = {
    {"IndependentPairs", "(IP)"}, {"AbsoluteXspeed", "(absX)"}, {"TwoStepsOnly", "(2st)"},
    {"StoppingSpots", "(St)"},    {"FastMovingSpots", "(F+)"},
};

// "FILTER" followed by the suffix of every checked toggle, in menu order.
void UpdateFilterCaption(MenuModel& menu) {
  std::string caption = "FILTER";
  for (const FilterToggle& toggle : kFilterToggles)
    if (menu.Checked(toggle.item)) caption += toggle.suffix;
  menu.SetCaption("FILTER", caption);
}

}  // namespace

void TMainForm::RunStoppingFilter() { StoppingFilter(Spots, S, CurrentPairRules()); }

void TMainForm::RunFastMovingFilter() { FastMovingFilter(Spots, S, CurrentPairRules()); }

void TMainForm::IndependentPairsClick() {
  RecomputeAllMobility();
  // Run whether or not "Stopping Spots Only" is checked: the step stride has changed.
  RunStoppingFilter();
  UpdateAnalysis();
  UpdateFilterCaption(Menu);
}

void TMainForm::AbsoluteXspeedClick() {
  RecomputeAllVelocities();
  UpdateAnalysis();
  UpdateFilterCaption(Menu);
}

// Each filter pass runs once as its toggle flips either way (a stopping pass after
// unchecking still rewrites the stretches); UpdateAnalysis runs the checked ones again.
void TMainForm::SpotFilterClick(std::string_view item) {
  if (item == "StoppingSpots") RunStoppingFilter();
  if (item == "FastMovingSpots") RunFastMovingFilter();
  UpdateAnalysis();
  UpdateFilterCaption(Menu);
}

void TMainForm::LeftRightTracksClick() {
  if (const std::optional<float> slope = RotateTracksLeftToRight(Spots))
    Registers.FitSlope = *slope;
  // Distances are unchanged, so Dlat stays; signed X speeds may have turned.
  RecomputeAllVelocities();
  UpdateAnalysis();
}

void TMainForm::MatchTracksClick() {
  if (!Format2016) {
    platform_.ShowError("Old File Format");
    return;
  }
  if (!FitTracksTogether(Spots, JobCheck())) return;  // cancelled: the command is undone
  UpdateAnalysis();
}
