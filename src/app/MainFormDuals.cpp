// Dual tracks and binding: the pairing command of the Action menu, the two commands that
// act on the pairs, and the pop-up menu's exports and fused-track view.
#include <string>

#include "app/MainForm.h"
#include "edit/DualTracks.h"

namespace {

const FileDialog kTextSaveDialog{"Save Distributions as TXT", "Data as TXT (for Excel) |*.txt",
                                 "txt", false, true};
const char* const kExportGate = "Click 'dual tracks' in 'Actions' first";

}  // namespace

void TMainForm::RegisterDualCommands() {
  AddCommand("FindDualTracks", [this] { FindDualTracksClick(); });
  AddCommand("LeaveDualsPartsOnly", [this] { LeaveDualsPartsOnlyClick(); });
  AddCommand("DynamicBinding", [this] { DynamicBindingClick(); });
  AddCommand("ShowFusedTracks", [this] { ShowFusedTracksClick(); });
  AddCommand("SaveTimeBeforeBinding", [this] { SaveTimeBeforeBindingClick(); });
  AddCommand("SaveBoundTime", [this] { SaveBoundTimeClick(); });
  AddCommand("SaveGreenBindingSpots", [this] { SaveGreenBindingSpotsClick(); });
  AddCommand("SaveGreenSplittingSpots", [this] { SaveGreenSplittingSpotsClick(); });
}

// The pair count is the whole message, "0" included.
void TMainForm::FindDualTracksClick() {
  const int32_t pairs = FindDualTracks(Spots, S, Format2016);
  UpdateAnalysis();
  DualsFound = true;
  platform_.ShowMessage(std::to_string(pairs));
}

// The cut tracks keep their Dlat and AverVel until something refits them.
void TMainForm::LeaveDualsPartsOnlyClick() {
  if (!DualsFound) {
    platform_.ShowMessage("Do 'Find Dual Tracks' first");
    return;
  }
  LeaveDualsPartsOnly(Spots);
  UpdateAnalysis();
}

void TMainForm::DynamicBindingClick() {
  if (!DualsFound) {
    platform_.ShowMessage("Do \"Find Dual Tracks\" first");
    return;
  }
  DynamicBinding(Spots);
  UpdateAnalysis();
}

// A cancelled dialog or a file that cannot be written ends the command silently with
// the flags untouched.
void TMainForm::SaveTimeBeforeBindingClick() {
  if (!DualsFound) {
    platform_.ShowMessage(kExportGate);
    return;
  }
  const auto path = platform_.SaveFileDialog(kTextSaveDialog);
  if (!path || !SaveBindingTimes(Spots, S, BindingTime::BeforeBinding, *path)) return;
  UpdateAnalysis();
}

void TMainForm::SaveBoundTimeClick() {
  if (!DualsFound) {
    platform_.ShowMessage(kExportGate);
    return;
  }
  const auto path = platform_.SaveFileDialog(kTextSaveDialog);
  if (!path || !SaveBindingTimes(Spots, S, BindingTime::Bound, *path)) return;
  UpdateAnalysis();
}

// The Green exports only read the store: no recomputation.
void TMainForm::SaveGreenBindingSpotsClick() {
  if (!DualsFound) {
    platform_.ShowMessage(kExportGate);
    return;
  }
  if (const auto path = platform_.SaveFileDialog(kTextSaveDialog))
    SaveGreenSpots(Spots, GreenAlignment::Binding, *path);
}

void TMainForm::SaveGreenSplittingSpotsClick() {
  if (!DualsFound) {
    platform_.ShowMessage(kExportGate);
    return;
  }
  if (const auto path = platform_.SaveFileDialog(kTextSaveDialog))
    SaveGreenSpots(Spots, GreenAlignment::Splitting, *path);
}

// The viewer opens its fused view on the first selected track of a pair (CurSpot is left
// as it was when there is none, and the viewer says so). No DualsFound check: Partner is
// -1 for every track after a load, so there is nothing to pick before pairing.
void TMainForm::ShowFusedTracksClick() {
  const int32_t first = FirstFusedTrack(Spots);
  if (first >= 0) CurSpot = first;
  if (GraphForm && GraphForm->ShowFusedTracks()) platform_.ShowViewer();
}
