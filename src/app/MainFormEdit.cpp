// Track editing commands of the Action and RunFilter menus.
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

// The running filters of the RunFilter menu: which filter, over how many frames.
struct RunningFilter {
  const char* item;
  void (*filter)(TrackStore&, int32_t, FilterScratch&, const KeepGoing&);
  int32_t width;
};

const RunningFilter kRunningFilters[] = {
    {"RunningMed3", RunningMedianAll, 3},     {"RunningMed5", RunningMedianAll, 5},
    {"RunningAverage3", RunningAverage, 3}, {"RunningAverage5", RunningAverage, 5},
    {"RunningAverage7", RunningAverage, 7},
};

}  // namespace

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

// The filtered values replace the stored ones; Dlat, AverVel and AverInt keep the values
// of the raw track until something refits them.
void TMainForm::RunningFilterClick(std::string_view item) {
  for (const RunningFilter& f : kRunningFilters) {
    if (item != f.item) continue;
    if (FilterScratch* scratch = MadeOnce(FilterWork))
      f.filter(Spots, f.width, *scratch, JobCheck());
    if (cancelled_) return;
    UpdateAnalysis();
    return;
  }
}
