#include "store/FrameArray.h"

#include <algorithm>
#include <new>
#include <utility>

#include "store/FrameSlabs.h"

FrameArray::FrameArray(const FrameArray& other) { *this = other; }

FrameArray& FrameArray::operator=(const FrameArray& other) {
  if (this == &other) return *this;
  if (!Allocate(other.size_)) return *this;
  std::copy(other.data_, other.data_ + other.size_, data_);
  return *this;
}

FrameArray::FrameArray(FrameArray&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      fromSlab_(std::exchange(other.fromSlab_, false)) {}

FrameArray& FrameArray::operator=(FrameArray&& other) noexcept {
  if (this != &other) {
    Release();
    data_ = std::exchange(other.data_, nullptr);
    size_ = std::exchange(other.size_, 0);
    fromSlab_ = std::exchange(other.fromSlab_, false);
  }
  return *this;
}

FrameArray::~FrameArray() { Release(); }

bool FrameArray::Allocate(int32_t count, FrameSlabs* slabs) {
  Release();
  if (count <= 0) return true;
  if (slabs && (data_ = slabs->Allocate(count))) {
    fromSlab_ = true;
    size_ = count;
    return true;
  }
  data_ = new (std::nothrow) float[static_cast<size_t>(count)]();
  if (!data_) return false;
  size_ = count;
  return true;
}

void FrameArray::Release() {
  if (fromSlab_)
    FrameSlabs::Release(data_, size_);
  else
    delete[] data_;
  data_ = nullptr;
  size_ = 0;
  fromSlab_ = false;
}
