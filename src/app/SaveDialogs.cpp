#include "app/SaveDialogs.h"

#include <algorithm>
#include <cctype>

#include "plot/Canvas.h"
#include "plot/Picture.h"

const FileDialog kTextSaveDialog{"Save Distributions as TXT", "Data as TXT (for Excel) |*.txt",
                                 "txt", false, true};

std::optional<std::ofstream> AskExportFile(Platform& platform, const FileDialog& dialog,
                                           const char* failure, std::ios::openmode extraMode) {
  const std::optional<std::string> path = platform.SaveFileDialog(dialog);
  if (!path) return std::nullopt;
  std::optional<std::ofstream> file(std::in_place, *path,
                                    std::ios::out | std::ios::trunc | extraMode);
  if (file->is_open()) return file;
  if (failure) platform.ShowMessage(failure);
  return std::nullopt;
}

std::optional<std::string> AskPicturePath(Platform& platform) {
  FileDialog dialog;
  dialog.filter = "Bitmaps (*.bmp)|*.bmp";
  dialog.defaultExt = "bmp";
  dialog.promptOverwrite = true;
  return platform.SavePictureDialog(dialog);
}

namespace {

bool HasPngExtension(const std::string& path) {
  if (path.size() < 4) return false;
  std::string ext = path.substr(path.size() - 4);
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext == ".png";
}

}  // namespace

void SavePicture(Platform& platform, const Bitmap& picture, const std::string& path) {
  const bool saved = HasPngExtension(path) ? picture.SavePng(path) : WriteBmp24(picture, path);
  if (!saved) platform.ShowMessage("Can not open file to write data");
}
