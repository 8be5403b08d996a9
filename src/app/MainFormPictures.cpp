// Picture output: the two panels saved as one bitmap file or printed, and the print zoom.
#include <memory>
#include <new>

#include "app/MainForm.h"
#include "app/SaveDialogs.h"
#include "plot/Canvas.h"
#include "plot/Picture.h"
#include "store/Numbers.h"

namespace {

// Both panels as one picture the size of the window above the status bar; null, once
// `failure` is shown, when it cannot be made.
std::unique_ptr<Bitmap> WindowPicture(TMainForm& form, const char* failure) {
  std::unique_ptr<Bitmap> picture =
      ComposePanels(form.LeftGraph.Bitmap.get(), form.RightGraph.Bitmap.get(), form.ClientWidth,
                    form.ClientHeight - form.StatusBarHeight);
  if (!picture) form.platform().ShowError(failure);
  return picture;
}

}  // namespace

void TMainForm::RenderPanels() {
  if (!GraphsReady) return;
  RightGraph.DrawGraph();
  LeftGraph.DrawGraph();
}

void TMainForm::SaveAsBMPClick() {
  const std::unique_ptr<Bitmap> picture = WindowPicture(*this, "BMP eror");
  if (!picture) return;
  if (const std::optional<std::string> path = AskPicturePath(platform_)) {
    const PictureGraphs graphs{&LeftGraph, &RightGraph, ClientWidth,
                               ClientHeight - StatusBarHeight};
    SavePicture(platform_, *picture, *path, &graphs);
  }
}

void TMainForm::PrintGraphsClick() {
  if (const std::unique_ptr<Bitmap> picture = WindowPicture(*this, "BMP allocation ERROR"))
    PrintBitmap(*picture);
}

void TMainForm::PrintBitmap(const Bitmap& picture) {
  if (!platform_.PrintDialog()) return;
  // The device-independent copy must fit in memory before a job is started.
  size_t headerSize = 0, pixelSize = 0;
  bool allocated = DibSizes(picture, headerSize, pixelSize);
  if (allocated) {
    std::unique_ptr<uint8_t[]> header(new (std::nothrow) uint8_t[headerSize]);
    std::unique_ptr<uint8_t[]> pixels(new (std::nothrow) uint8_t[pixelSize]);
    allocated = header && pixels;
  }
  if (!allocated) {
    platform_.ShowError("Can not allocate print buffer");
    return;
  }
  platform_.PrintBitmap(picture, S.PrintZoom);
}

void TMainForm::PrintZoomClick() {
  const std::optional<std::string> answer =
      platform_.InputQuery("Set Print Zoom/Scale", "Zoom=", std::to_string(S.PrintZoom));
  if (!answer) return;
  bool ok = false;
  int32_t zoom = ParseInteger(*answer, &ok);
  if (!ok) zoom = 1;  // text that is not a number counts as 1
  if (zoom < 1 || zoom > 20) {
    platform_.ShowError("Print Zoom Out of Order");
    return;
  }
  S.PrintZoom = zoom;
  // The caption loses the blank of its initial "Print Zoom=2" here; both forms are kept.
  Menu.SetCaption("PrintZoom", "PrintZoom=" + std::to_string(zoom));
}
