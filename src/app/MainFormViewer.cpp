// The single-track viewer seen from the main window, and its two batch commands.
#include "app/MainForm.h"
#include "app/SaveDialogs.h"
#include "plot/Canvas.h"
#include "store/Numbers.h"

void TMainForm::ViewTrackClick() {
  const std::optional<std::string> answer =
      platform_.InputQuery("View Track", "Track Number=", std::to_string(CurSpot));
  if (!answer || !GraphForm) return;
  bool ok = false;
  const int32_t index = ParseInteger(*answer, &ok);
  if (!ok || index < 0 || index >= Spots.NSpots) {
    platform_.ShowError("Track Number out of order");
    return;
  }
  CurSpot = index;
  GraphForm->ResetDisplayFlags();
  GraphForm->ShowSpot(index);
  platform_.ShowViewer();
}

void TMainForm::ViewerPictureClick() {
  if (!GraphForm) return;
  const std::optional<std::string> path = AskPicturePath(platform_);
  if (!path) return;
  GraphForm->Render();
  const Bitmap* picture = GraphForm->Graph.Bitmap.get();
  if (!picture || picture->Width() <= 0 || picture->Height() <= 0) {
    platform_.ShowError("BMP eror");
    return;
  }
  const PictureGraphs graphs{&GraphForm->Graph, nullptr, picture->Width(), picture->Height()};
  SavePicture(platform_, *picture, *path, &graphs);
}
