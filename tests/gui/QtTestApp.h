#pragma once
// One application object for all GUI tests, on Qt's offscreen platform unless the
// environment chose another.
#include <QApplication>
#include <cstdlib>

inline void EnsureQtApp() {
  if (QCoreApplication::instance()) return;
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  static int argc = 1;
  static char name[] = "kinetra_gui_tests";
  static char* argv[] = {name, nullptr};
  new QApplication(argc, argv);  // lives until the process ends
}
