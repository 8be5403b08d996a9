// Tracks from other programs (TrackMate XML, CSV track tables) into the store, and back
// out as CSV: the File menu's import commands and "Save Tracks as CSV".
#include <algorithm>
#include <cstdio>
#include <string>

#include "app/MainForm.h"
#include "app/SaveDialogs.h"
#include "import/TrackCsvWriter.h"
#include "import/TrackImport.h"
#include "store/FileOpen.h"

namespace {

const FileDialog kImportDialog{
    "", "Track files (TrackMate XML, CSV)|*.xml *.csv *.tsv *.txt|All files|*", "", true, false};
const FileDialog kTracksCsvDialog{"Save Tracks as CSV", "Tracks as CSV|*.csv", "csv", false, true};

// QVI files are binary; the others start as text (a byte-order mark, '<' of XML, or a
// header line of printable characters). A ".qvi" name always means QVI, and so does an
// empty or unreadable file, which the QVI reader then reports as it always has.
bool IsTrackText(const std::string& path) {
  if (path.size() >= 4 && path.compare(path.size() - 4, 4, ".qvi") == 0) return false;
  std::FILE* file = OpenFileForReading(path);
  if (!file) return false;
  unsigned char head[512];
  const size_t got = std::fread(head, 1, sizeof head, file);
  std::fclose(file);
  if (got == 0) return false;
  for (size_t i = 0; i < got && head[i] != '\n'; ++i)
    if (head[i] < 0x20 && head[i] != '\t' && head[i] != '\r') return false;
  return true;
}

// "50501 tracks imported (3 split at gaps, 2 branches cut, 12 single points left out)",
// then how the calibration was decided and the first warnings.
std::string ImportMessage(int32_t added, const ImportResult& r) {
  const ImportCounts& c = r.report.counts;
  std::string text = std::to_string(added) + " tracks imported (" + std::to_string(c.splitAtGaps) +
                     " split at gaps, " + std::to_string(c.branchesCut) + " branches cut, " +
                     std::to_string(c.singlePointsLeftOut) + " single points left out";
  if (c.gapsFilled > 0) text += ", " + std::to_string(c.gapsFilled) + " gaps filled";
  if (c.rowsSkipped > 0) text += ", " + std::to_string(c.rowsSkipped) + " rows skipped";
  text += ")";
  for (const std::string& note : r.report.notes) text += "\n" + note;
  constexpr size_t kShownWarnings = 5;
  const std::vector<std::string>& warnings = r.report.warnings;
  for (size_t i = 0; i < warnings.size() && i < kShownWarnings; ++i) text += "\n" + warnings[i];
  const int64_t more = static_cast<int64_t>(warnings.size() - std::min(warnings.size(), kShownWarnings)) +
                       r.report.warningsLeftOut;
  if (more > 0) text += "\n... and " + std::to_string(more) + " more warnings";
  return text;
}

}  // namespace

void TMainForm::ImportTracksClick() { OpenTrackFiles(platform_.OpenFileDialog(kImportDialog), true); }

void TMainForm::AddTracksClick() { OpenTrackFiles(platform_.OpenFileDialog(kImportDialog), false); }

void TMainForm::OpenTrackFiles(const std::vector<std::string>& files, bool replace) {
  if (replace && !files.empty()) NFiles = 0;
  for (size_t i = 0; i < files.size(); ++i) {
    const bool first = replace && i == 0;
    if (IsTrackText(files[i])) ImportTracksFrom(files[i], first);
    else LoadQVIFile(files[i], first);
  }
}

bool TMainForm::ImportTracksFrom(const std::string& path, bool replace) {
  ImportOptions options = ImportSettings;
  options.askCalibration = [&](CalibrationRequest& request) {
    return platform_.AskCalibration(path, request);
  };
  // The file is read whole before the store is touched: a cancel there leaves it as it was.
  const std::string job = "Importing " + path;
  platform_.Progress(job, 0.0, true);
  bool cancelled = false;
  options.progress = [&](double fraction) {
    cancelled = !platform_.Progress(job, std::min(fraction, 0.999), true);
    return !cancelled;
  };
  const ImportResult imported = ImportTrackFile(path, options);
  platform_.Progress(job, 1.0, true);
  if (cancelled) {
    platform_.ShowMessage("Cancelled");
    return false;
  }
  if (!imported.ok) {
    platform_.ShowError(imported.error);
    return false;
  }
  platform_.CloseViewer();
  TrackStore& spots = ChangeTracks();
  SetCaption(path);
  LeftGraph.Caption = RightGraph.Caption = ViewerCaption = path;
  if (replace) spots.NSpots = 0;
  // Imported positions are held as in a QVI file with relative positions.
  OldFormat = ZeroMarker = Format2016 = false;
  // The file's frame interval is dT before any per-track value is computed.
  SetFrameInterval(imported.calibration.frameIntervalS);
  const int32_t first = spots.NSpots;
  const AppendOutcome outcome = AppendImportedTracks(spots, imported.data, {});
  ComputeTrackValuesOf(first, spots.NSpots);
  if (outcome.stop == QviStop::AllocationFailed)
    platform_.ShowError("Can not allocate memory for Int, X, Y data");
  else if (outcome.stop == QviStop::Overflow)
    platform_.ShowError("Data Overflow");
  platform_.ShowMessage(ImportMessage(outcome.added, imported));
  ++NFiles;
  CurSpot = 0;
  UpdateAnalysis();
  DualsFound = false;
  return true;
}

void TMainForm::SaveTracksCSVClick() {
  const std::optional<std::string> path = platform_.SaveFileDialog(kTracksCsvDialog);
  if (!path) return;
  TrackCsvOptions options;
  options.relativePositions = !Format2016;
  options.frameIntervalS = S.dT;
  options.timeUnit = TimeUnit;
  const FileWriteResult written = WriteTracksCsv(*path, Spots, options, JobCheck());
  if (!cancelled_) ReportWrite(platform_, written, "Can not open file to write data");
}
