#include "store/QviFormat.h"

namespace {

bool WriteFloats(std::FILE* file, const float* values, int32_t count) {
  if (count <= 0) return true;
  return std::fwrite(values, sizeof(float), static_cast<size_t>(count), file) ==
         static_cast<size_t>(count);
}

bool WriteFloat(std::FILE* file, float value) { return WriteFloats(file, &value, 1); }

}  // namespace

bool WritePlanarBlock(std::FILE* file, const QviBlockHeader& h, const float* intensity,
                      const float* x, const float* y) {
  bool ok = std::fwrite(&h.marker, sizeof h.marker, 1, file) == 1;
  ok = ok && WriteFloat(file, h.reserved) && WriteFloat(file, h.hdrValue);
  ok = ok && WriteFloat(file, static_cast<float>(h.posX)) &&
       WriteFloat(file, static_cast<float>(h.posY)) &&
       WriteFloat(file, static_cast<float>(h.nPoints)) &&
       WriteFloat(file, static_cast<float>(h.firstFrame));
  return ok && WriteFloats(file, intensity, h.nPoints) && WriteFloats(file, x, h.nPoints) &&
         WriteFloats(file, y, h.nPoints);
}

bool WriteInterleavedBlock(std::FILE* file, const QviBlockHeader& h, const float* intensity,
                           const float* x, const float* y) {
  bool ok = WriteFloat(file, static_cast<float>(h.posX)) &&
            WriteFloat(file, static_cast<float>(h.posY)) &&
            WriteFloat(file, static_cast<float>(h.nPoints + 1)) &&
            WriteFloat(file, static_cast<float>(h.firstFrame));
  for (int32_t k = 0; ok && k < h.nPoints; ++k) {
    const float triple[3] = {intensity[k], x[k], y[k]};
    ok = WriteFloats(file, triple, 3);
  }
  return ok;
}
