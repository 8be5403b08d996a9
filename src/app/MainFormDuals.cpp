// Dual tracks and binding: the pairing command of the Action menu, the two commands that
// act on the pairs, and the pop-up menu's exports and fused-track view.
#include <optional>
#include <string>

#include "app/MainForm.h"
#include "app/SaveDialogs.h"
#include "edit/DualTracks.h"

namespace {

// True once "Find Dual Tracks" has run; otherwise tells the user `notYet`.
bool HaveDuals(TMainForm& form, const char* notYet) {
  if (!form.DualsFound) form.platform().ShowError(notYet);
  return form.DualsFound;
}

// The four exports need the pairs first; then they ask for the file. Nullopt when there
// are no pairs (said) or the dialog is cancelled (silent).
std::optional<std::string> AskDualExportPath(TMainForm& form) {
  if (!HaveDuals(form, "Click 'dual tracks' in 'Actions' first")) return std::nullopt;
  return form.platform().SaveFileDialog(kTextSaveDialog);
}

}  // namespace

// The pair count is the whole message, "0" included.
void TMainForm::FindDualTracksClick() {
  const int32_t pairs = FindDualTracks(Spots, S, Format2016);
  UpdateAnalysis();
  DualsFound = true;
  platform_.ShowMessage(std::to_string(pairs));
}

// The cut tracks keep their Dlat and AverVel until something refits them.
void TMainForm::LeaveDualsPartsOnlyClick() {
  if (!HaveDuals(*this, "Do 'Find Dual Tracks' first")) return;
  LeaveDualsPartsOnly(Spots);
  UpdateAnalysis();
}

void TMainForm::DynamicBindingClick() {
  if (!HaveDuals(*this, "Do \"Find Dual Tracks\" first")) return;
  DynamicBinding(Spots);
  UpdateAnalysis();
}

// A cancelled dialog or a file that cannot be written ends the command silently with
// the flags untouched.
void TMainForm::SaveBindingTimesClick(std::string_view item) {
  const BindingTime which =
      item == "SaveBoundTime" ? BindingTime::Bound : BindingTime::BeforeBinding;
  const auto path = AskDualExportPath(*this);
  if (!path || !ReportWrite(platform_, SaveBindingTimes(Spots, S, which, *path), nullptr)) return;
  UpdateAnalysis();
}

// The Green exports only read the store: no recomputation.
void TMainForm::SaveGreenSpotsClick(std::string_view item) {
  const GreenAlignment alignment = item == "SaveGreenSplittingSpots" ? GreenAlignment::Splitting
                                                                     : GreenAlignment::Binding;
  if (const auto path = AskDualExportPath(*this))
    ReportWrite(platform_, SaveGreenSpots(Spots, alignment, *path), nullptr);
}

// The viewer opens its fused view on the first selected track of a pair (CurSpot is left
// as it was when there is none, and the viewer says so). No DualsFound check: Partner is
// -1 for every track after a load, so there is nothing to pick before pairing.
void TMainForm::ShowFusedTracksClick() {
  const int32_t first = FirstFusedTrack(Spots);
  if (first >= 0) CurSpot = first;
  if (GraphForm && GraphForm->ShowFusedTracks()) platform_.ShowViewer();
}
