// Track editing commands of the Action and RunFilter menus and the two time-base
// toggles of the Settings menu.
#include <new>

#include "app/MainForm.h"

namespace {

// Scratch made once, at the first command that needs it; null only when memory is short,
// and then the command does nothing (these commands never report anything).
template <class T>
T* MadeOnce(std::unique_ptr<T>& owner) {
  if (!owner) owner.reset(new (std::nothrow) T());
  return owner.get();
}

// One running filter of width `w` over every track, then the recomputation.
void RunTrackFilter(TMainForm& form, void (*filter)(TrackStore&, int32_t, FilterScratch&),
                    int32_t w) {
  if (FilterScratch* scratch = MadeOnce(form.FilterWork)) filter(form.Spots, w, *scratch);
  form.UpdateAnalysis();
}

}  // namespace

void TMainForm::RegisterEditCommands() {
  AddCommand("CorrectForDrift1", [this] { CorrectForDriftClick(); });
  AddCommand("RemoveEnds1", [this] { RemoveEndsClick(); });
  AddCommand("RemoveDupicates1", [this] { RemoveDupicatesClick(); });
  AddCommand("RemoveLandings1", [this] { RemoveLandingsClick(); });
  AddCommand("RemoveStaticSpots1", [this] { RemoveStaticSpotsClick(); });
  AddCommand("ShiftDown", [this] { ShiftDownClick(); });
  AddCommand("ShiftOneTimeStep", [this] { ShiftOneTimeStepClick(); });
  AddCommand("Time0", [this] { Time0Click(); });
  AddCommand("UseTimeWindow", [this] { UseTimeWindowClick(); });
  AddCommand("RunningMed3", [this] { RunningMed3Click(); });
  AddCommand("RunningAverage3", [this] { RunningAverage3Click(); });
  AddCommand("RunningAverage5", [this] { RunningAverage5Click(); });
  AddCommand("RunningAverage7", [this] { RunningAverage7Click(); });
  AddCommand("RunningMed5", [this] { RunningMed5Click(); });
}

// No refit and no recomputation: the corrected tracks show at the next one.
void TMainForm::CorrectForDriftClick() {
  if (DriftTables* tables = MadeOnce(DriftWork)) CorrectForDrift(Spots, *tables);
}

void TMainForm::RemoveEndsClick() {
  RemoveEnds(Spots);
  RecomputeAllMobility();
  UpdateAnalysis();
}

void TMainForm::RemoveDupicatesClick() {
  if (DuplicateScratch* scratch = MadeOnce(DuplicateWork)) RemoveDupicates(Spots, *scratch);
  UpdateAnalysis();
}

void TMainForm::RemoveLandingsClick() {
  RemoveLandings(Spots, S);
  UpdateAnalysis();
}

void TMainForm::RemoveStaticSpotsClick() {
  RemoveStaticSpots(Spots, S);
  UpdateAnalysis();
}

void TMainForm::ShiftDownClick() { ShiftDown(Spots, S); }

void TMainForm::ShiftOneTimeStepClick() { ShiftOneTimeStep(Spots); }

// The analyses read the check marks; no track changes.
void TMainForm::Time0Click() {
  Menu.Toggle("Time0");
  UpdateAnalysis();
}

void TMainForm::UseTimeWindowClick() {
  Menu.Toggle("UseTimeWindow");
  UpdateAnalysis();
}

// The filtered values replace the stored ones; Dlat, AverVel and AverInt keep the values
// of the raw track until something refits them.
void TMainForm::RunningMed3Click() { RunTrackFilter(*this, RunningMedianAll, 3); }
void TMainForm::RunningMed5Click() { RunTrackFilter(*this, RunningMedianAll, 5); }
void TMainForm::RunningAverage3Click() { RunTrackFilter(*this, RunningAverage, 3); }
void TMainForm::RunningAverage5Click() { RunTrackFilter(*this, RunningAverage, 5); }
void TMainForm::RunningAverage7Click() { RunTrackFilter(*this, RunningAverage, 7); }
