// The chart drawn through QtBitmap, and picture files read back with QImage.
#include <gtest/gtest.h>

#include <QFontInfo>
#include <QImage>
#include <cmath>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "FakePlatform.h"
#include "QtTestApp.h"
#include "app/MainForm.h"
#include "gui/QtBitmap.h"

namespace {

bool Dark(TColor c) { return (c & 0xFF) + ((c >> 8) & 0xFF) + ((c >> 16) & 0xFF) < 300; }

int CountDark(const Bitmap& b, int x1, int y1, int x2, int y2) {
  int n = 0;
  for (int y = y1; y < y2; ++y)
    for (int x = x1; x < x2; ++x) n += Dark(b.Pixel(x, y));
  return n;
}

int CountColor(const Bitmap& b, TColor color) {
  int n = 0;
  for (int y = 0; y < b.Height(); ++y)
    for (int x = 0; x < b.Width(); ++x) n += b.Pixel(x, y) == color;
  return n;
}

std::string OutPath(const std::string& name) {
  return (std::filesystem::path(KINETRA_BINARY_DIR) / name).string();
}

constexpr TColor kMagenta = 0xFF00FF, kTeal = 0x808000, kOrange = 0x0080FF;

}  // namespace

TEST(PictureRender, TestChartWithEveryStyle) {
  EnsureQtApp();
  InstallQtBitmapFactory();
  constexpr int kStride = 100, kRows = 9, kPoints = 40;
  std::vector<float> data(kStride * kRows, 0.0f);
  auto at = [&](int r, int i) -> float& { return data[r * kStride + i]; };
  for (int i = 0; i <= kPoints; ++i) {
    const double x = i * 0.25;
    at(0, i) = static_cast<float>(x);
    at(1, i) = static_cast<float>(5 + 3 * std::sin(x));
    at(2, i) = static_cast<float>(2 + 0.5 * x);
    at(3, i) = static_cast<float>(8 - 0.5 * x);
    at(4, i) = static_cast<float>(6.5 + std::cos(x));
    at(5, i) = static_cast<float>(50 + 40 * std::sin(x / 2));
    at(6, i) = static_cast<float>(1 + (i % 5) * 0.3);
    at(7, i) = 0.4f;
    at(8, i) = (i >= 5 && i <= 7) || i == 30 ? 1.0f : 0.0f;
  }
  at(4, 10) = -5e6f;  // a circle but no line
  at(4, 20) = -2e8f;  // neither

  TQVgraph g;
  ASSERT_NE(g.Bitmap, nullptr);
  ASSERT_TRUE(g.SetBitmapSize(900, 600));
  g.Data = data.data();
  g.Stride = kStride;
  g.DataRows = kRows;
  g.SeriesCount = 8;
  g.DataEnd = kPoints;
  g.HasData = true;
  g.FontSize = 10;
  g.Caption = "Test chart";
  g.XTitle = "Time (s)";
  g.Y0Title = "MSD (µm2)";
  g.Y1Title = "Velocity (um/s)";
  g.Notes[0] = "first note: Dlat=0.123 µm2/s";
  g.Notes[1] = "second note";
  g.Notes[2] = "third note";
  g.CrossOut = true;
  g.CheckMark = true;
  g.LastY1val = 100;
  g.TickY1dist = 20;
  const int styles[] = {0, Line, Circle, Cross, LineCircle, LineCross, Bar, Variation, Marks};
  const TColor colors[] = {0, Colors::Blue, Colors::Red, Colors::Black, Colors::Green, kTeal,
                           kMagenta, kOrange, 0x777777};
  for (int k = 1; k <= 8; ++k) {
    g.Series[k].Show = true;
    g.Series[k].Style = styles[k];
    g.Series[k].Color = colors[k];
  }
  g.Series[5].RightAxis = true;
  g.Series[6].SymbolSize = 8;
  g.Series[7].BaseSeries = 2;
  g.Series[7].SymbolSize = 10;
  g.DrawGraph();

  const Bitmap& b = *g.Bitmap;
  const std::string path = OutPath("test_chart.png");
  ASSERT_TRUE(b.SavePng(path)) << path;
  QImage back(QString::fromStdString(path));
  ASSERT_EQ(back.width(), 900);
  ASSERT_EQ(back.height(), 600);

  // Not blank: the series colours are there, drawn without smoothing.
  EXPECT_GT(CountColor(b, Colors::Blue), 200);
  EXPECT_GT(CountColor(b, Colors::Red), 200);
  EXPECT_GT(CountColor(b, Colors::Green), 200);
  EXPECT_GT(CountColor(b, kTeal), 200);
  EXPECT_GT(CountColor(b, kMagenta), 200);  // bars
  EXPECT_GT(CountColor(b, kOrange), 50);    // variation bars
  EXPECT_GT(CountColor(b, Colors::White), 1000);  // marks
  EXPECT_GT(CountColor(b, Colors::Cream), 100000);

  // Layout: margins on both sides, three notes below.
  EXPECT_TRUE(g.HasRightAxis);
  EXPECT_GT(g.RightMargin, g.LineHeight);
  EXPECT_EQ(g.PlotBottom, 600 - 5 * g.LineHeight);
  // The rotated titles sit in their columns: the first LineHeight columns from x = 3 on the
  // left, the last LineHeight columns on the right, around the middle of the plot height.
  const int lh = g.LineHeight;
  EXPECT_GT(CountDark(b, 3, g.PlotBottom / 4, 3 + lh, g.PlotBottom * 3 / 4), 50);
  EXPECT_GT(CountDark(b, 900 - lh + 1, g.PlotBottom / 4, 900, g.PlotBottom * 3 / 4), 50);
  // Their scratch strip below the plot is clear again (the X title is further right).
  EXPECT_EQ(CountDark(b, 1, g.PlotBottom + lh + 2, 40, g.PlotBottom + 2 * lh - 1), 0);
  // Caption at the top, notes at the bottom left, check mark at the top left.
  EXPECT_GT(CountDark(b, 400, 1, 500, lh), 20);
  EXPECT_GT(CountDark(b, 5, 600 - 2 * lh, 200, 600), 50);
  EXPECT_GT(CountColor(b, Colors::Green), 200);
}

TEST(PictureRender, FontFallsBackAndBoldIsWider) {
  EnsureQtApp();
  QtBitmap bitmap(300, 60);
  Canvas& canvas = bitmap.GetCanvas();
  canvas.SetFontName("Areal");
  canvas.SetFontSize(10);
  const std::string text = "Number of objects 0.123";
  const int regular = canvas.TextWidth(text);
  canvas.SetFontBold(true);
  const int bold = canvas.TextWidth(text);
  EXPECT_GT(regular, 50);
  EXPECT_GT(bold, regular);
  EXPECT_GT(canvas.TextHeight("HJyyp{"), 10);
  QFont requested("Areal");
  EXPECT_NE(QFontInfo(requested).family(), "Areal");  // there is no such face
  canvas.TextOut(2, 2, text);
  EXPECT_GT(CountDark(bitmap, 0, 0, 300, 60), 50);
}

TEST(PictureRender, SavedBmpAndPngOpenWithTheComposedSize) {
  EnsureQtApp();
  InstallQtBitmapFactory();
  FakePlatform platform;
  TMainForm form(platform);
  form.FormResize(1197, 623, 20);
  form.LeftGraph.Caption = "left";
  form.RightGraph.Caption = "right";
  form.LeftGraph.DrawGraph();
  form.RightGraph.DrawGraph();

  const std::string bmp = OutPath("picture_test.bmp");
  const std::string png = OutPath("picture_test.png");
  std::filesystem::remove(bmp);
  std::filesystem::remove(png);
  platform.saveAnswers.push_back(bmp);
  platform.saveAnswers.push_back(png);
  form.RunCommand("SaveAsBMP");
  form.RunCommand("SaveAsBMP");
  EXPECT_TRUE(platform.messages.empty());

  QImage fromBmp(QString::fromStdString(bmp), "BMP");
  QImage fromPng(QString::fromStdString(png), "PNG");
  ASSERT_FALSE(fromBmp.isNull());
  ASSERT_FALSE(fromPng.isNull());
  EXPECT_EQ(fromBmp.size(), QSize(1197, 603));
  EXPECT_EQ(fromPng.size(), QSize(1197, 603));
  EXPECT_EQ(fromBmp.depth(), 32);  // Qt reads 24-bit files into 32-bit images
  EXPECT_EQ(std::filesystem::file_size(bmp), 54u + 3592u * 603u);

  // Both files hold the same pixels: the left panel as drawn, the right panel from x = 598.
  const Bitmap& left = *form.LeftGraph.Bitmap;
  const Bitmap& right = *form.RightGraph.Bitmap;
  int mismatches = 0;
  for (int y = 0; y < 603; y += 7) {
    for (int x = 0; x < 1197; x += 5) {
      const QRgb a = fromBmp.pixel(x, y), c = fromPng.pixel(x, y);
      mismatches += a != c;
      if (x < 598) mismatches += FromQRgb(a) != left.Pixel(x, y);
    }
    mismatches += FromQRgb(fromBmp.pixel(598, y)) != right.Pixel(0, y);
  }
  EXPECT_EQ(mismatches, 0);
}

TEST(PictureRender, AbsurdValuesReachQtSafely) {
  EnsureQtApp();
  InstallQtBitmapFactory();
  std::vector<float> data(2 * 20, 0.0f);
  for (int i = 0; i < 20; ++i) {
    data[i] = static_cast<float>(i);
    data[20 + i] = i % 2 ? 3e38f : -3e38f;
  }
  TQVgraph g;
  ASSERT_TRUE(g.SetBitmapSize(200, 150));
  g.Data = data.data();
  g.Stride = 20;
  g.DataEnd = 12;
  g.HasData = true;
  g.Series[1].Show = true;
  const double ranges[][2] = {{0, 10}, {-1e300, 1e300}, {1e-300, 2e-300}};
  for (int style : {Line, Circle, Cross, LineCircle, LineCross, Bar, Variation, Marks}) {
    for (const auto& range : ranges) {
      g.Series[1].Style = style;
      g.Series[1].SymbolSize = style == Circle ? 2000000000 : 6;
      g.Series[1].PenWidth = style == Line ? 1000000 : 2;
      g.FirstXval = g.FirstY0val = range[0];
      g.LastXval = g.LastY0val = range[1];
      g.DrawGraph();
    }
  }
  EXPECT_EQ(g.Bitmap->Width(), 200);
  EXPECT_GT(CountColor(*g.Bitmap, Colors::Cream), 1000);
}
