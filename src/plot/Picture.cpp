#include "plot/Picture.h"

#include <new>

#include "plot/Canvas.h"

namespace {

constexpr size_t kFileHeaderSize = 14;
constexpr size_t kInfoHeaderSize = 40;

void Put16(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}

void Put32(uint8_t* p, uint32_t v) {
  Put16(p, v & 0xFFFF);
  Put16(p + 2, v >> 16);
}

}  // namespace

std::unique_ptr<Bitmap> ComposePanels(const Bitmap* left, const Bitmap* right, int clientWidth,
                                      int height) {
  std::unique_ptr<Bitmap> picture = NewBitmap(clientWidth, height);
  if (!picture) return nullptr;
  Canvas& canvas = picture->GetCanvas();
  if (left) {
    const int w = left->Width(), h = left->Height();
    canvas.CopyRect(0, 0, w, h, *left, 0, 0, w, h);
  }
  if (right) {
    // Only the left half-width of the right panel is taken, whatever its own width.
    const int half = clientWidth / 2, h = right->Height();
    canvas.CopyRect(half, 0, clientWidth, h, *right, 0, 0, half, h);
  }
  return picture;
}

bool DibSizes(const Bitmap& bitmap, size_t& headerSize, size_t& pixelSize) {
  const int64_t width = bitmap.Width(), height = bitmap.Height();
  if (width <= 0 || height <= 0) return false;
  const int64_t rowBytes = (width * 3 + 3) / 4 * 4;
  const int64_t total = rowBytes * height;
  // The file size field is 32 bits.
  if (total > 0xFFFFFFFFLL - static_cast<int64_t>(kFileHeaderSize + kInfoHeaderSize)) return false;
  headerSize = kInfoHeaderSize;
  pixelSize = static_cast<size_t>(total);
  return true;
}

std::vector<uint8_t> EncodeBmp24(const Bitmap& bitmap) {
  size_t headerSize = 0, pixelSize = 0;
  if (!DibSizes(bitmap, headerSize, pixelSize)) return {};
  const size_t offset = kFileHeaderSize + headerSize;
  std::vector<uint8_t> bytes;
  try {
    bytes.assign(offset + pixelSize, 0);
  } catch (const std::bad_alloc&) {
    return {};
  }
  const int width = bitmap.Width(), height = bitmap.Height();
  uint8_t* p = bytes.data();
  p[0] = 'B';
  p[1] = 'M';
  Put32(p + 2, static_cast<uint32_t>(bytes.size()));
  Put32(p + 10, static_cast<uint32_t>(offset));
  uint8_t* info = p + kFileHeaderSize;
  Put32(info, kInfoHeaderSize);
  Put32(info + 4, static_cast<uint32_t>(width));
  Put32(info + 8, static_cast<uint32_t>(height));  // positive: rows run bottom-up
  Put16(info + 12, 1);                              // planes
  Put16(info + 14, 24);                             // bits per pixel
  Put32(info + 16, 0);                              // no compression
  Put32(info + 20, static_cast<uint32_t>(pixelSize));
  Put32(info + 24, 3780);  // 96 dots per inch, in dots per metre
  Put32(info + 28, 3780);
  const size_t rowBytes = pixelSize / static_cast<size_t>(height);
  for (int y = 0; y < height; ++y) {
    uint8_t* row = p + offset + static_cast<size_t>(height - 1 - y) * rowBytes;
    for (int x = 0; x < width; ++x) {
      const TColor c = bitmap.Pixel(x, y);  // 0x00BBGGRR; the file wants B, G, R
      row[3 * x] = static_cast<uint8_t>(c >> 16);
      row[3 * x + 1] = static_cast<uint8_t>(c >> 8);
      row[3 * x + 2] = static_cast<uint8_t>(c);
    }
  }
  return bytes;
}

FileWriteResult WriteBmp24(const Bitmap& bitmap, const std::string& path) {
  const std::vector<uint8_t> bytes = EncodeBmp24(bitmap);
  if (bytes.empty()) return {FileWriteResult::NotWritten, "Can not write " + path + ": no picture"};
  return WriteFileAtomically(
      path, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}
