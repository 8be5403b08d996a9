#include "plot/Canvas.h"

namespace {
BitmapFactory gFactory = nullptr;
}

void SetBitmapFactory(BitmapFactory factory) { gFactory = factory; }

BitmapFactory GetBitmapFactory() { return gFactory; }

std::unique_ptr<Bitmap> NewBitmap(int width, int height) {
  if (!gFactory || width <= 0 || height <= 0) return nullptr;
  std::unique_ptr<Bitmap> bitmap = gFactory(width, height);
  if (bitmap && (bitmap->Width() != width || bitmap->Height() != height)) bitmap.reset();
  return bitmap;
}

void CopyRectByPixels(Canvas& dest, int dx1, int dy1, int dx2, int dy2, const Bitmap& source,
                      int sx1, int sy1, int sx2, int sy2) {
  const int64_t spans[] = {int64_t{dx2} - dx1, int64_t{dy2} - dy1, int64_t{sx2} - sx1,
                           int64_t{sy2} - sy1};
  for (int64_t span : spans)
    if (span <= 0 || span > kMaxCopySpan) return;
  const int dw = dx2 - dx1, dh = dy2 - dy1, sw = sx2 - sx1, sh = sy2 - sy1;
  for (int j = 0; j < dh; ++j) {
    const int sy = StretchSource(sy1, j, sh, dh);
    for (int i = 0; i < dw; ++i)
      dest.SetPixel(dx1 + i, dy1 + j, source.Pixel(StretchSource(sx1, i, sw, dw), sy));
  }
}
