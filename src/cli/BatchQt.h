#pragma once
// Qt for the batch tool: an offscreen application so that pictures can be drawn
// with real fonts on a machine with no display.
#include <memory>

class QGuiApplication;

class BatchQt {
 public:
  BatchQt(int& argc, char** argv);
  ~BatchQt();

 private:
  std::unique_ptr<QGuiApplication> app_;
};
