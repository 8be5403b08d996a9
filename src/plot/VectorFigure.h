#pragma once
// Charts as vector drawings (PDF, SVG): the graph code draws through a Canvas whose lines
// and texts stay lines and texts in the file. Core code asks for figures through a hook,
// as for bitmaps; the Qt side installs the maker.
#include <memory>
#include <string>

class Canvas;
class TQVgraph;

enum class FigureFormat { Pdf, Svg };

// One page of width x height units, one unit being one pixel of the bitmap pictures.
class VectorFigure {
 public:
  virtual ~VectorFigure() = default;
  // A canvas whose (0, 0) lies at (x, y) of the page and that draws only inside width x
  // height from there, with the pen, brush and font of a new canvas. One region at a time:
  // asking for the next ends the previous one.
  virtual Canvas& Region(int x, int y, int width, int height) = 0;
  // Ends the drawing; the file's bytes, empty when it could not be made.
  virtual std::string Finish() = 0;
};

using VectorFigureFactory = std::unique_ptr<VectorFigure> (*)(FigureFormat format, int width,
                                                               int height);
void SetVectorFigureFactory(VectorFigureFactory factory);
// Null without a factory, for a size that is not positive, or when the maker fails.
std::unique_ptr<VectorFigure> NewVectorFigure(FigureFormat format, int width, int height);

// The format a file name asks for by its extension (any case); false for other names.
bool VectorFormatOf(const std::string& path, FigureFormat& format);

// The panels laid out as ComposePanels lays out their bitmaps, each drawn again as vectors
// at its bitmap's size: `left` at the top-left corner, `right` from column width/2 and cut
// at the page's right edge. A graph without a bitmap is left out. Empty when no figure can
// be made.
std::string PanelsFigure(FigureFormat format, TQVgraph* left, TQVgraph* right, int width,
                         int height);
