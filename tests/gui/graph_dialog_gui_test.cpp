// The real "QVgraph Settings" dialog over the left panel of the main window, driven
// through its widgets.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTabWidget>
#include <QTimer>

#include "QtTestApp.h"
#include "app/MainForm.h"
#include "gui/GraphSettingsDialog.h"
#include "gui/MainWindow.h"
#include "gui/QtBitmap.h"
#include "store/Numbers.h"

namespace {

struct PaintCounter : QObject {
  int paints = 0;
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++paints;
    return false;
  }
};

void TypeInto(QWidget* widget, const QString& text) {
  for (const QChar ch : text) {
    QKeyEvent press(QEvent::KeyPress, ch.toUpper().unicode(), Qt::NoModifier, QString(ch));
    QApplication::sendEvent(widget, &press);
  }
}

void PressKey(QWidget* widget, int key) {
  QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
  QApplication::sendEvent(widget, &press);
}

int DifferentPixels(const QImage& a, const QImage& b, int x1, int x2) {
  int count = 0;
  for (int y = 0; y < std::min(a.height(), b.height()); ++y)
    for (int x = x1; x < x2; ++x)
      if (a.pixel(x, y) != b.pixel(x, y)) ++count;
  return count;
}

}  // namespace

TEST(GraphDialogGui, EditsTheLeftPanelThroughTheWidgets) {
  EnsureQtApp();
  InstallQtBitmapFactory();
  MainWindow window(false);
  window.show();
  window.OpenFiles({KINETRA_SOURCE_DIR "/examples/sample.qvi"});
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
  const int styleItems = 7;
  bool ran = false;

  // Whatever happens, the modal dialog does not outlive the test.
  QTimer guard;
  guard.setSingleShot(true);
  QObject::connect(&guard, &QTimer::timeout, [] {
    if (QWidget* modal = QApplication::activeModalWidget()) modal->close();
  });
  guard.start(10000);

  QTimer::singleShot(0, [&] {
    auto* dialog = qobject_cast<GraphSettingsDialog*>(QApplication::activeModalWidget());
    if (!dialog) {
      ADD_FAILURE() << "no settings dialog";
      return;
    }
    EXPECT_EQ(dialog->windowTitle().toStdString(), "QVgraph Settings");
    auto* last = dialog->findChild<QLineEdit*>("XLastEdit");
    auto* style = dialog->findChild<QComboBox*>("GrTpComBox1");
    ASSERT_TRUE(last && style);
    EXPECT_EQ(last->text().toStdString(), FormatReal(oldLast));
    EXPECT_EQ(style->count(), styleItems);
    EXPECT_EQ(style->itemText(1).toStdString(), "Circle");
    // Rows beyond the graph's series count are hidden.
    for (int k = 1; k <= 10; ++k) {
      auto* show = dialog->findChild<QCheckBox*>(QString("ShowChBox%1").arg(k));
      EXPECT_EQ(show->isHidden(), k > 1 && k > graph.SeriesCount) << k;
    }

    last->setFocus();
    last->selectAll();
    TypeInto(last, typed);
    EXPECT_EQ(last->text(), typed);
    EXPECT_EQ(last->palette().color(QPalette::Text), QColor(Qt::red));
    EXPECT_EQ(graph.LastXval, oldLast);  // typed, not taken
    PressKey(last, Qt::Key_Return);
    EXPECT_EQ(graph.LastXval, typed.toDouble());
    EXPECT_EQ(last->palette().color(QPalette::Text), QColor(Qt::black));

    const int paints = counter.paints;
    style->setCurrentIndex(Circle);
    QApplication::processEvents();
    EXPECT_EQ(graph.Series[1].Style, Circle);
    EXPECT_GT(counter.paints, paints);  // the panel repainted while the dialog is open
    // Both pages as pictures, for a look at the layout.
    auto* pages = dialog->findChild<QTabWidget*>();
    dialog->grab().save(KINETRA_BINARY_DIR "/graph_dialog_axis.png");
    pages->setCurrentIndex(1);
    dialog->grab().save(KINETRA_BINARY_DIR "/graph_dialog_graphs.png");
    ran = true;
    dialog->accept();
  });
  window.RunCommand("SetGraph");  // MouseX 0: the left panel
  EXPECT_TRUE(ran);
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
  EXPECT_EQ(graph.LastXval, typed.toDouble());
  EXPECT_EQ(graph.Series[1].Style, Circle);

  QApplication::processEvents();
  const QImage after = panels->grab().toImage();
  const int half = form.ClientWidth / 2;
  EXPECT_GT(DifferentPixels(before, after, 0, half), 500);
  EXPECT_EQ(DifferentPixels(before, after, half, after.width()), 0);
}
