// Charts drawn onto a canvas other than their bitmap, as vector figures are.
#include <array>

#include "RecordingCanvas.h"
#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "app/SaveDialogs.h"
#include "plot/VectorFigure.h"

namespace {

// A canvas that turns text, as a vector figure's does.
struct TurningCanvas : RecordingCanvas {
  using RecordingCanvas::RecordingCanvas;
  bool TextOutUpward(int x, int y, const std::string& text) override {
    ops.push_back({"Upward", x, y, 0, 0, text});
    return true;
  }
};

std::vector<std::array<int, 4>> gRegions;  // of every fake figure made

struct FakeFigure : VectorFigure {
  RecordingBitmap page{1, 1};
  TurningCanvas canvas{page};
  Canvas& Region(int x, int y, int width, int height) override {
    gRegions.push_back({x, y, width, height});
    return canvas;
  }
  std::string Finish() override { return "figure"; }
};

std::unique_ptr<VectorFigure> MakeFakeFigure(FigureFormat, int, int) {
  return std::make_unique<FakeFigure>();
}

std::string Describe(const DrawOp& op) {
  return op.kind + " " + std::to_string(op.x1) + "," + std::to_string(op.y1) + " " +
         std::to_string(op.x2) + "," + std::to_string(op.y2) + " " + op.text;
}

}  // namespace

// The vector path draws the very primitives of the bitmap path, except that both titles
// are turned text instead of a scratch strip (written at (1, PlotBottom + LineHeight),
// copied pixel by pixel, cleared by FillRect); the layout is the same, the bitmap untouched.
TEST(VectorFigure, DrawOntoMatchesTheBitmapWithTurnedTitles) {
  RecordingFactoryScope factory;
  std::vector<float> data(2 * 20);
  for (int i = 0; i < 20; ++i) data[i] = i * 0.5f, data[20 + i] = static_cast<float>(i % 7);
  TQVgraph g;
  ASSERT_TRUE(g.SetBitmapSize(400, 300));
  g.Data = data.data(), g.Stride = 20, g.DataEnd = 19, g.HasData = true, g.Notes[0] = "a note";
  g.Series[1].Show = g.Series[1].RightAxis = true, g.Series[1].Style = LineCircle;
  auto layout = [&g] { return std::array<int, 5>{g.LineHeight, g.LeftMargin, g.RightMargin, g.PlotRight, g.PlotBottom}; };
  g.DrawGraph();
  const std::vector<DrawOp> bitmapOps = RecorderOf(*g.Bitmap).ops;
  const std::array<int, 5> bitmapLayout = layout();
  RecordingBitmap page(1, 1);
  TurningCanvas vector(page);
  g.DrawOnto(vector, 400, 300);
  EXPECT_TRUE(RecorderOf(*g.Bitmap).ops.size() == bitmapOps.size() && layout() == bitmapLayout);

  std::vector<std::string> expected, drawn, turned;
  for (const DrawOp& op : bitmapOps)
    if (op.kind != "FillRect" && !(op.kind == "Text" && op.x1 == 1 && op.y1 == g.PlotBottom + g.LineHeight))
      expected.push_back(Describe(op));
  for (const DrawOp& op : vector.ops) (op.kind == "Upward" ? turned : drawn).push_back(Describe(op));
  EXPECT_EQ(drawn, expected);
  // Bottom to top, the text's left edge on row PlotBottom/2 + width/2 (6 pixels a byte).
  auto row = [&g](const std::string& title) {
    return std::to_string(g.PlotBottom / 2 + 6 * static_cast<int>(title.size()) / 2);
  };
  const std::string right = std::to_string(g.PlotRight + g.RightMargin - g.LineHeight + 1);
  EXPECT_EQ(turned, (std::vector<std::string>{"Upward " + right + "," + row(g.Y1Title) + " 0,0 " + g.Y1Title,
                                              "Upward 3," + row(g.Y0Title) + " 0,0 " + g.Y0Title}));
}

// Regions as the composed bitmap places the panels; PDF and SVG names drawn from the
// graphs, other names (or no graphs) as bitmaps.
TEST(VectorFigure, PanelsFigureRegionsAndPictureFormats) {
  RecordingFactoryScope factory;
  FakePlatform platform;
  TMainForm form(platform);
  form.FormResize(21, 48, 20);
  TQVgraph& left = form.LeftGraph;
  ASSERT_TRUE(left.SetBitmapSize(10, 28) && form.RightGraph.SetBitmapSize(7, 28));
  EXPECT_EQ(PanelsFigure(FigureFormat::Pdf, &left, &form.RightGraph, 21, 28), "");  // no maker
  SetVectorFigureFactory(&MakeFakeFigure);
  EXPECT_EQ(PanelsFigure(FigureFormat::Svg, &left, &form.RightGraph, 21, 28), "figure");
  EXPECT_EQ(gRegions, (std::vector<std::array<int, 4>>{{0, 0, 10, 28}, {10, 0, 11, 28}}));

  const PictureGraphs graphs{&left, nullptr, 10, 28};
  const std::string pdf = TempPath("figure.PDF"), asBitmap = TempPath("figure-no-graphs.pdf");
  EXPECT_TRUE(SavePicture(platform, *left.Bitmap, pdf, &graphs) && ReadFile(pdf) == "figure");
  EXPECT_TRUE(SavePicture(platform, *left.Bitmap, asBitmap) && ReadFile(asBitmap).substr(0, 2) == "BM");
  SetVectorFigureFactory(nullptr);
  EXPECT_FALSE(SavePicture(platform, *left.Bitmap, pdf, &graphs));
  EXPECT_EQ(platform.messages,
            std::vector<std::string>{"Can not write " + pdf + ": the figure could not be drawn"});
}
