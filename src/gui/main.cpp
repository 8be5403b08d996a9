// kinetra-stats: the desktop program.
//   kinetra-stats [FILES...]                      opens the files as "Open New File(s)"
//   kinetra-stats --screenshot PATH [FILES...]    opens them, saves a picture of the window, exits
#include <QApplication>
#include <QPixmap>
#include <QTimer>
#include <cstdio>

#include "gui/MainWindow.h"
#include "gui/QtBitmap.h"

int main(int argc, char** argv) {
  KeepQtOnCallingThread();
  QApplication app(argc, argv);
  QApplication::setApplicationDisplayName("Kinetra Statistics");
  InstallQtBitmapFactory();

  QString screenshot;
  QStringList files;
  const QStringList args = QApplication::arguments();
  for (int i = 1; i < args.size(); ++i) {
    if (args[i] == "--screenshot" && i + 1 < args.size())
      screenshot = args[++i];
    else if (args[i] == "--help") {
      std::puts("usage: kinetra-stats [--screenshot PATH] [FILE.qvi ...]");
      return 0;
    } else
      files << args[i];
  }

  MainWindow window(screenshot.isEmpty());
  window.show();
  window.OpenFiles(files);
  if (!screenshot.isEmpty()) {
    QApplication::processEvents();
    const bool saved = window.grab().save(screenshot);
    if (!saved) std::fprintf(stderr, "kinetra-stats: cannot write %s\n", qPrintable(screenshot));
    return saved ? 0 : 1;
  }
  return app.exec();
}
