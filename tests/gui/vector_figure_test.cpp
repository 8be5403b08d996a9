// The panels as PDF and SVG figures: real texts and lines, laid out like the bitmap.
#include <QFile>
#include <QProcess>
#include <QSvgRenderer>

#include "FakePlatform.h"
#include "QtTestApp.h"
#include "app/SaveDialogs.h"
#include "plot/Picture.h"

// Mean brightness of 16 x 16 blocks of two pictures, compared block by block: the largest
// difference (0..255). Small when both show the same layout.
static int WorstBlockDifference(const QImage& a, const QImage& b) {
  int worst = 0;
  for (int by = 0; by + 16 <= a.height(); by += 16)
    for (int bx = 0; bx + 16 <= a.width(); bx += 16) {
      int sum = 0;
      for (int y = by; y < by + 16; ++y)
        for (int x = bx; x < bx + 16; ++x) sum += qGray(a.pixel(x, y)) - qGray(b.pixel(x, y));
      worst = std::max(worst, std::abs(sum) / 256);
    }
  return worst;
}

static QByteArray Output(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.start(program, arguments);
  process.waitForFinished();
  return process.readAllStandardOutput();
}

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
  const std::unique_ptr<Bitmap> picture =
      ComposePanels(form.LeftGraph.Bitmap.get(), form.RightGraph.Bitmap.get(), width, height);
  ASSERT_TRUE(picture);
  const PictureGraphs graphs{&form.LeftGraph, &form.RightGraph, width, height};
  const QString out = KINETRA_BINARY_DIR "/figure.";
  for (const char* ext : {"bmp", "pdf", "svg"})
    ASSERT_TRUE(SavePicture(platform, *picture, (out + ext).toStdString(), &graphs)) << ext;
  EXPECT_TRUE(platform.messages.empty());

  QFile svgFile(out + "svg"), pdfFile(out + "pdf");
  ASSERT_TRUE(svgFile.open(QIODevice::ReadOnly) && pdfFile.open(QIODevice::ReadOnly));
  const QString svgText = QString::fromUtf8(svgFile.readAll());
  const QString pdfText = QString::fromUtf8(Output("pdftotext", {"-enc", "UTF-8", out + "pdf", "-"}));
  const TQVgraph &left = form.LeftGraph, &right = form.RightGraph;
  for (const std::string& text : {left.XTitle, left.Y0Title, right.XTitle, right.Y0Title,
                                  right.Y1Title, left.Notes[0], right.Notes[0]}) {
    EXPECT_TRUE(svgText.contains(QString::fromStdString(">" + text + "</text>"))) << text;
    EXPECT_TRUE(pdfText.contains(QString::fromStdString(text))) << text;
  }
  EXPECT_FALSE(svgText.contains("<image") || pdfFile.readAll().contains("/Subtype /Image"));

  Output("pdftoppm", {"-r", "96", "-png", "-singlefile", out + "pdf", out + "pdf"});
  QSvgRenderer renderer(out + "svg");
  ASSERT_TRUE(renderer.isValid());
  QImage fromSvg(width, height, QImage::Format_RGB32);
  fromSvg.fill(Qt::white);
  QPainter painter(&fromSvg);
  renderer.render(&painter);
  painter.end();
  const QImage fromBmp(out + "bmp"), fromPdf = QImage(out + "pdf.png").copy(0, 0, width, height);
  ASSERT_EQ(fromPdf.size(), fromBmp.size());
  // Smoothed text differs by up to about 20; a missing title or a shifted panel by 70 and more.
  EXPECT_LT(WorstBlockDifference(fromBmp, fromSvg), 40);
  EXPECT_LT(WorstBlockDifference(fromBmp, fromPdf), 40);
}
