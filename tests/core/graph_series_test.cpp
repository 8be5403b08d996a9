// Series drawing: clipping, range guards, missing values, every style, marks, cursor.
// The fixture's plot has pixel x = 40 X + 33 and y = trunc(266 - 26.6 v) over 0..10.
#include "GraphTestSupport.h"

// The lines of the cross-out: black, five pixels wide.
static std::vector<DrawOp> WideLines(const RecordingCanvas& rec) {
  std::vector<DrawOp> out;
  for (const DrawOp& op : rec.Of("Line"))
    if (op.penWidth == 5 && op.pen == Colors::Black) out.push_back(op);
  return out;
}

// Series 1 shown as a blue line, with `style`.
static TQVgraph& WithLine(GraphFixture& f, int style = Line) {
  f.graph.HasData = f.graph.Series[1].Show = true, f.graph.Series[1].Style = style;
  return f.graph;
}

using GraphSeries = GraphTest;

TEST_F(GraphSeries, ClippingKeepsOnePointOutsideAndProbesPastTheEnd) {
  WithLine(*this);
  g.FirstXval = 3, g.LastXval = 7;  // 100 px per unit, xOff = 267
  At(0, 10) = 10;
  Draw();
  EXPECT_EQ((std::vector<int>{g.FirstOut, g.LastOut}), (std::vector<int>{2, 8}));
  // Move to point 2, then lines to points 2..7.
  EXPECT_EQ(Ends(LinesIn(Colors::Blue)), (std::vector<int>{-67, 33, 133, 233, 333, 433}));

  // The right probe reads X at DataEnd itself: a 0 there is inside the plot.
  At(0, 10) = 0;
  Draw();
  EXPECT_EQ((std::vector<int>{g.FirstOut, g.LastOut, beeps}), (std::vector<int>{2, 10, 0}));
}

TEST_F(GraphSeries, RangeGuards) {
  const struct {
    int first, end, beeps, firstOut, lastOut;
    bool message;
  } cases[] = {
      {0, 20, 1, 0, 19, false},  // up to the capacity: the probe reads the next row, then beep
      {0, 21, 1, 0, 19, false},  // past the matrix
      {-1, 10, 1, 0, 10, false}, {0, 0, 0, 0, 1, false},  // LastOut below 1
      {5, 5, 0, 4, 5, true},                              // empty range
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.first) + ".." + std::to_string(c.end));
    GraphFixture f;
    TQVgraph& g = WithLine(f);
    g.CrossOut = true, g.DataFirst = c.first, g.DataEnd = c.end;
    RecordingCanvas& rec = f.Draw();
    EXPECT_EQ((std::vector<int>{f.beeps, g.FirstOut, g.LastOut}),
              (std::vector<int>{c.beeps, c.firstOut, c.lastOut}));
    EXPECT_TRUE(f.LinesIn(Colors::Blue).empty() && WideLines(rec).empty());  // nor the cross
    const DrawOp* message = rec.FindText("firstOut >= LastOut");
    EXPECT_TRUE((message != nullptr) == c.message &&
                (!message || (message->x1 == 2 && message->y1 == 2)));
  }
}

TEST_F(GraphSeries, SkipMissingDrawsTheValidRunWithItsQuirks) {
  WithLine(*this).SkipMissing = true;
  const float values[] = {-2e6f, -2e6f, 1, 2, 3, -2e6f, 4, 5, -2e6f, -2e6f};
  for (int i = 0; i < 10; ++i) At(1, i) = values[i];
  At(0, 10) = 10;
  Draw();
  // Start after the leading gap (2), stop before the last valid point (7); the gap inside
  // the run is drawn through.
  EXPECT_EQ(Ends(LinesIn(Colors::Blue)), (std::vector<int>{113, 153, 193, 233, 273}));

  // A valid first value in range starts the run at index 0, not at FirstOut (2 on 3..7).
  g.FirstXval = 3, g.LastXval = 7;  // 100 px per unit, xOff = 267
  for (int i = 0; i < 10; ++i) At(1, i) = 1;
  Draw();
  ASSERT_EQ(g.FirstOut, 2);
  EXPECT_EQ(Ends(LinesIn(Colors::Blue)), (std::vector<int>{-267, -167, -67, 33, 133, 233, 333}));
}

TEST_F(GraphSeries, EachStyleDrawsItsPrimitives) {
  // Points 0 and 1 both sit exactly on (33, 266): the second is skipped. Points 2 and 3
  // round to the same pixel 73, but 73.04 and 73.08 are not 73: both are drawn.
  for (int style : {Line, Circle}) {
    GraphFixture f;
    WithLine(f, style).DataEnd = 4;
    f.At(0, 1) = 0;
    f.At(0, 2) = 1.001f;
    f.At(0, 3) = 1.002f;
    const std::vector<DrawOp> circles = f.Draw().Of("Ellipse");
    if (style == Line) {
      EXPECT_EQ(Ends(f.LinesIn(Colors::Blue)), (std::vector<int>{33, 73, 73}));
    } else {
      ASSERT_EQ(circles.size(), 3u);
      EXPECT_TRUE(Corners({circles[0]}) == (std::vector<int>{31, 264, 35, 268}) &&
                  circles[0].brushStyle == BrushStyle::Clear);
    }
  }
  // One point (73, 133) with symbol size 6 (h = 3) and pen width 3.
  WithLine(*this, Cross);
  g.Series[1].SymbolSize = 6, g.Series[1].PenWidth = 3, g.DataFirst = 1, g.DataEnd = 2;
  At(1, 1) = 5;
  Draw();
  EXPECT_EQ(Corners(LinesIn(Colors::Blue)),
            (std::vector<int>{70, 130, 76, 136, 76, 130, 70, 136}));
  EXPECT_EQ(LinesIn(Colors::Blue).at(0).penWidth, 3);

  g.Series[1].Style = Bar;  // after the clearing rectangle, the bar down to the value 0
  const std::vector<DrawOp> bars = Draw().Of("Rectangle");
  ASSERT_EQ(bars.size(), 2u);
  EXPECT_EQ(Corners({bars[1]}), (std::vector<int>{70, 133, 76, 266}));
  EXPECT_TRUE(bars[1].brush == Colors::Blue && bars[1].brushStyle == BrushStyle::Solid &&
              bars[1].pen == Colors::Blue && bars[1].penWidth == 1);

  for (int style : {static_cast<int>(Marks), 8, -1}) {
    g.Series[1].Style = style;
    Draw();
    EXPECT_TRUE(LinesIn(Colors::Blue).empty()) << style;
  }

  // Variation: series 2 draws +-value bars around series 1, e = trunc(26.6) around c = 133.
  g.Series[1].Show = false, g.Series[2].Show = true, g.Series[2].Style = Variation;
  g.Series[2].BaseSeries = 1, g.Series[2].SymbolSize = 6;
  At(2, 1) = 1;
  Draw();
  EXPECT_EQ(Corners(LinesIn(Colors::Red)),
            (std::vector<int>{70, 107, 76, 107, 70, 159, 76, 159, 73, 107, 73, 159}));
  g.Series[2].BaseSeries = 9;  // a centre row outside the matrix draws nothing
  Draw();
  EXPECT_TRUE(LinesIn(Colors::Red).empty());

  // LineCross: a polyline through every point plus a cross at each; no missing-value test.
  g.Series[1].Show = true, g.Series[2].Show = false, g.Series[1].Style = LineCross, g.DataEnd = 4;
  At(1, 2) = -5e6f;
  Draw();
  EXPECT_EQ(LinesIn(Colors::Blue).size(), 2u + 6u);
}

TEST_F(GraphSeries, LineCircleHasTwoMissingThresholds) {
  WithLine(*this, LineCircle).DataEnd = 8;
  const float values[] = {1, 2, -5e6f, 3, 4, -2e8f, 5, -1e6f};
  for (int i = 0; i < 8; ++i) At(1, i) = values[i];
  RecordingCanvas& rec = Draw();
  // Segments only between two values above -1e6: 0-1 and 3-4.
  EXPECT_EQ(Corners(LinesIn(Colors::Blue)),
            (std::vector<int>{33, 239, 73, 212, 153, 186, 193, 159}));
  // Circles for all but the value below -1e8.
  std::vector<int> circles;
  for (const DrawOp& op : rec.Of("Ellipse")) circles.push_back(op.x1 + 2);
  EXPECT_EQ(circles, (std::vector<int>{33, 73, 113, 153, 193, 273, 313}));
}

TEST_F(GraphSeries, MarksCrossOutAndFrameOnTop) {
  g.HasData = g.CrossOut = g.Series[3].Show = true, g.Series[3].Style = Marks;
  g.Series[3].Color = 0x777777;
  At(0, 10) = 10;
  At(0, 2) = 1;  // same x as point 1: no second mark
  const float values[] = {0, 1, 1, 0, 1, 0, 0.999f, 0, 0, 0};
  for (int i = 0; i < 10; ++i) At(3, i) = values[i];
  RecordingCanvas& rec = Draw();
  // Spacing s = trunc((400 - 0) / 10) = 40: white lines of width 41 from y = 40 to 226.
  const std::vector<DrawOp> marks = LinesIn(Colors::White);
  EXPECT_EQ(Corners(marks), (std::vector<int>{73, 40, 73, 226, 193, 40, 193, 226}));
  EXPECT_EQ(marks.at(0).penWidth, 41);
  // The frame is drawn again over the marks, without clearing.
  int xLabels = 0;
  for (const DrawOp& op : rec.Of("Text")) xLabels += op.y1 == 267;
  EXPECT_TRUE(xLabels == 20 && rec.Of("Rectangle").size() == 1u);
  EXPECT_EQ(Corners(WideLines(rec)), (std::vector<int>{10, 10, 423, 290, 10, 290, 423, 10}));

  // Without data neither series nor cross are drawn.
  g.HasData = false;
  Draw();
  EXPECT_TRUE(LinesIn(Colors::White).empty() && WideLines(Rec()).empty());
}

TEST_F(GraphSeries, PickValuesReadsTheNextPointAndTheNearSeries) {
  WithLine(*this);
  At(0, 10) = 10;
  for (int i = 0; i < 10; ++i) At(1, i) = 0.5f * i, At(2, i) = 7;
  Draw();

  // The first point right of the mouse: X = 2 at pixel 113; series 1 there at
  // trunc(266 - 1 * 26.6f) = 239, picked while strictly within 2 pixels.
  EXPECT_TRUE(g.PickValues(100, 240) && g.CursorIndex == 2);
  EXPECT_EQ((std::vector<float>{g.CursorValues[0], g.CursorValues[1], g.CursorValues[2]}),
            (std::vector<float>{2, 1, 7}));
  for (auto [y, series] : {std::pair{240, 1}, {238, 1}, {241, 0}}) {
    EXPECT_TRUE(g.PickValues(100, y));
    EXPECT_EQ(g.CursorSeries, series) << y;
  }
  EXPECT_TRUE(g.PickValues(460, 240));  // past the last point: values cleared, index kept
  EXPECT_TRUE(g.CursorIndex == 2 && g.CursorValues[0] == 0.0f);
  // Bounds: beyond the left margin, and up to PlotRight + LeftMargin on the right.
  for (auto [x, inside] : {std::pair{33, false}, {34, true}, {466, true}, {467, false}})
    EXPECT_EQ(g.PickValues(x, 240), inside) << x;
  EXPECT_TRUE(g.PickValues(100, 240));
  g.HasData = false;
  EXPECT_TRUE(!g.PickValues(100, 240) && g.CursorValues[1] == 0.0f);
}
