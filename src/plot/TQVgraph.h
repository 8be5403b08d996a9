#pragma once
// One x-y chart with up to 14 series over a caller-owned float matrix, drawn into
// its own off-screen bitmap. All fields are public: owners set them directly.
#include <cstdint>
#include <memory>
#include <string>

#include "plot/Color.h"

class Bitmap;
class Canvas;


enum SeriesStyle : int {
  Line = 0,
  Circle = 1,
  Cross = 2,
  LineCircle = 3,
  LineCross = 4,
  Bar = 5,
  Variation = 6,
  Marks = 7,
};

enum TickType : int { TickNone = 0, TickSolid = 1, TickDashed = 2, TickDotted = 3 };

struct SeriesRec {
  bool Show = false;
  bool RightAxis = false;
  TColor Color = Colors::Black;
  int PenWidth = 2;
  int BaseSeries = 2;
  int SymbolSize = 4;
  int Style = Line;
};

inline constexpr int kMaxSeries = 14;

class TQVgraph {
 public:
  TQVgraph();
  ~TQVgraph();
  TQVgraph(const TQVgraph&) = delete;
  TQVgraph& operator=(const TQVgraph&) = delete;

  SeriesRec Series[kMaxSeries + 1];

  std::string XTitle = "axis X (units)";
  std::string Y0Title = "axis Y0 (units)";
  std::string Y1Title = "axis Y1 (units)";
  std::string Caption = "NO DATA";
  std::string Notes[3];

  std::unique_ptr<Bitmap> Bitmap_;  // the drawing surface, owned; may be null until a backend gives one
  Canvas* TargetCanvas = nullptr;
  TColor PanelColor = Colors::Cream;
  TColor XColor = Colors::Black, Y0Color = Colors::Black, Y1Color = Colors::Black;
  TColor NotesColor = Colors::Black;
  int FontSize = 12;
  int DrawX = 0, DrawY = 0;
  int XtickType = TickSolid, Y0tickType = TickDotted, Y1tickType = TickDashed;

  bool HasData = false;
  bool SkipMissing = false;
  bool CrossOut = false;
  bool CheckMark = false;

  float* Data = nullptr;
  int Stride = 10;
  int SeriesCount = 1;
  int DataFirst = 0, DataEnd = 10;

  double FirstXval = 0, LastXval = 10;
  double FirstY0val = 0, LastY0val = 10;
  double FirstY1val = 0, LastY1val = 10;
  double TickXdist = 1, TickY0dist = 1, TickY1dist = 1;

  // Computed on every draw.
  double XTickFirst = 0, XTickLast = 0, Y0TickFirst = 0, Y0TickLast = 0, Y1TickFirst = 0,
         Y1TickLast = 0;
  bool HasRightAxis = false;
  int LineHeight = 0;
  int LeftMargin = 0, RightMargin = 0;
  int PlotRight = 0, PlotBottom = 0;
  double XScale = 0, Y0Scale = 0, Y1Scale = 0;
  int FirstOut = 0, LastOut = 0;
  int CursorIndex = 0;
  int CursorSeries = 0;
  float CursorValues[kMaxSeries + 1] = {};

  // Row r of the data matrix.
  float* Row(int r) const { return Data + static_cast<size_t>(r) * Stride; }
};
