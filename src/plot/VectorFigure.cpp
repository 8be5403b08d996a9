#include "plot/VectorFigure.h"

#include <algorithm>
#include <cctype>

#include "plot/Canvas.h"
#include "plot/TQVgraph.h"

namespace {
VectorFigureFactory gFigureFactory = nullptr;
}

void SetVectorFigureFactory(VectorFigureFactory factory) { gFigureFactory = factory; }

std::unique_ptr<VectorFigure> NewVectorFigure(FigureFormat format, int width, int height) {
  if (!gFigureFactory || width <= 0 || height <= 0) return nullptr;
  return gFigureFactory(format, width, height);
}

bool VectorFormatOf(const std::string& path, FigureFormat& format) {
  if (path.size() < 4) return false;
  std::string ext = path.substr(path.size() - 4);
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (ext != ".pdf" && ext != ".svg") return false;
  format = ext == ".pdf" ? FigureFormat::Pdf : FigureFormat::Svg;
  return true;
}

std::string PanelsFigure(FigureFormat format, TQVgraph* left, TQVgraph* right, int width,
                         int height) {
  std::unique_ptr<VectorFigure> figure = NewVectorFigure(format, width, height);
  if (!figure) return {};
  if (left && left->Bitmap) {
    const int w = left->Bitmap->Width(), h = left->Bitmap->Height();
    left->DrawOnto(figure->Region(0, 0, w, h), w, h);
  }
  if (right && right->Bitmap) {
    const int half = width / 2;
    const int w = right->Bitmap->Width(), h = right->Bitmap->Height();
    right->DrawOnto(figure->Region(half, 0, width - half, h), w, h);
  }
  return figure->Finish();
}
