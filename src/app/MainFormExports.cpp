// The text exports of the File and pop-up menus: the dialog, the file and the messages
// here, the tables themselves in edit/.
#include <fstream>
#include <optional>
#include <string>

#include "app/MainForm.h"
#include "edit/DlatTables.h"
#include "edit/MsdExport.h"
#include "edit/PanelExport.h"
#include "edit/StopTimes.h"
#include "edit/TextExport.h"
#include "edit/TrackExport.h"

namespace {

// The main window's text save dialog, shared by every TXT export.
const FileDialog kTextSaveDialog{"Save Distributions as TXT", "Data as TXT (for Excel) |*.txt",
                                 "txt", false, true};
const FileDialog kCsvSaveDialog{"Save Graphs as CSV", "Data as CSV|*.csv", "csv", false, true};

// Text mode, as the exports are written; a stream that is not open means the file could not
// be made.
std::ofstream OpenExportFile(const std::string& path) {
  return std::ofstream(path, std::ios::out | std::ios::trunc);
}

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
  const std::optional<std::string> path = platform_.SaveFileDialog(kTextSaveDialog);
  if (!path) return;
  std::ofstream file = OpenExportFile(*path);
  if (!file.is_open()) {
    platform_.ShowMessage("Can not open file to write data");
    return;
  }
  WritePanelsText(file, LeftGraph, RightGraph, Menu.Checked("L_ShowMSD"),
                  Menu.Checked("R_ShowMSD"));
}

void TMainForm::SaveDistAsCSVClick() {
  const std::optional<std::string> path = platform_.SaveFileDialog(kCsvSaveDialog);
  if (!path) return;
  // CSV is UTF-8 text and has no line-end translation: binary mode.
  std::ofstream file(*path, std::ios::out | std::ios::trunc | std::ios::binary);
  if (!file.is_open()) {
    platform_.ShowMessage("Can not open file to write data");
    return;
  }
  WritePanelsCsv(file, LeftGraph, RightGraph);
}

void TMainForm::SaveXYIntDataClick() { SaveTrackData(0); }
void TMainForm::SaveXYdataClick() { SaveTrackData(1); }
void TMainForm::SaveIntensityDataClick() { SaveTrackData(2); }

void TMainForm::SaveTrackData(int mode) {
  const std::optional<std::string> path = platform_.SaveFileDialog(kTextSaveDialog);
  if (!path) return;
  std::ofstream file = OpenExportFile(*path);
  if (!file.is_open()) {
    platform_.ShowMessage("File Writing Error");
    return;
  }
  TrackExportOptions options;
  options.Mode = mode == 1   ? TrackExportMode::XY
                 : mode == 2 ? TrackExportMode::Intensity
                             : TrackExportMode::XYInt;
  options.Columns = Menu.Checked("SaveXYIntColumns");
  options.PutTime = Menu.Checked("PutTimeInTXTfile");
  options.dT = S.dT;
  WriteTracksText(file, Spots, options,
                  [this](const std::string& text) { platform_.ShowMessage(text); });
}

void TMainForm::SaveXYIntColumnsClick() { Menu.Toggle("SaveXYIntColumns"); }
void TMainForm::PutTimeInTXTfileClick() { Menu.Toggle("PutTimeInTXTfile"); }

void TMainForm::SaveMSDdTClick() {
  const std::optional<std::string> path = platform_.SaveFileDialog(kTextSaveDialog);
  if (!path) return;
  std::ofstream file = OpenExportFile(*path);
  if (!file.is_open()) {
    platform_.ShowMessage("File Writing Error");
    return;
  }
  WriteTrackMSDs(file, Spots, S.dT, CurrentPairRules().IndependentPairs, *Scratch);
}

namespace {

// Both tables exist only beside the Dlat distribution; otherwise the command does nothing.
// The table is made before the dialog; a file that cannot be opened ends it silently.
void SaveDlatTable(Platform& platform, const MenuModel& menu, const TrackStore& spots,
                   double dlatBin, DlatTableKind kind) {
  if (!menu.Checked("R_ShowDlat")) return;
  const std::string text = DlatTableText(spots, dlatBin, kind);
  const std::optional<std::string> path = platform.SaveFileDialog(kTextSaveDialog);
  if (!path) return;
  std::ofstream file = OpenExportFile(*path);
  if (!file.is_open()) return;
  WriteExportText(file, text);
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
  const std::optional<std::string> path = platform_.SaveFileDialog(kTextSaveDialog);
  if (!path) return;
  std::ofstream file = OpenExportFile(*path);
  if (!file.is_open()) return;
  WriteStopTimes(file, Spots, S.dT);
}

void TMainForm::SaveDlatInstVelDataClick() {
  const std::optional<std::string> path = platform_.SaveFileDialog(kTextSaveDialog);
  if (!path) return;
  std::ofstream file = OpenExportFile(*path);
  if (!file.is_open()) {
    platform_.ShowMessage("File Writing Error");
    return;
  }
  DlatInstVelExport& hook = Results.InstVelExport;
  hook.WriteLine = [&file](const std::string& line) { WriteExportText(file, line); };
  hook.Armed = true;
  RunCommand("R_ShowInstantVel");
  // The panel pass disarms the hook itself, but it does not run at all when too few
  // tracks are selected: the hook must never outlive this file.
  hook.Armed = false;
  hook.WriteLine = nullptr;
}
