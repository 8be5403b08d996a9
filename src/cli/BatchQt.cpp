#include "cli/BatchQt.h"

#include "gui/QtBitmap.h"

#include <QGuiApplication>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

BatchQt::BatchQt(int& argc, char** argv) {
  if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  // Qt wants a private runtime folder; without a desktop session there is none.
  if (!std::getenv("XDG_RUNTIME_DIR")) {
    const std::string dir = "/tmp/kinetra-runtime-" + std::to_string(getuid());
    mkdir(dir.c_str(), 0700);
    setenv("XDG_RUNTIME_DIR", dir.c_str(), 1);
  }
  KeepQtOnCallingThread();
  app_ = std::make_unique<QGuiApplication>(argc, argv);
  InstallQtBitmapFactory();
}

BatchQt::~BatchQt() = default;
