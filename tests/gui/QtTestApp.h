#pragma once
// Shared by the GUI tests: one application object on Qt's offscreen platform unless the
// environment chose another, the sample file, key presses and pixel counts.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMenuBar>
#include <QMouseEvent>
#include <cstdlib>
#include <string>

#include "app/MainForm.h"
#include "gui/MainWindow.h"
#include "gui/QtBitmap.h"

inline const char* const kSample = KINETRA_SOURCE_DIR "/examples/sample.qvi";

inline void EnsureQtApp() {
  if (QCoreApplication::instance()) return;
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  static int argc = 1;
  static char name[] = "kinetra_gui_tests";
  static char* argv[] = {name, nullptr};
  new QApplication(argc, argv);  // lives until the process ends
}

// The application, with QtBitmap making every bitmap, before any member of a fixture.
struct QtTest : ::testing::Test {
  QtTest() {
    EnsureQtApp();
    InstallQtBitmapFactory();
  }
};

inline void PressKey(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
                     const QString& text = {}) {
  QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
  QApplication::sendEvent(widget, &press);
}

// Pixels of exactly this colour (RGB).
inline int CountPixels(const QImage& image, QRgb color) {
  int count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      count += (image.pixel(x, y) & 0xFFFFFF) == (color & 0xFFFFFF);
  return count;
}

// Pixels that differ between two pictures in columns x1 .. x2 - 1.
inline int DifferentPixels(const QImage& a, const QImage& b, int x1, int x2) {
  int count = 0;
  for (int y = 0; y < std::min(a.height(), b.height()); ++y)
    for (int x = x1; x < x2; ++x) count += a.pixel(x, y) != b.pixel(x, y);
  return count;
}

// The captions of a menu bar, joined by '|'.
inline std::string MenuTitles(QMenuBar* bar) {
  QStringList titles;
  for (QAction* action : bar->actions()) titles << action->text();
  return titles.join("|").toStdString();
}
