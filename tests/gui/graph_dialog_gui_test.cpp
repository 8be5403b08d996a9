// The real "QVgraph Settings" dialog over the left panel of the main window, driven
// through its widgets.
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QTimer>

#include "QtTestApp.h"
#include "gui/GraphSettingsDialog.h"
#include "store/Numbers.h"

struct PaintCounter : QObject {
  int paints = 0;
  bool eventFilter(QObject*, QEvent* event) override {
    paints += event->type() == QEvent::Paint;
    return false;
  }
};

using GraphDialogGui = QtTest;

TEST_F(GraphDialogGui, EditsTheLeftPanelThroughTheWidgets) {
  MainWindow window(false);
  window.show();
  window.OpenFiles({kSample});
  QApplication::processEvents();
  TMainForm& form = window.form();
  QWidget* panels = window.centralWidget();
  PaintCounter counter;
  panels->installEventFilter(&counter);
  const QImage before = panels->grab().toImage();
  TQVgraph& graph = form.LeftGraph;
  ASSERT_NE(graph.Series[1].Style, Circle);
  const double oldLast = graph.LastXval;
  // Half the range: no tick correction, so no message box.
  const QString typed = QString::number(graph.FirstXval + (oldLast - graph.FirstXval) / 2, 'g', 6);

  // Whatever happens, the modal dialog does not outlive the test.
  QTimer guard;
  guard.setSingleShot(true);
  QObject::connect(&guard, &QTimer::timeout, [] {
    if (QWidget* modal = QApplication::activeModalWidget()) modal->close();
  });
  guard.start(10000);
  bool ran = false;
  QTimer::singleShot(0, [&] {
    auto* dialog = qobject_cast<GraphSettingsDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr) << "no settings dialog";
    EXPECT_EQ(dialog->windowTitle().toStdString(), "QVgraph Settings");
    auto* last = dialog->findChild<QLineEdit*>("XLastEdit");
    auto* style = dialog->findChild<QComboBox*>("GrTpComBox1");
    ASSERT_TRUE(last && style);
    EXPECT_EQ(last->text().toStdString(), FormatReal(oldLast));
    EXPECT_TRUE(style->count() == 7 && style->itemText(1) == "Circle");
    for (int k = 1; k <= 10; ++k) {  // rows beyond the series count are hidden, row 1 never
      auto* show = dialog->findChild<QCheckBox*>(QString("ShowChBox%1").arg(k));
      EXPECT_EQ(show->isHidden(), k > 1 && k > graph.SeriesCount) << k;
    }

    // Typed text turns red and is taken on Return.
    last->setFocus();
    last->selectAll();
    for (const QChar ch : typed) PressKey(last, ch.toUpper().unicode(), Qt::NoModifier, QString(ch));
    EXPECT_TRUE(last->text() == typed && last->palette().color(QPalette::Text) == QColor(Qt::red) &&
                graph.LastXval == oldLast);
    PressKey(last, Qt::Key_Return);
    EXPECT_TRUE(graph.LastXval == typed.toDouble() &&
                last->palette().color(QPalette::Text) == QColor(Qt::black));

    // A style change repaints the panel while the dialog is open.
    const int paints = counter.paints;
    style->setCurrentIndex(Circle);
    QApplication::processEvents();
    EXPECT_TRUE(graph.Series[1].Style == Circle && counter.paints > paints);
    ran = true;
    dialog->accept();
  });
  window.RunCommand("SetGraph");  // MouseX 0: the left panel
  EXPECT_TRUE(ran && !QApplication::activeModalWidget() && graph.LastXval == typed.toDouble());

  // Only the left half of the window changed.
  QApplication::processEvents();
  const QImage after = panels->grab().toImage();
  const int half = form.ClientWidth / 2;
  EXPECT_GT(DifferentPixels(before, after, 0, half), 500);
  EXPECT_EQ(DifferentPixels(before, after, half, after.width()), 0);
}
