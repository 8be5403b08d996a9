#pragma once
// The save dialogs of the main window's exports and pictures, and what every one of them
// does next: open the chosen file, or write the picture into it. Files are written whole
// or not at all: a failed write leaves the old file (or none) and is reported.
#include <memory>
#include <optional>
#include <string>

#include "app/Platform.h"
#include "store/AtomicOStream.h"

class Bitmap;
class TQVgraph;

// The main window's text save dialog, shared by every TXT export.
extern const FileDialog kTextSaveDialog;

// An export's file: write into it as into any stream, then Commit. Until Commit the
// chosen file is untouched; a writer dropped without Commit leaves it so.
class ExportWriter : public AtomicOStream {
 public:
  ExportWriter(Platform& platform, std::string path);
  // Puts the file in place. False, once "Can not write FILE: reason" is shown, when not
  // every byte reached the disk: the old file (if any) is then still there, and a command
  // that changed something for this file must put it back.
  bool Commit();

 private:
  Platform& platform_;
};

// Asks `dialog` for a file and creates its writer. Null when the dialog is cancelled or
// the file cannot be created; `failure` (when not null) is then shown. Text mode and
// binary write the same bytes here.
std::unique_ptr<ExportWriter> AskExportWriter(Platform& platform, const FileDialog& dialog,
                                              const char* failure);

// Says what a failed write needs said: `openFailure` (when not null) for a file that
// could not be created, the error naming the file for one that was not written whole.
// True when the file was written.
bool ReportWrite(Platform& platform, const FileWriteResult& result, const char* openFailure);

// The picture save dialog of the two panels and of the viewer (BMP, PNG, PDF, SVG);
// nullopt when cancelled.
std::optional<std::string> AskPicturePath(Platform& platform);

// The graphs behind a picture, for the formats that draw them again as vectors: `left` at
// the top-left corner, `right` (may be null) from column width/2, on a width x height page.
struct PictureGraphs {
  TQVgraph* left = nullptr;
  TQVgraph* right = nullptr;
  int width = 0;
  int height = 0;
};

// Writes a picture by its name's extension (any case): ".pdf" and ".svg" drawn again from
// `graphs` with real lines and texts, ".png" from the toolkit's encoder, anything else
// (and PDF or SVG names when no graphs are given) as a 24-bit BMP of `picture`. A file
// that cannot be created shows "Can not open file to write data", one not written whole
// the error naming it. True when the file was written.
bool SavePicture(Platform& platform, const Bitmap& picture, const std::string& path,
                 const PictureGraphs* graphs = nullptr);
