#pragma once
// The save dialogs of the main window's exports and pictures, and what every one of them
// does next: open the chosen file, or write the picture into it.
#include <fstream>
#include <optional>
#include <string>

#include "app/Platform.h"

class Bitmap;

// The main window's text save dialog, shared by every TXT export.
extern const FileDialog kTextSaveDialog;

// Asks `dialog` for a file and opens it for writing in text mode (plus `extraMode`).
// Nullopt when the dialog is cancelled or the file cannot be opened; `failure` (when not
// null) is then shown for the file that could not be opened.
std::optional<std::ofstream> AskExportFile(Platform& platform, const FileDialog& dialog,
                                           const char* failure,
                                           std::ios::openmode extraMode = std::ios::openmode{});

// The picture save dialog of the two panels and of the viewer; nullopt when cancelled.
std::optional<std::string> AskPicturePath(Platform& platform);

// Writes `picture` to `path`: a PNG file when the name ends in ".png" (any case), from the
// toolkit's encoder, a 24-bit BMP otherwise. A file that cannot be written is reported.
void SavePicture(Platform& platform, const Bitmap& picture, const std::string& path);
