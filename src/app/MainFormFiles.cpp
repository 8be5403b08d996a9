// File commands of the main window: QVI reading and writing, the text import.
#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

#include "app/MainForm.h"
#include "app/SaveDialogs.h"
#include "stats/ParallelValues.h"
#include "store/QviReader.h"
#include "store/QviWriter.h"
#include "store/TxtTrack.h"

namespace {

const FileDialog kQviOpenDialog{"", "Quorvex  XYI output (QVI)|*.qvi", "", true, false};
const char* const kOldFormatCaption = " OLD FORMAT  !!!";

}  // namespace

uint32_t TMainForm::RandomBelow(uint32_t n) {
  const uint32_t value = static_cast<uint32_t>(random_());
  return n == 0 ? 0 : value % n;
}

void TMainForm::OpenNewFileClick() {
  OpenQVIFiles(platform_.OpenFileDialog(kQviOpenDialog));
}

void TMainForm::OpenQVIFiles(const std::vector<std::string>& files) {
  if (files.empty()) return;
  NFiles = 0;
  for (size_t i = 0; i < files.size(); ++i) LoadQVIFile(files[i], i == 0);
}

void TMainForm::AddDataFileClick() {
  for (const std::string& file : platform_.OpenFileDialog(kQviOpenDialog)) LoadQVIFile(file, false);
}

void TMainForm::LoadQVIFile(const std::string& path, bool replace) {
  QviReader reader;
  if (!reader.Open(path)) {
    platform_.ShowError("Can not open file");
    return;
  }
  platform_.CloseViewer();
  ChangeTracks();  // records are refilled; the curves kept while reading are current
  SetCaption(path);
  LeftGraph.Caption = path;
  RightGraph.Caption = path;
  ViewerCaption = path;
  if (replace) Spots.NSpots = 0;

  OldFormat = ZeroMarker = Format2016 = false;
  switch (reader.Layout()) {
    case QviLayout::Planar2016: Format2016 = true; break;
    case QviLayout::ZeroMarker: ZeroMarker = OldFormat = true; break;
    case QviLayout::Old: OldFormat = true; break;
  }
  if (OldFormat) SetCaption(kOldFormatCaption);

  // The per-track values are computed on the worker threads while reading goes on.
  std::error_code sizeError;
  const auto fileSize = std::filesystem::file_size(path, sizeError);
  const double bytes = sizeError || fileSize == 0 ? 1.0 : static_cast<double>(fileSize);
  platform_.Progress("Reading " + path, 0.0);
  const PairRules rules = CurrentPairRules();
  const QviStop stop =
      PlainAnalysis
          ? ReadTracksReference(reader, Spots, S, rules, *ScratchArrays)
          : ReadTracksParallel(reader, Spots, S, rules, ThreadPool::Shared(), *ScratchArrays,
                               {[&] {
                                 platform_.Progress("Reading " + path,
                                                    std::min(1.0, reader.Offset() / bytes));
                               }},
                               MsdCurves.get());
  platform_.Progress("Reading " + path, 1.0);
  if (stop == QviStop::AllocationFailed)
    platform_.ShowError("Can not allocate memory for Int, X, Y data");
  else if (stop == QviStop::Overflow)
    platform_.ShowError("Data Overflow");

  ++NFiles;
  CurSpot = 0;
  UpdateAnalysis();
  DualsFound = false;
}

void TMainForm::SaveDataClick() {
  if (Spots.NSpots == 0) {
    platform_.ShowError("NULL objects selected");
    return;
  }
  const auto path =
      platform_.SaveFileDialog({"Save data in QVI file", "QVI data file|*.qvi", "qvi", false, true});
  if (!path) return;
  ReportWrite(platform_, WriteSelectedTracks(*path, Spots, Format2016),
              "Can not open file to write data");
}

void TMainForm::OpenXYtxtClick() {
  const std::vector<std::string> files =
      platform_.OpenFileDialog({"", "TXT file|*.txt", "", false, false});
  if (files.empty()) return;

  // Read into a side buffer first: a file that cannot be opened leaves the store as it was.
  SpotRec imported;
  if (!imported.AllocateFrames(kMaxPoints)) return;
  int32_t rows = 0;
  const bool opened = ReadXYText(files[0], kMaxPoints, [&](int32_t row, float x, float y) {
    imported.X[row] = x;
    imported.Y[row] = y;
    imported.Int[row] = static_cast<float>(20 + RandomBelow(20));
    rows = row + 1;
  });
  if (!opened) {
    platform_.ShowError("File Open Error");
    return;
  }

  TrackStore& spots = ChangeTracks();
  const PairRules rules = CurrentPairRules();
  SpotRec& first = spots[0];
  first.Int = std::move(imported.Int);
  first.X = std::move(imported.X);
  first.Y = std::move(imported.Y);
  first.PosX = first.PosY = first.FirstFrame = 0;
  first.NPoints = rows;
  first.Valid = 1;
  first.SecondHalf = 1;
  first.Partner = -1;
  first.FastFlag = 0;
  ComputeTrackValues(first, S, rules, *ScratchArrays);
  CurSpot = 0;

  // Nine random companions (and two spare records) so the panels have a population to show.
  constexpr int32_t kSyntheticPoints = 100;
  for (int32_t i = 1; i <= 11; ++i) {
    SpotRec& t = spots[i];
    t.NPoints = kSyntheticPoints;
    t.PosX = t.PosY = t.FirstFrame = 0;
    if (!t.AllocateFrames(kSyntheticPoints)) {
      t.NPoints = 0;
      t.Valid = 0;
      continue;
    }
    for (int32_t k = 0; k < kSyntheticPoints; ++k) {
      t.X[k] = static_cast<float>(RandomBelow(50));
      t.Y[k] = static_cast<float>(RandomBelow(50));
      t.Int[k] = static_cast<float>(RandomBelow(200));
    }
    t.Valid = 1;
    t.SecondHalf = 1;
    t.Partner = -1;
    t.FastFlag = 0;
    ComputeTrackValues(t, S, rules, *ScratchArrays);
  }
  spots.NSpots = 10;
  UpdateAnalysis();
  DualsFound = false;
}
