#pragma once
// Picture output of the chart panels: the two panels composed into one bitmap, and
// 24-bit BMP files written from a bitmap's pixels.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "store/AtomicFile.h"

class Bitmap;

// One picture of clientWidth x height that looks like the two panels side by side: the
// left panel's bitmap whole at the top-left corner, and the left clientWidth/2 columns
// of the right panel's bitmap stretched onto columns clientWidth/2 .. clientWidth-1
// (one column wider when clientWidth is odd). A missing panel bitmap is left out.
// Null when the picture cannot be made.
std::unique_ptr<Bitmap> ComposePanels(const Bitmap* left, const Bitmap* right, int clientWidth,
                                      int height);

// Sizes of a bitmap's device-independent form: the 40-byte header and the pixel rows
// (24 bits a pixel, rows padded to 4 bytes). False for an empty bitmap or one too large
// for the format.
bool DibSizes(const Bitmap& bitmap, size_t& headerSize, size_t& pixelSize);

// The complete 24-bit BMP file (bottom-up rows, BGR bytes); empty when DibSizes fails.
std::vector<uint8_t> EncodeBmp24(const Bitmap& bitmap);
// Writes EncodeBmp24 to `path`, whole or not at all.
FileWriteResult WriteBmp24(const Bitmap& bitmap, const std::string& path);
