// The text exports of the File and pop-up menus: the dialog, the file and the messages
// here, the tables themselves in edit/.
#include <optional>
#include <string>

#include "app/MainForm.h"
#include "app/PanelTable.h"
#include "app/SaveDialogs.h"
#include "edit/DlatTables.h"
#include "edit/MsdExport.h"
#include "edit/PanelExport.h"
#include "edit/StopTimes.h"
#include "edit/TextExport.h"
#include "edit/TrackExport.h"

namespace {

const FileDialog kCsvSaveDialog{"Save Graphs as CSV", "Data as CSV|*.csv", "csv", false, true};

// The two texts for a file that cannot be opened; some exports say nothing at all.
const char* const kCanNotOpen = "Can not open file to write data";
const char* const kWritingError = "File Writing Error";

}  // namespace

void TMainForm::SaveDistAsTXTClick() {
  const auto file = AskExportWriter(platform_, kTextSaveDialog, kCanNotOpen);
  if (!file) return;
  WritePanelsText(*file, LeftGraph, RightGraph, Menu.Checked("L_ShowMSD"),
                  Menu.Checked("R_ShowMSD"));
  file->Commit();
}

void TMainForm::SaveDistAsCSVClick() {
  const auto file = AskExportWriter(platform_, kCsvSaveDialog, kCanNotOpen);
  if (!file) return;
  WritePanelsCsv(*file, LeftGraph, RightGraph);
  file->Commit();
}

void TMainForm::SaveTrackDataClick(std::string_view item) {
  const auto file = AskExportWriter(platform_, kTextSaveDialog, kWritingError);
  if (!file) return;
  TrackExportOptions options;
  options.Mode = item == "SaveXYdata"          ? TrackExportMode::XY
                 : item == "SaveIntensityData" ? TrackExportMode::Intensity
                                               : TrackExportMode::XYInt;
  options.Columns = Menu.Checked("SaveXYIntColumns");
  options.PutTime = Menu.Checked("PutTimeInTXTfile");
  options.dT = S.dT;
  const auto say = [this](const std::string& text) { platform_.ShowMessage(text); };
  if (WriteTracksText(*file, Spots, options, say, JobCheck())) file->Commit();
}

void TMainForm::SaveMSDdTClick() {
  const auto file = AskExportWriter(platform_, kTextSaveDialog, kWritingError);
  if (!file) return;
  if (WriteTrackMSDs(*file, Spots, S.dT, CurrentPairRules().IndependentPairs, *ScratchArrays,
                     JobCheck()))
    file->Commit();
}

// Both tables exist only beside the Dlat distribution; otherwise the command does nothing.
// The table is made before the dialog; a file that cannot be opened ends it silently.
void TMainForm::SaveDlatTableClick(std::string_view item) {
  if (!Menu.Checked("R_ShowDlat")) return;
  const DlatTableKind kind = item == "SaveDlatVersInt" ? DlatTableKind::IntensityPerDlat
                                                       : DlatTableKind::DlatPerLength;
  const std::string text = DlatTableText(Spots, S.DlatBin, kind);
  const auto file = AskExportWriter(platform_, kTextSaveDialog, nullptr);
  if (!file) return;
  WriteExportText(*file, text);
  file->Commit();
}

void TMainForm::SaveStopTimesClick() {
  if (!Menu.Checked("StoppingSpots") && !DualsFound) {
    platform_.ShowError("Select 'Stopping Spots' in 'Settings' first or do dual tracks");
    return;
  }
  const auto file = AskExportWriter(platform_, kTextSaveDialog, nullptr);
  if (!file) return;
  WriteStopTimes(*file, Spots, S.dT);
  file->Commit();
}

// The right panel switches to the instant-velocity distribution, and its run of this one
// recomputation writes every value into the file. The panel shows the distribution even
// when the file then cannot be written: the switch is the command's visible half.
void TMainForm::SaveDlatInstVelDataClick() {
  const auto file = AskExportWriter(platform_, kTextSaveDialog, kWritingError);
  if (!file) return;
  std::ostream& out = *file;
  const LineSink sink = [&out](const std::string& line) { WriteExportText(out, line); };
  Menu.SetChecked("R_ShowInstantVel", true);
  Menu.SetCaption("Right", FindPanelChoice("R_ShowInstantVel")->menuCaption);
  RecomputePanels(&sink);
  file->Commit();
}
