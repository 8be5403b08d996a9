// The text exports of the File and pop-up menus: the dialog, the file and the messages
// here, the tables themselves in edit/.
#include <fstream>
#include <optional>
#include <string>

#include "app/MainForm.h"
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

void TMainForm::RegisterExportCommands() {
  AddCommand("SaveDistAsTXT", [this] { SaveDistAsTXTClick(); });
  AddCommand("SaveDistAsCSV", [this] { SaveDistAsCSVClick(); });
  AddCommand("SaveMSDdT", [this] { SaveMSDdTClick(); });
  AddCommand("SaveXYIntData", [this] { SaveXYIntDataClick(); });
  AddCommand("SaveXYdata", [this] { SaveXYdataClick(); });
  AddCommand("SaveIntensityData", [this] { SaveIntensityDataClick(); });
  AddCommand("SaveXYIntColumns", [this] { SaveXYIntColumnsClick(); });
  AddCommand("PutTimeInTXTfile", [this] { PutTimeInTXTfileClick(); });
  AddCommand("SaveDlatVersInt", [this] { SaveDlatVersIntClick(); });
  AddCommand("SaveDlatVerLen", [this] { SaveDlatVerLenClick(); });
  AddCommand("SaveStopTimes", [this] { SaveStopTimesClick(); });
  AddCommand("SaveDlatInstVelData", [this] { SaveDlatInstVelDataClick(); });
}

void TMainForm::SaveDistAsTXTClick() {
  std::optional<std::ofstream> file = AskExportFile(platform_, kTextSaveDialog, kCanNotOpen);
  if (!file) return;
  WritePanelsText(*file, LeftGraph, RightGraph, Menu.Checked("L_ShowMSD"),
                  Menu.Checked("R_ShowMSD"));
}

void TMainForm::SaveDistAsCSVClick() {
  // CSV is UTF-8 text and has no line-end translation: binary mode.
  std::optional<std::ofstream> file =
      AskExportFile(platform_, kCsvSaveDialog, kCanNotOpen, std::ios::binary);
  if (!file) return;
  WritePanelsCsv(*file, LeftGraph, RightGraph);
}

void TMainForm::SaveXYIntDataClick() { SaveTrackData(0); }
void TMainForm::SaveXYdataClick() { SaveTrackData(1); }
void TMainForm::SaveIntensityDataClick() { SaveTrackData(2); }

void TMainForm::SaveTrackData(int mode) {
  std::optional<std::ofstream> file = AskExportFile(platform_, kTextSaveDialog, kWritingError);
  if (!file) return;
  TrackExportOptions options;
  options.Mode = mode == 1   ? TrackExportMode::XY
                 : mode == 2 ? TrackExportMode::Intensity
                             : TrackExportMode::XYInt;
  options.Columns = Menu.Checked("SaveXYIntColumns");
  options.PutTime = Menu.Checked("PutTimeInTXTfile");
  options.dT = S.dT;
  WriteTracksText(*file, Spots, options,
                  [this](const std::string& text) { platform_.ShowMessage(text); });
}

void TMainForm::SaveXYIntColumnsClick() { Menu.Toggle("SaveXYIntColumns"); }
void TMainForm::PutTimeInTXTfileClick() { Menu.Toggle("PutTimeInTXTfile"); }

void TMainForm::SaveMSDdTClick() {
  std::optional<std::ofstream> file = AskExportFile(platform_, kTextSaveDialog, kWritingError);
  if (!file) return;
  WriteTrackMSDs(*file, Spots, S.dT, CurrentPairRules().IndependentPairs, *Scratch);
}

namespace {

// Both tables exist only beside the Dlat distribution; otherwise the command does nothing.
// The table is made before the dialog; a file that cannot be opened ends it silently.
void SaveDlatTable(Platform& platform, const MenuModel& menu, const TrackStore& spots,
                   double dlatBin, DlatTableKind kind) {
  if (!menu.Checked("R_ShowDlat")) return;
  const std::string text = DlatTableText(spots, dlatBin, kind);
  std::optional<std::ofstream> file = AskExportFile(platform, kTextSaveDialog, nullptr);
  if (!file) return;
  WriteExportText(*file, text);
}

}  // namespace

void TMainForm::SaveDlatVersIntClick() {
  SaveDlatTable(platform_, Menu, Spots, S.DlatBin, DlatTableKind::IntensityPerDlat);
}

void TMainForm::SaveDlatVerLenClick() {
  SaveDlatTable(platform_, Menu, Spots, S.DlatBin, DlatTableKind::DlatPerLength);
}

void TMainForm::SaveStopTimesClick() {
  if (!Menu.Checked("StoppingSpots") && !DualsFound) {
    platform_.ShowMessage("Select 'Stopping Spots' in 'Settings' first or do dual tracks");
    return;
  }
  std::optional<std::ofstream> file = AskExportFile(platform_, kTextSaveDialog, nullptr);
  if (!file) return;
  WriteStopTimes(*file, Spots, S.dT);
}

void TMainForm::SaveDlatInstVelDataClick() {
  std::optional<std::ofstream> file = AskExportFile(platform_, kTextSaveDialog, kWritingError);
  if (!file) return;
  std::ofstream& out = *file;
  DlatInstVelExport& hook = Results.InstVelExport;
  hook.WriteLine = [&out](const std::string& line) { WriteExportText(out, line); };
  hook.Armed = true;
  RunCommand("R_ShowInstantVel");
  // The panel pass disarms the hook itself, but it does not run at all when too few
  // tracks are selected: the hook must never outlive this file.
  hook.Armed = false;
  hook.WriteLine = nullptr;
}
