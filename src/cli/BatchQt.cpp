#include "cli/BatchQt.h"

#include <QGuiApplication>
#include <cstdlib>

BatchQt::BatchQt(int& argc, char** argv) {
  if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  app_ = std::make_unique<QGuiApplication>(argc, argv);
}

BatchQt::~BatchQt() = default;
