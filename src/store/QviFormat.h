#pragma once
// The QVI track file: a headerless sequence of track blocks of little-endian floats.
// Planar block: marker, reserved, header value, PosX, PosY, N, FirstFrame, then N
// intensities, N X and N Y. Old interleaved block: PosX, PosY, M, FirstFrame, then
// M - 1 triples (intensity, X, Y).
#include <bit>
#include <cstdint>
#include <cstdio>

static_assert(std::endian::native == std::endian::little, "QVI files are little-endian");

inline constexpr int32_t kQviMarker2016 = 2016;

struct QviBlockHeader {
  int32_t marker = kQviMarker2016;  // written as the int32's bytes
  float reserved = 0;
  float hdrValue = 0;
  int32_t posX = 0, posY = 0, nPoints = 0, firstFrame = 0;
};

// Both return false when a write fails.
bool WritePlanarBlock(std::FILE* file, const QviBlockHeader& header, const float* intensity,
                      const float* x, const float* y);
// The old layout stores a count one larger than the frames that follow.
bool WriteInterleavedBlock(std::FILE* file, const QviBlockHeader& header, const float* intensity,
                           const float* x, const float* y);
