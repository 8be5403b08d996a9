#pragma once
// A whole file's bytes for reading: mapped from the page cache where the system can
// (no copy, no memory of our own), else read into memory.
#include <cstddef>
#include <string>
#include <vector>

class MappedFile {
 public:
  MappedFile() = default;
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  // False when the file cannot be opened or read (folders cannot).
  bool Open(const std::string& path);
  const char* begin() const { return data_; }
  const char* end() const { return data_ + size_; }
  size_t size() const { return size_; }

 private:
  const char* data_ = "";
  size_t size_ = 0;
  void* mapped_ = nullptr;
  std::vector<char> copy_;
};
