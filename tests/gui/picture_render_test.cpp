// The chart drawn through QtBitmap, and picture files read back with QImage.
#include <QFontInfo>
#include <cmath>
#include <filesystem>
#include <vector>

#include "FakePlatform.h"
#include "QtTestApp.h"
#include "store/AtomicFile.h"

static int CountDark(const Bitmap& b, int x1, int y1, int x2, int y2) {
  int n = 0;
  for (int y = y1; y < y2; ++y)
    for (int x = x1; x < x2; ++x) {
      const TColor c = b.Pixel(x, y);
      n += (c & 0xFF) + ((c >> 8) & 0xFF) + ((c >> 16) & 0xFF) < 300;
    }
  return n;
}

static int CountColor(const Bitmap& b, TColor color) {
  int n = 0;
  for (int y = 0; y < b.Height(); ++y)
    for (int x = 0; x < b.Width(); ++x) n += b.Pixel(x, y) == color;
  return n;
}

static std::string OutPath(const std::string& name) { return KINETRA_BINARY_DIR "/" + name; }

using PictureRender = QtTest;

TEST_F(PictureRender, TestChartWithEveryStyle) {
  constexpr int kStride = 100, kPoints = 40;
  // Series 1 to 8 in the styles Line .. Marks, each a curve of its own over X = 0 .. 10.
  std::vector<float> data(kStride * 9, 0.0f);
  for (int i = 0; i <= kPoints; ++i) {
    const double x = i * 0.25;
    const double rows[] = {x,           5 + 3 * std::sin(x),       2 + 0.5 * x,
                           8 - 0.5 * x, 6.5 + std::cos(x),         50 + 40 * std::sin(x / 2),
                           1 + (i % 5) * 0.3, 0.4, (i >= 5 && i <= 7) || i == 30 ? 1.0 : 0.0};
    for (int r = 0; r < 9; ++r) data[r * kStride + i] = static_cast<float>(rows[r]);
  }
  data[4 * kStride + 10] = -5e6f;  // a circle but no line
  data[4 * kStride + 20] = -2e8f;  // neither
  TQVgraph g;
  ASSERT_TRUE(g.SetBitmapSize(900, 600));
  g.Data = data.data(), g.Stride = kStride, g.SeriesCount = 8, g.DataEnd = kPoints;
  g.HasData = g.CrossOut = g.CheckMark = true, g.FontSize = 10;
  g.Y0Title = "MSD (µm2)", g.Y1Title = "Velocity (um/s)";
  g.Notes[0] = "first note: Dlat=0.123 µm2/s";  // three notes keep the cross-out clear of
  g.Notes[1] = g.Notes[2] = "more notes";       // the titles' scratch strip
  g.LastY1val = 100, g.TickY1dist = 20;
  constexpr TColor kMagenta = 0xFF00FF, kTeal = 0x808000, kOrange = 0x0080FF;
  const TColor colors[] = {0,     Colors::Blue, Colors::Red, Colors::Black, Colors::Green,
                           kTeal, kMagenta,     kOrange,     0x777777};
  // Styles Line, Circle, Cross, LineCircle, LineCross, Bar, Variation, Marks.
  for (int k = 1; k <= 8; ++k)
    g.Series[k].Show = true, g.Series[k].Style = k - 1, g.Series[k].Color = colors[k];
  g.Series[5].RightAxis = true, g.Series[6].SymbolSize = 8, g.Series[7].BaseSeries = 2;
  g.Series[7].SymbolSize = 10;
  g.DrawGraph();

  const Bitmap& b = *g.Bitmap;
  const std::string path = OutPath("test_chart.png");
  ASSERT_TRUE(WriteFileAtomically(path, b.EncodePng())) << path;
  QImage back(QString::fromStdString(path));
  EXPECT_EQ(back.size(), QSize(900, 600));
  // Not blank: the series colours are there, drawn without smoothing.
  for (TColor c : {Colors::Blue, Colors::Red, Colors::Green, kTeal, kMagenta})
    EXPECT_GT(CountColor(b, c), 200) << std::hex << c;
  // Variation bars, marks and the panel.
  EXPECT_TRUE(CountColor(b, kOrange) > 50 && CountColor(b, Colors::White) > 1000 &&
              CountColor(b, Colors::Cream) > 100000);
  // A right margin, three notes below; the rotated titles in their columns around the
  // middle of the plot height, and their scratch strip below the plot clear again.
  const int lh = g.LineHeight, bottom = g.PlotBottom;
  EXPECT_TRUE(g.HasRightAxis && g.RightMargin > lh && bottom == 600 - 5 * lh);
  EXPECT_TRUE(CountDark(b, 3, bottom / 4, 3 + lh, bottom * 3 / 4) > 50 &&
              CountDark(b, 900 - lh + 1, bottom / 4, 900, bottom * 3 / 4) > 50);
  EXPECT_EQ(CountDark(b, 1, bottom + lh + 2, 40, bottom + 2 * lh - 1), 0);
}

TEST_F(PictureRender, FontFallsBackAndBoldIsWider) {
  QtBitmap bitmap(300, 60);
  Canvas& canvas = bitmap.GetCanvas();
  canvas.SetFontName("Areal"), canvas.SetFontSize(10);
  const std::string text = "Number of objects 0.123";
  const int regular = canvas.TextWidth(text);
  canvas.SetFontBold(true);
  EXPECT_TRUE(regular > 50 && canvas.TextWidth(text) > regular && canvas.TextHeight("Hy{") > 10);
  EXPECT_NE(QFontInfo(QFont("Areal")).family(), "Areal");  // there is no such face
  canvas.TextOut(2, 2, text);
  EXPECT_GT(CountDark(bitmap, 0, 0, 300, 60), 50);
}

TEST_F(PictureRender, SavedBmpAndPngOpenWithTheComposedSize) {
  FakePlatform platform;
  TMainForm form(platform);
  form.FormResize(1197, 623, 20);
  for (TQVgraph* g : {&form.LeftGraph, &form.RightGraph}) g->Caption = "a panel", g->DrawGraph();
  const std::string bmp = OutPath("picture_test.bmp"), png = OutPath("picture_test.png");
  for (const std::string& file : {bmp, png}) std::filesystem::remove(file);
  platform.saveAnswers = {bmp, png};
  form.RunCommand("SaveAsBMP");
  form.RunCommand("SaveAsBMP");
  EXPECT_TRUE(platform.messages.empty());

  QImage fromBmp(QString::fromStdString(bmp), "BMP"), fromPng(QString::fromStdString(png), "PNG");
  EXPECT_TRUE(fromBmp.size() == QSize(1197, 603) && fromPng.size() == QSize(1197, 603));
  // Both files hold the same pixels: the left panel as drawn, the right panel from x = 598.
  const Bitmap& left = *form.LeftGraph.Bitmap;
  const Bitmap& right = *form.RightGraph.Bitmap;
  int mismatches = 0;
  for (int y = 0; y < 603; y += 7) {
    for (int x = 0; x < 1197; x += 5) {
      mismatches += fromBmp.pixel(x, y) != fromPng.pixel(x, y);
      if (x < 598) mismatches += FromQRgb(fromBmp.pixel(x, y)) != left.Pixel(x, y);
    }
    mismatches += FromQRgb(fromBmp.pixel(598, y)) != right.Pixel(0, y);
  }
  EXPECT_EQ(mismatches, 0);
}

TEST_F(PictureRender, AbsurdValuesReachQtSafely) {
  std::vector<float> data(2 * 20, 0.0f);
  for (int i = 0; i < 20; ++i)
    data[i] = static_cast<float>(i), data[20 + i] = i % 2 ? 3e38f : -3e38f;
  TQVgraph g;
  ASSERT_TRUE(g.SetBitmapSize(200, 150));
  g.Data = data.data(), g.Stride = 20, g.DataEnd = 12, g.HasData = g.Series[1].Show = true;
  for (int style = Line; style <= Marks; ++style) {
    for (auto [first, last] : {std::pair{0.0, 10.0}, {-1e300, 1e300}, {1e-300, 2e-300}}) {
      g.Series[1].Style = style, g.Series[1].SymbolSize = style == Circle ? 2000000000 : 6;
      g.Series[1].PenWidth = style == Line ? 1000000 : 2;
      g.FirstXval = g.FirstY0val = first, g.LastXval = g.LastY0val = last;
      g.DrawGraph();
    }
  }
  EXPECT_TRUE(g.Bitmap->Width() == 200 && CountColor(*g.Bitmap, Colors::Cream) > 1000);
}
