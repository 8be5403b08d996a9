// The panels as PDF and SVG figures: real texts and lines, laid out like the bitmap.
#include <QSvgRenderer>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "FakePlatform.h"
#include "QtTestApp.h"
#include "app/SaveDialogs.h"
#include "plot/Picture.h"
#include "store/AtomicFile.h"

namespace {

std::string OutPath(const std::string& name) { return KINETRA_BINARY_DIR "/" + name; }

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Standard output of a shell command; empty when it cannot run.
std::string Shell(const std::string& command) {
  std::string out;
  if (std::FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    pclose(pipe);
  }
  return out;
}

// Mean brightness of 16 x 16 blocks of two pictures of one size, compared block by block:
// the largest difference (0..255). Small when both show the same layout.
int WorstBlockDifference(const QImage& a, const QImage& b) {
  constexpr int kBlock = 16;
  int worst = 0;
  for (int by = 0; by + kBlock <= a.height(); by += kBlock)
    for (int bx = 0; bx + kBlock <= a.width(); bx += kBlock) {
      long sumA = 0, sumB = 0;
      for (int y = by; y < by + kBlock; ++y)
        for (int x = bx; x < bx + kBlock; ++x)
          sumA += qGray(a.pixel(x, y)), sumB += qGray(b.pixel(x, y));
      worst = std::max(worst, static_cast<int>(std::abs(sumA - sumB) / (kBlock * kBlock)));
    }
  return worst;
}

}  // namespace

using VectorFigures = QtTest;

// The default panels of the sample, saved as BMP, PDF and SVG: the figures hold the
// titles and notes as text, no embedded picture, and look like the bitmap block by block.
TEST_F(VectorFigures, PanelsAsPdfAndSvg) {
  FakePlatform platform;
  TMainForm form(platform);
  form.FormResize(1197, 623, 20);
  platform.openAnswers.push_back({kSample});
  ASSERT_TRUE(form.RunCommand("OpenNewFile"));
  form.RenderPanels();
  const int width = 1197, height = 603;
  std::unique_ptr<Bitmap> picture = ComposePanels(form.LeftGraph.Bitmap.get(),
                                                  form.RightGraph.Bitmap.get(), width, height);
  ASSERT_TRUE(picture);
  const PictureGraphs graphs{&form.LeftGraph, &form.RightGraph, width, height};
  const std::string bmp = OutPath("figure.bmp"), pdf = OutPath("figure.pdf"),
                    svg = OutPath("figure.svg"), pdfPng = OutPath("figure-pdf");
  for (const std::string& path : {bmp, pdf, svg})
    ASSERT_TRUE(SavePicture(platform, *picture, path, &graphs)) << path;
  EXPECT_TRUE(platform.messages.empty());

  const TQVgraph &left = form.LeftGraph, &right = form.RightGraph;
  const std::string texts[] = {left.XTitle, left.Y0Title, right.XTitle, right.Y0Title,
                               right.Y1Title, left.Notes[0], right.Notes[0]};
  const std::string svgText = Slurp(svg), pdfBytes = Slurp(pdf);
  const std::string pdfText = Shell("pdftotext -enc UTF-8 " + pdf + " -");
  for (const std::string& text : texts) {
    EXPECT_NE(svgText.find(">" + text + "</text>"), std::string::npos) << text;
    EXPECT_NE(pdfText.find(text), std::string::npos) << text;
  }
  EXPECT_TRUE(svgText.find("<image") == std::string::npos &&
              pdfBytes.find("/Subtype /Image") == std::string::npos);

  Shell("pdftoppm -r 96 -png -singlefile " + pdf + " " + pdfPng);
  QSvgRenderer renderer(QString::fromStdString(svg));
  ASSERT_TRUE(renderer.isValid());
  QImage fromSvg(width, height, QImage::Format_RGB32);
  fromSvg.fill(Qt::white);
  QPainter painter(&fromSvg);
  renderer.render(&painter);
  painter.end();
  const QImage fromBmp(QString::fromStdString(bmp));
  const QImage fromPdf = QImage(QString::fromStdString(pdfPng + ".png")).copy(0, 0, width, height);
  ASSERT_EQ(fromPdf.size(), fromBmp.size());
  // Smoothed text differs by up to about 20; a missing title or a shifted panel by 70 and more.
  EXPECT_LT(WorstBlockDifference(fromBmp, fromSvg), 40);
  EXPECT_LT(WorstBlockDifference(fromBmp, fromPdf), 40);
}
