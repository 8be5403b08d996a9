// Layout, coordinate transforms and the frame of the chart, on the recording canvas.
#include <set>

#include "GraphTestSupport.h"

// A right axis over 0..1000: "1000" is 24 wide, + 17 makes a right margin of 41.
static void ShowRightAxis(TQVgraph& g) {
  g.FirstY1val = 0, g.LastY1val = 1000, g.TickY1dist = 250;
  g.Series[1].Show = g.Series[1].RightAxis = true;
}

using GraphLayout = GraphTest;

TEST_F(GraphLayout, MarginsFollowLabelsRightAxisAndNotes) {
  g.FontSize = 5;  // raised to 8
  g.CalcLayout();
  // Left margin: "10" is 12 wide, + 17 + 4. Without a right axis the plot reaches the edge.
  auto layout = [this] {
    return std::vector<double>{double(g.FontSize),   double(g.LineHeight), double(g.LeftMargin),
                               double(g.RightMargin), double(g.PlotRight), double(g.PlotBottom),
                               g.XScale,              g.Y0Scale,           double(g.HasRightAxis)};
  };
  EXPECT_EQ(layout(), (std::vector<double>{8, 17, 33, 0, 433, 266, 40, 26.6, 0}));
  ShowRightAxis(g);
  g.CalcLayout();
  EXPECT_EQ(layout(), (std::vector<double>{8, 17, 33, 41, 392, 266, (392 - 33) / 10.0, 26.6, 1}));
  EXPECT_EQ(g.Y1Scale, 266 / 1000.0);
  g.Series[1].Show = false;  // a right-axis series that is not shown does not count
  g.CalcLayout();
  EXPECT_EQ(g.RightMargin, 0);

  // Each non-empty note costs one line of plot height; empty notes cost none.
  const struct {
    const char* notes[3];
    int plotBottom;
  } cases[] = {
      {{"", "", ""}, 266}, {{"", "x", ""}, 249}, {{"a", "b", ""}, 232}, {{"a", "b", "c"}, 215}};
  for (const auto& c : cases) {
    for (int n = 0; n < 3; ++n) g.Notes[n] = c.notes[n];
    g.CalcLayout();
    EXPECT_TRUE(g.PlotBottom == c.plotBottom && g.Y0Scale == c.plotBottom / 10.0) << c.plotBottom;
  }
}

TEST_F(GraphLayout, TransformsRoundBothYBasesDifferently) {
  g.FirstXval = 2, g.LastXval = 12, g.FirstY0val = g.FirstY1val = -3, g.LastY0val = g.LastY1val = 7;
  g.CalcLayout();
  // xOff = trunc(2 * 40 - 33); left: trunc(266 - 79.8) = 186, right: 266 + trunc(-79.8).
  EXPECT_EQ((std::vector<int>{g.XOffset(), g.LeftYBase(), g.RightYBase()}),
            (std::vector<int>{47, 186, 187}));

  // Values land at trunc(yBase - v * scale) of their own axis; the zeros on the yBase.
  g.HasData = g.Series[1].Show = true, g.Series[2].Show = g.Series[2].RightAxis = true;
  g.Series[2].Color = 0x123456;
  At(1, 4) = At(2, 4) = 1.5f;  // left: trunc(186 - 39.9) = 146, right: 147
  Draw();
  auto rows = [this](TColor color) {
    std::set<int> ys;
    for (const DrawOp& op : LinesIn(color)) ys.insert(op.y2);
    return ys;
  };
  EXPECT_TRUE(rows(Colors::Blue) == (std::set<int>{146, 186}) &&
              rows(0x123456) == (std::set<int>{147, 187}));
}

TEST_F(GraphLayout, FrameLabelsTicksCaptionAndNotes) {
  g.XColor = 0x0000AA, g.Y0Color = 0x00AA00, g.NotesColor = 0xAA0000, g.Notes[2] = "third note";
  g.CheckMark = true;
  RecordingCanvas& rec = Draw();
  EXPECT_EQ(g.PlotBottom, 249);

  // Cleared with the panel colour over the whole bitmap.
  ASSERT_FALSE(rec.Of("Rectangle").empty());
  EXPECT_TRUE(Corners({rec.Of("Rectangle")[0]}) == (std::vector<int>{0, 0, 433, 300}) &&
              rec.Of("Rectangle")[0].brush == Colors::Cream);

  // X labels 0 to 9 at trunc(33 + 40 t - 3), bold in the X colour; the label of 10 at the
  // right edge is not drawn, and the left axis stops before its 10 as well (p > 5).
  std::vector<std::string> xLabels;
  for (const DrawOp& op : rec.Of("Text")) {
    if (op.y1 != 250) continue;
    EXPECT_TRUE(op.x1 == 30 + 40 * int(xLabels.size()) && op.font == 0x0000AAu && op.bold);
    xLabels.push_back(op.text);
  }
  EXPECT_EQ(xLabels, (std::vector<std::string>{"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}));
  EXPECT_EQ(rec.FindText("10"), nullptr);
  // Y labels right-aligned two pixels left of the margin: "9" at trunc(249 - 9 * 24.9 - 5).
  const DrawOp* nine = nullptr;
  for (const DrawOp& op : rec.ops)
    if (op.kind == "Text" && op.text == "9" && op.y1 != 250) nine = &op;
  ASSERT_NE(nine, nullptr);
  EXPECT_EQ((std::vector<int>{nine->x1, nine->y1, int(nine->font)}),
            (std::vector<int>{33 - 6 - 2, 19, 0x00AA00}));

  // Dotted left tick lines across the plot; p goes down by repeated subtraction and ends a
  // hair below 0 at the value 10: no line there. Solid X tick lines from row 1 down.
  std::vector<int> rows, columns;
  for (const DrawOp& op : LinesIn(0x00AA00)) {
    EXPECT_TRUE(op.penStyle == PenStyle::Dot && op.x1 == 33 && op.x2 == 433);
    rows.push_back(op.y1);
  }
  EXPECT_EQ(rows, (std::vector<int>{249, 224, 199, 174, 149, 124, 99, 74, 49, 24}));
  for (const DrawOp& op : LinesIn(0x0000AA)) {
    EXPECT_TRUE(op.penStyle == PenStyle::Solid && op.y1 == 1 && op.y2 == 249);
    columns.push_back(op.x1);
  }
  EXPECT_EQ(columns, (std::vector<int>{33, 73, 113, 153, 193, 233, 273, 313, 353, 393}));

  // The X title centred on the bitmap, not on the plot; the check mark; notes not bold.
  ASSERT_TRUE(rec.FindText("axis X (units)") && rec.FindText("third note"));
  EXPECT_TRUE(rec.FindText("axis X (units)")->x1 == 216 - 42 && !rec.FindText("third note")->bold);
  EXPECT_EQ(Corners(LinesIn(Colors::Green)), (std::vector<int>{10, 10, 20, 40, 20, 40, 30, 10}));
}

TEST_F(GraphLayout, RotatedTitlesReadBottomToTopInTheirColumns) {
  ShowRightAxis(g);
  Draw();
  ASSERT_EQ(g.PlotRight, 392);
  Bitmap& bitmap = *g.Bitmap;

  // Both titles are 15 characters, 90 pixels: centre row 266/2 + 90/2 = 178. Text row j
  // lands in column first + j; its pixel i in row 178 - i.
  auto check = [&](int firstColumn) {
    for (int j = 0; j < 14; ++j)
      for (int i = 1; i <= 89; ++i)
        ASSERT_EQ(bitmap.Pixel(firstColumn + j, 178 - i), RecordingCanvas::TextPixel(i - 1, j))
            << "column " << firstColumn + j << " row " << 178 - i;
  };
  check(3);              // left: from column 3
  check(392 + 41 - 16);  // right: the last LineHeight columns of the bitmap
  // Pixel i = w is not copied: the row above the title keeps the panel colour.
  EXPECT_EQ(bitmap.Pixel(3, 178 - 90), Colors::Cream);

  // The scratch strips are cleared again, two rows higher for the right title.
  EXPECT_EQ(Corners(Rec().Of("FillRect")), (std::vector<int>{1, 281, 90, 299, 1, 283, 90, 299}));
  EXPECT_EQ(bitmap.Pixel(50, 290), Colors::Cream);
}
