#pragma once
// Per-frame values of one track (intensity, X or Y). Owns its floats; copying a
// record copies its frames, so editing commands that assign whole records never
// leave two records sharing (and later freeing) the same memory.
#include <cstdint>

class FrameSlabs;

class FrameArray {
 public:
  FrameArray() = default;
  FrameArray(const FrameArray& other);
  FrameArray& operator=(const FrameArray& other);
  FrameArray(FrameArray&& other) noexcept;
  FrameArray& operator=(FrameArray&& other) noexcept;
  ~FrameArray();

  // Releases the old floats and allocates `count` zeroed ones, from `slabs` when given
  // and able; false (and empty) when memory is short.
  bool Allocate(int32_t count, FrameSlabs* slabs = nullptr);
  void Release();

  float& operator[](int32_t k) { return data_[k]; }
  float operator[](int32_t k) const { return data_[k]; }
  float* data() { return data_; }
  const float* data() const { return data_; }
  int32_t size() const { return size_; }

 private:
  float* data_ = nullptr;
  int32_t size_ = 0;
  bool fromSlab_ = false;  // else from new[]
};
