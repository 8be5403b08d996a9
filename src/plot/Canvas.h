#pragma once
// Drawing surfaces without a window system. The Qt side implements them with
// QImage + QPainter; tests use a recording fake with fixed text metrics.
#include <cstdint>
#include <string>

#include "plot/Color.h"

class Canvas {
 public:
  virtual ~Canvas() = default;
};

class Bitmap {
 public:
  virtual ~Bitmap() = default;
  virtual int Width() const = 0;
  virtual int Height() const = 0;
  virtual void SetSize(int width, int height) = 0;
  virtual Canvas& GetCanvas() = 0;
};
