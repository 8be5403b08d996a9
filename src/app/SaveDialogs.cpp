#include "app/SaveDialogs.h"

#include <algorithm>
#include <cctype>

#include "plot/Canvas.h"
#include "plot/Picture.h"
#include "plot/VectorFigure.h"

const FileDialog kTextSaveDialog{"Save Distributions as TXT", "Data as TXT (for Excel) |*.txt",
                                 "txt", false, true};

ExportWriter::ExportWriter(Platform& platform, std::string path)
    : AtomicOStream(std::move(path)), platform_(platform) {}

bool ExportWriter::Commit() { return ReportWrite(platform_, AtomicOStream::Commit(), nullptr); }

std::unique_ptr<ExportWriter> AskExportWriter(Platform& platform, const FileDialog& dialog,
                                              const char* failure) {
  const std::optional<std::string> path = platform.SaveFileDialog(dialog);
  if (!path) return nullptr;
  auto writer = std::make_unique<ExportWriter>(platform, *path);
  if (writer->Open()) return writer;
  if (failure) platform.ShowError(failure);
  else platform.QuietFailure("Can not create " + *path);
  return nullptr;
}

bool ReportWrite(Platform& platform, const FileWriteResult& result, const char* openFailure) {
  if (result.status == FileWriteResult::NotOpened) {
    if (openFailure) platform.ShowError(openFailure);
    else platform.QuietFailure(result.error);
  } else if (result.status == FileWriteResult::NotWritten) {
    platform.ShowError(result.error);
  }
  return static_cast<bool>(result);
}

std::optional<std::string> AskPicturePath(Platform& platform) {
  FileDialog dialog;
  dialog.filter =
      "Bitmaps (*.bmp)|*.bmp|PNG pictures (*.png)|*.png|PDF documents (*.pdf)|*.pdf|"
      "SVG drawings (*.svg)|*.svg";
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

// The encoded bytes written whole, or the reason there were none.
FileWriteResult WriteEncoded(const std::string& path, const std::string& bytes,
                             const char* whyEmpty) {
  if (bytes.empty()) return {FileWriteResult::NotWritten, "Can not write " + path + ": " + whyEmpty};
  return WriteFileAtomically(path, bytes);
}

}  // namespace

bool SavePicture(Platform& platform, const Bitmap& picture, const std::string& path,
                 const PictureGraphs* graphs) {
  FigureFormat format = FigureFormat::Pdf;
  FileWriteResult result;
  if (graphs && VectorFormatOf(path, format))
    result = WriteEncoded(
        path, PanelsFigure(format, graphs->left, graphs->right, graphs->width, graphs->height),
        "the figure could not be drawn");
  else if (HasPngExtension(path))
    result = WriteEncoded(path, picture.EncodePng(), "the picture could not be encoded");
  else
    result = WriteBmp24(picture, path);
  return ReportWrite(platform, result, "Can not open file to write data");
}
