// The single-track viewer seen from the main window, and its two batch commands.
#include <algorithm>
#include <cctype>

#include "app/MainForm.h"
#include "plot/Canvas.h"
#include "plot/Picture.h"
#include "store/Numbers.h"

namespace {

bool EndsWithPng(const std::string& path) {
  if (path.size() < 4) return false;
  std::string ext = path.substr(path.size() - 4);
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext == ".png";
}

}  // namespace

void TMainForm::RegisterViewerCommands() {
  // Made right after the main window, as the program creates its viewer.
  GraphForm = std::make_unique<TGraphForm>(*this);
  AddCommand("ViewTrack", [this] { ViewTrackClick(); });
  AddCommand("ViewerPicture", [this] { ViewerPictureClick(); });
}

void TMainForm::ViewTrackClick() {
  const std::optional<std::string> answer =
      platform_.InputQuery("View Track", "Track Number=", std::to_string(CurSpot));
  if (!answer || !GraphForm) return;
  bool ok = false;
  const int32_t index = ParseInteger(*answer, &ok);
  if (!ok || index < 0 || index >= Spots.NSpots) {
    platform_.ShowMessage("Track Number out of order");
    return;
  }
  CurSpot = index;
  GraphForm->ResetDisplayFlags();
  GraphForm->ShowSpot(index);
  platform_.ShowViewer();
}

void TMainForm::ViewerPictureClick() {
  if (!GraphForm) return;
  FileDialog dialog;
  dialog.filter = "Bitmaps (*.bmp)|*.bmp";
  dialog.defaultExt = "bmp";
  dialog.promptOverwrite = true;
  const std::optional<std::string> path = platform_.SavePictureDialog(dialog);
  if (!path) return;
  GraphForm->Render();
  const Bitmap* picture = GraphForm->Graph.Bitmap.get();
  if (!picture || picture->Width() <= 0 || picture->Height() <= 0) {
    platform_.ShowMessage("BMP eror");
    return;
  }
  const bool saved = EndsWithPng(*path) ? picture->SavePng(*path) : WriteBmp24(*picture, *path);
  if (!saved) platform_.ShowMessage("Can not open file to write data");
}
