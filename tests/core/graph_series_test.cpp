// Series drawing: clipping, range guards, missing values, every style, marks, cursor.
// The fixture's plot has 40 px per X unit (pixel x = 40 X + 33 over 0..10) and
// y = trunc(266 - 26.6 v) over 0..10.
#include <gtest/gtest.h>

#include <vector>

#include "GraphTestSupport.h"

namespace {

std::vector<int> Ends(const std::vector<DrawOp>& lines) {
  std::vector<int> xs;
  for (const DrawOp& op : lines) xs.push_back(op.x2);
  return xs;
}

// The lines of the cross-out: black, five pixels wide.
std::vector<DrawOp> WideLines(const RecordingCanvas& rec) {
  std::vector<DrawOp> out;
  for (const DrawOp& op : rec.Of("Line"))
    if (op.penWidth == 5 && op.pen == Colors::Black) out.push_back(op);
  return out;
}

GraphFixture& WithLine(GraphFixture& f) {
  f.graph.HasData = true;
  f.graph.Series[1].Show = true;
  return f;
}

}  // namespace

TEST(GraphSeries, ClippingKeepsOnePointOutsideAndProbesPastTheEnd) {
  GraphFixture f;
  TQVgraph& g = WithLine(f).graph;
  g.FirstXval = 3;
  g.LastXval = 7;  // 100 px per unit, xOff = 267
  f.At(0, 10) = 10;
  f.Draw();
  EXPECT_EQ(g.FirstOut, 2);
  EXPECT_EQ(g.LastOut, 8);
  // Move to point 2, then lines to points 2..7.
  EXPECT_EQ(Ends(f.LinesIn(Colors::Blue)), (std::vector<int>{-67, 33, 133, 233, 333, 433}));

  // The right probe reads X at DataEnd itself: a 0 there is inside the plot.
  f.At(0, 10) = 0;
  f.Draw();
  EXPECT_EQ(g.FirstOut, 2);
  EXPECT_EQ(g.LastOut, 10);
  EXPECT_EQ(f.beeps, 0);
}

TEST(GraphSeries, RangeGuards) {
  struct Case {
    int first, end;
    int beeps, firstOut, lastOut;
    bool message;
  } cases[] = {
      {0, 20, 1, 0, 19, false},  // up to the capacity: the probe reads the next row, then beep
      {0, 21, 1, 0, 19, false},  // past the matrix
      {-1, 10, 1, 0, 10, false},
      {0, 0, 0, 0, 1, false},    // LastOut below 1
      {5, 5, 0, 4, 5, true},     // empty range
  };
  for (const Case& c : cases) {
    GraphFixture f;
    TQVgraph& g = WithLine(f).graph;
    g.CrossOut = true;
    g.DataFirst = c.first;
    g.DataEnd = c.end;
    RecordingCanvas& rec = f.Draw();
    EXPECT_EQ(f.beeps, c.beeps) << c.first << ".." << c.end;
    EXPECT_EQ(g.FirstOut, c.firstOut) << c.first << ".." << c.end;
    EXPECT_EQ(g.LastOut, c.lastOut) << c.first << ".." << c.end;
    EXPECT_TRUE(f.LinesIn(Colors::Blue).empty());
    EXPECT_TRUE(WideLines(rec).empty());  // nor the cross
    const DrawOp* message = rec.FindText("firstOut >= LastOut");
    EXPECT_EQ(message != nullptr, c.message);
    if (message) {
      EXPECT_EQ(message->x1, 2);
      EXPECT_EQ(message->y1, 2);
    }
  }
}

TEST(GraphSeries, SkipMissingDrawsTheValidRunWithItsQuirks) {
  {
    GraphFixture f;
    TQVgraph& g = WithLine(f).graph;
    g.SkipMissing = true;
    const float values[] = {-2e6f, -2e6f, 1, 2, 3, -2e6f, 4, 5, -2e6f, -2e6f};
    for (int i = 0; i < 10; ++i) f.At(1, i) = values[i];
    f.At(0, 10) = 10;
    f.Draw();
    // Start after the leading gap (2), stop before the last valid point (7); the gap
    // inside the run is drawn through.
    EXPECT_EQ(Ends(f.LinesIn(Colors::Blue)), (std::vector<int>{113, 153, 193, 233, 273}));
  }
  {
    // A valid first value in range starts the run at index 0, not at FirstOut.
    GraphFixture f;
    TQVgraph& g = WithLine(f).graph;
    g.SkipMissing = true;
    g.FirstXval = 3;
    g.LastXval = 7;
    f.At(0, 10) = 10;
    for (int i = 0; i < 10; ++i) f.At(1, i) = 1;
    f.Draw();
    ASSERT_EQ(g.FirstOut, 2);
    EXPECT_EQ(Ends(f.LinesIn(Colors::Blue)),
              (std::vector<int>{-267, -167, -67, 33, 133, 233, 333}));
  }
}

TEST(GraphSeries, LineAndCircleSkipOnlyExactRepeats) {
  for (int style : {Line, Circle}) {
    GraphFixture f;
    TQVgraph& g = WithLine(f).graph;
    g.Series[1].Style = style;
    g.DataEnd = 4;
    // Points 0 and 1 both sit exactly on (33, 266): the second is skipped. Points 2 and 3
    // round to the same pixel 73, but 73.04 and 73.08 are not 73: both are drawn.
    f.At(0, 1) = 0;
    f.At(0, 2) = 1.001f;
    f.At(0, 3) = 1.002f;
    RecordingCanvas& rec = f.Draw();
    if (style == Line) {
      EXPECT_EQ(Ends(f.LinesIn(Colors::Blue)), (std::vector<int>{33, 73, 73}));
    } else {
      const std::vector<DrawOp> circles = rec.Of("Ellipse");
      ASSERT_EQ(circles.size(), 3u);
      EXPECT_EQ((std::vector<int>{circles[0].x1, circles[0].y1, circles[0].x2, circles[0].y2}),
                (std::vector<int>{31, 264, 35, 268}));
      EXPECT_EQ(circles[0].brushStyle, BrushStyle::Clear);
    }
  }
}

TEST(GraphSeries, EachStyleDrawsItsPrimitives) {
  auto setup = [](GraphFixture& f, int style) -> TQVgraph& {
    TQVgraph& g = WithLine(f).graph;
    g.Series[1].Style = style;
    g.Series[1].SymbolSize = 6;  // h = 3
    g.Series[1].PenWidth = 3;
    g.DataFirst = 1;
    g.DataEnd = 2;
    f.At(1, 1) = 5;  // the point (73, 133)
    return g;
  };
  {
    GraphFixture f;
    setup(f, Cross);
    f.Draw();
    const std::vector<DrawOp> lines = f.LinesIn(Colors::Blue);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ((std::vector<int>{lines[0].x1, lines[0].y1, lines[0].x2, lines[0].y2, lines[1].x1,
                                lines[1].y1, lines[1].x2, lines[1].y2}),
              (std::vector<int>{70, 130, 76, 136, 76, 130, 70, 136}));
    EXPECT_EQ(lines[0].penWidth, 3);
  }
  {
    GraphFixture f;
    setup(f, Bar);
    RecordingCanvas& rec = f.Draw();
    const std::vector<DrawOp> bars = rec.Of("Rectangle");
    ASSERT_EQ(bars.size(), 2u);  // the clearing rectangle, then the bar down to the value 0
    EXPECT_EQ((std::vector<int>{bars[1].x1, bars[1].y1, bars[1].x2, bars[1].y2}),
              (std::vector<int>{70, 133, 76, 266}));
    EXPECT_EQ(bars[1].brush, Colors::Blue);
    EXPECT_EQ(bars[1].brushStyle, BrushStyle::Solid);
    EXPECT_EQ(bars[1].pen, Colors::Blue);
    EXPECT_EQ(bars[1].penWidth, 1);
  }
  {
    // Variation: series 2 draws +-value bars around series 1.
    GraphFixture f;
    TQVgraph& g = setup(f, Line);
    g.Series[1].Show = false;
    g.Series[2].Show = true;
    g.Series[2].Style = Variation;
    g.Series[2].BaseSeries = 1;
    g.Series[2].SymbolSize = 6;
    f.At(2, 1) = 1;  // e = trunc(26.6) = 26 around c = 133
    f.Draw();
    const std::vector<DrawOp> lines = f.LinesIn(Colors::Red);
    ASSERT_EQ(lines.size(), 3u);
    std::vector<int> got;
    for (const DrawOp& op : lines) got.insert(got.end(), {op.x1, op.y1, op.x2, op.y2});
    EXPECT_EQ(got, (std::vector<int>{70, 107, 76, 107, 70, 159, 76, 159, 73, 107, 73, 159}));
    // A centre row outside the matrix draws nothing.
    g.Series[2].BaseSeries = 9;
    f.Draw();
    EXPECT_TRUE(f.LinesIn(Colors::Red).empty());
  }
  {
    // LineCross: a polyline through every point plus a cross at each.
    GraphFixture f;
    TQVgraph& g = setup(f, LineCross);
    g.DataEnd = 4;
    f.At(1, 2) = -5e6f;  // no missing-value test here
    f.Draw();
    EXPECT_EQ(f.LinesIn(Colors::Blue).size(), 2u + 6u);
  }
  for (int style : {static_cast<int>(Marks), 8, -1}) {
    GraphFixture f;
    setup(f, style);
    f.Draw();
    EXPECT_TRUE(f.LinesIn(Colors::Blue).empty()) << style;
  }
}

TEST(GraphSeries, LineCircleHasTwoMissingThresholds) {
  GraphFixture f;
  TQVgraph& g = WithLine(f).graph;
  g.Series[1].Style = LineCircle;
  g.DataEnd = 8;
  const float values[] = {1, 2, -5e6f, 3, 4, -2e8f, 5, -1e6f};
  for (int i = 0; i < 8; ++i) f.At(1, i) = values[i];
  RecordingCanvas& rec = f.Draw();
  // Segments only between two values above -1e6: 0-1 and 3-4.
  const std::vector<DrawOp> lines = f.LinesIn(Colors::Blue);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ((std::vector<int>{lines[0].x1, lines[0].x2, lines[1].x1, lines[1].x2}),
            (std::vector<int>{33, 73, 153, 193}));
  // Circles for all but the value below -1e8.
  std::vector<int> circles;
  for (const DrawOp& op : rec.Of("Ellipse")) circles.push_back(op.x1 + 2);
  EXPECT_EQ(circles, (std::vector<int>{33, 73, 113, 153, 193, 273, 313}));
}

TEST(GraphSeries, MarksCrossOutAndFrameOnTop) {
  GraphFixture f;
  TQVgraph& g = f.graph;
  g.HasData = true;
  g.CrossOut = true;
  g.Series[3].Show = true;
  g.Series[3].Style = Marks;
  g.Series[3].Color = 0x777777;
  f.At(0, 10) = 10;
  f.At(0, 2) = 1;  // same x as point 1: no second mark
  const float values[] = {0, 1, 1, 0, 1, 0, 0.999f, 0, 0, 0};
  for (int i = 0; i < 10; ++i) f.At(3, i) = values[i];
  RecordingCanvas& rec = f.Draw();
  // Spacing s = trunc((400 - 0) / 10) = 40: white lines of width 41 from y = 40 to 226.
  const std::vector<DrawOp> marks = f.LinesIn(Colors::White);
  ASSERT_EQ(marks.size(), 2u);
  EXPECT_EQ((std::vector<int>{marks[0].x1, marks[0].y1, marks[0].y2, marks[1].x1}),
            (std::vector<int>{73, 40, 226, 193}));
  EXPECT_EQ(marks[0].penWidth, 41);
  // The frame is drawn again over the marks, without clearing.
  int xLabels = 0;
  for (const DrawOp& op : rec.Of("Text")) xLabels += op.y1 == 267;
  EXPECT_EQ(xLabels, 20);
  EXPECT_EQ(rec.Of("Rectangle").size(), 1u);

  const std::vector<DrawOp> cross = WideLines(rec);
  ASSERT_EQ(cross.size(), 2u);
  EXPECT_EQ((std::vector<int>{cross[0].x1, cross[0].y1, cross[0].x2, cross[0].y2, cross[1].x1,
                              cross[1].y1, cross[1].x2, cross[1].y2}),
            (std::vector<int>{10, 10, 423, 290, 10, 290, 423, 10}));
  EXPECT_EQ(cross[0].penWidth, 5);

  // Without data neither series nor cross are drawn.
  g.HasData = false;
  f.Draw();
  EXPECT_TRUE(f.LinesIn(Colors::White).empty());
  EXPECT_TRUE(WideLines(f.Rec()).empty());
}

TEST(GraphSeries, PickValuesReadsTheNextPointAndTheNearSeries) {
  GraphFixture f;
  TQVgraph& g = WithLine(f).graph;
  f.At(0, 10) = 10;
  for (int i = 0; i < 10; ++i) {
    f.At(1, i) = 0.5f * i;
    f.At(2, i) = 7;
  }
  f.Draw();

  // The first point right of the mouse: X = 2 at pixel 113; series 1 there at
  // trunc(266 - 1 * 26.6f) = 239.
  EXPECT_TRUE(g.PickValues(100, 240));
  EXPECT_EQ(g.CursorIndex, 2);
  EXPECT_EQ(g.CursorValues[0], 2.0f);
  EXPECT_EQ(g.CursorValues[1], 1.0f);
  EXPECT_EQ(g.CursorValues[2], 7.0f);
  EXPECT_EQ(g.CursorSeries, 1);
  EXPECT_TRUE(g.PickValues(100, 238));
  EXPECT_EQ(g.CursorSeries, 1);
  EXPECT_TRUE(g.PickValues(100, 241));  // two pixels away
  EXPECT_EQ(g.CursorSeries, 0);

  // Past the last point: values cleared, the index kept.
  EXPECT_TRUE(g.PickValues(460, 240));
  EXPECT_EQ(g.CursorIndex, 2);
  EXPECT_EQ(g.CursorValues[0], 0.0f);

  // Bounds: beyond the left margin, and up to PlotRight + LeftMargin on the right.
  EXPECT_FALSE(g.PickValues(33, 240));
  EXPECT_TRUE(g.PickValues(34, 240));
  EXPECT_TRUE(g.PickValues(466, 240));
  EXPECT_FALSE(g.PickValues(467, 240));
  EXPECT_TRUE(g.PickValues(100, 240));
  g.HasData = false;
  EXPECT_FALSE(g.PickValues(100, 240));
  EXPECT_EQ(g.CursorValues[1], 0.0f);
}
