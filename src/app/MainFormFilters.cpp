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

}  // namespace

void TMainForm::UpdateFilterCaption() {
  std::string caption = "FILTER";
  for (const FilterToggle& toggle : kFilterToggles)
    if (Menu.Checked(toggle.item)) caption += toggle.suffix;
  Menu.SetCaption("FILTER", caption);
}

void TMainForm::RunStoppingFilter() { StoppingFilter(Spots, S, CurrentPairRules()); }

void TMainForm::RunFastMovingFilter() { FastMovingFilter(Spots, S, CurrentPairRules()); }

void TMainForm::IndependentPairsClick() {
  Menu.Toggle("IndependentPairs");
  RecomputeAllMobility();
  // Run whether or not "Stopping Spots Only" is checked: the step stride has changed.
  RunStoppingFilter();
  UpdateAnalysis();
  UpdateFilterCaption();
}

void TMainForm::AbsoluteXspeedClick() {
  Menu.Toggle("AbsoluteXspeed");
  RecomputeAllVelocities();
  UpdateAnalysis();
  UpdateFilterCaption();
}

void TMainForm::TwoStepsOnlyClick() {
  Menu.Toggle("TwoStepsOnly");
  UpdateAnalysis();
  UpdateFilterCaption();
}

void TMainForm::StoppingSpotsClick() {
  Menu.Toggle("StoppingSpots");
  RunStoppingFilter();
  UpdateAnalysis();
  UpdateFilterCaption();
}

void TMainForm::FastMovingSpotsClick() {
  Menu.Toggle("FastMovingSpots");
  RunFastMovingFilter();
  UpdateAnalysis();
  UpdateFilterCaption();
}

void TMainForm::LeftRightTracksClick() {
  RotateTracksLeftToRight(Spots, Results.FitSlope);
  // Distances are unchanged, so Dlat stays; signed X speeds may have turned.
  RecomputeAllVelocities();
  UpdateAnalysis();
}

void TMainForm::MatchTracksClick() {
  if (!Format2016) {
    platform_.ShowMessage("Old File Format");
    return;
  }
  FitTracksTogether(Spots);
  UpdateAnalysis();
}

void TMainForm::RegisterFilterCommands() {
  AddCommand("IndependentPairs", [this] { IndependentPairsClick(); });
  AddCommand("AbsoluteXspeed", [this] { AbsoluteXspeedClick(); });
  AddCommand("TwoStepsOnly", [this] { TwoStepsOnlyClick(); });
  AddCommand("StoppingSpots", [this] { StoppingSpotsClick(); });
  AddCommand("FastMovingSpots", [this] { FastMovingSpotsClick(); });
  AddCommand("LeftRightTracks", [this] { LeftRightTracksClick(); });
  AddCommand("MatchTracks", [this] { MatchTracksClick(); });
}
