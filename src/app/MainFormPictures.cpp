// Picture output: the two panels saved as one bitmap file or printed, and the print zoom.
#include <algorithm>
#include <cctype>
#include <memory>
#include <new>

#include "app/MainForm.h"
#include "plot/Canvas.h"
#include "plot/Picture.h"
#include "store/Numbers.h"

namespace {

bool HasPngExtension(const std::string& path) {
  if (path.size() < 4) return false;
  std::string ext = path.substr(path.size() - 4);
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext == ".png";
}

}  // namespace

void TMainForm::RegisterPictureCommands() {
  AddCommand("PrintZoom", [this] { PrintZoomClick(); });
  AddCommand("PrintGraphs", [this] { PrintGraphsClick(); });
  AddCommand("SaveAsBMP", [this] { SaveAsBMPClick(); });
}

void TMainForm::RenderPanels() {
  if (!GraphsReady) return;
  RightGraph.DrawGraph();
  LeftGraph.DrawGraph();
}

void TMainForm::SaveAsBMPClick() {
  std::unique_ptr<Bitmap> picture = ComposePanels(
      LeftGraph.Bitmap.get(), RightGraph.Bitmap.get(), ClientWidth, ClientHeight - StatusBarHeight);
  if (!picture) {
    platform_.ShowMessage("BMP eror");
    return;
  }
  FileDialog dialog;
  dialog.filter = "Bitmaps (*.bmp)|*.bmp";
  dialog.defaultExt = "bmp";
  dialog.promptOverwrite = true;
  const std::optional<std::string> path = platform_.SavePictureDialog(dialog);
  if (!path) return;
  // A name ending in ".png" gets a PNG file instead, from the toolkit's encoder.
  const bool saved =
      HasPngExtension(*path) ? picture->SavePng(*path) : WriteBmp24(*picture, *path);
  if (!saved) platform_.ShowMessage("Can not open file to write data");
}

void TMainForm::PrintGraphsClick() {
  std::unique_ptr<Bitmap> picture = ComposePanels(
      LeftGraph.Bitmap.get(), RightGraph.Bitmap.get(), ClientWidth, ClientHeight - StatusBarHeight);
  if (!picture) {
    platform_.ShowMessage("BMP allocation ERROR");
    return;
  }
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
    platform_.ShowMessage("Can not allocate print buffer");
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
    platform_.ShowMessage("Print Zoom Out of Order");
    return;
  }
  S.PrintZoom = zoom;
  // The caption loses the blank of its initial "Print Zoom=2" here; both forms are kept.
  Menu.SetCaption("PrintZoom", "PrintZoom=" + std::to_string(zoom));
}
