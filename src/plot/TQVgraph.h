#pragma once
// One x-y chart with up to 14 series over a caller-owned float matrix, drawn into
// its own off-screen bitmap. All fields are public: owners set them directly.
#include <cstdint>
#include <functional>
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
  int BaseSeries = 2;  // Variation: the row holding the centre values
  int SymbolSize = 4;  // full size; half of it is the half-size of symbols and bars
  int Style = Line;
  // What a table of the panel calls the series; empty: its axis title.
  std::string Name;
};

inline constexpr int kMaxSeries = 14;
// Values at or below this mark a missing point.
inline constexpr float kMissingValue = -1e6f;

class TQVgraph {
 public:
  TQVgraph();
  ~TQVgraph();
  TQVgraph(const TQVgraph&) = delete;
  TQVgraph& operator=(const TQVgraph&) = delete;

  // Record 0 belongs to the X row and is never drawn.
  SeriesRec Series[kMaxSeries + 1];

  std::string XTitle = "axis X (units)";
  std::string Y0Title = "axis Y0 (units)";
  std::string Y1Title = "axis Y1 (units)";
  std::string Caption = "NO DATA";
  std::string Notes[3];

  // The drawing surface, 3000 x 2000 at construction when a bitmap factory is installed
  // (made at the first draw otherwise); the owner resizes it to its panel.
  std::unique_ptr<::Bitmap> Bitmap;
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
  // Rows the matrix holds; 0 means rows 0 to SeriesCount. Nothing beyond is ever read.
  int DataRows = 0;

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

  // The graph knows no platform: its owner turns this into the system beep.
  std::function<void()> OnBeep;

  // Draws when TargetCanvas is set, then copies the bitmap onto it at (DrawX, DrawY).
  void Paint();
  // CheckRanges (a repair beeps and skips the draw), layout, frame, series.
  void DrawGraph();
  // Repairs inverted ranges and zero tick distances; false when anything was reset.
  bool CheckRanges();
  void CalcLayout();
  void DrawFrame(bool clear);
  void DrawAllSeries();
  void DrawSeries(int k, int from, int to, double scale, int xOff, int yBase);
  void DrawMarks(int k, int from, int to, double scale, int xOff, int yBase);
  // Draws the chart as DrawGraph does, onto `canvas` (a vector figure's) as if it were a
  // bitmap of width x height; the bitmap itself is not touched. The layout fields come out
  // as DrawGraph leaves them when the canvas measures text as the bitmap does.
  void DrawOnto(Canvas& canvas, int width, int height);
  // Cursor read-out at a mouse position, from the last layout.
  bool PickValues(int mouseX, int mouseY);

  // Makes the bitmap through the factory if there is none yet; false without one.
  bool EnsureBitmap();
  // Resizes the bitmap (making it first if needed); false when that is not possible.
  bool SetBitmapSize(int width, int height);

  // Pixel origin of the X axis and the rows of value 0 on both axes, from the layout.
  int XOffset() const;
  int LeftYBase() const;
  int RightYBase() const;

  // Row r of the data matrix, for owners that fill it.
  float* Row(int r) const { return Data + static_cast<size_t>(r) * Stride; }

 private:
  // Where the drawing steps draw: DrawOnto's canvas while it runs, else the bitmap's.
  Canvas* Surface();
  int SurfaceWidth() const;
  int SurfaceHeight() const;
  void PrepareCanvas(Canvas& canvas);
  int RowCount() const;
  int ShownSeriesCount() const;
  // Element i of row r; 0 when it lies outside the matrix.
  float Value(int r, int i) const;
  // The X row read by flat index, as the clipping probe does one past a row.
  float XProbe(int i) const;
  void Beep();
  void DrawTickLabelsY(double tickFirst, double first, double scale, double dist, bool right);
  void DrawTickLinesY(double tickFirst, double first, double scale, double dist, int type,
                      TColor color);
  void DrawRotatedTitle(const std::string& title, int firstColumn, bool right);

  Canvas* surface_ = nullptr;
  int surfaceWidth_ = 0, surfaceHeight_ = 0;
};
