#include "import/MappedFile.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <cstdio>

#include "store/FileOpen.h"

MappedFile::~MappedFile() {
  if (mapped_) munmap(mapped_, size_);
}

bool MappedFile::Open(const std::string& path) {
  std::FILE* file = OpenFileForReading(path);
  if (!file) return false;
  struct stat info;
  if (fstat(fileno(file), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
    void* map = mmap(nullptr, static_cast<size_t>(info.st_size), PROT_READ, MAP_PRIVATE, fileno(file), 0);
    if (map != MAP_FAILED) {
      madvise(map, static_cast<size_t>(info.st_size), MADV_SEQUENTIAL);
      std::fclose(file);
      mapped_ = map;
      data_ = static_cast<const char*>(map);
      size_ = static_cast<size_t>(info.st_size);
      return true;
    }
  }
  // Not a regular file, or not mappable: read it whole.
  char block[1 << 16];
  size_t got;
  while ((got = std::fread(block, 1, sizeof block, file)) > 0) copy_.insert(copy_.end(), block, block + got);
  const bool ok = !std::ferror(file);
  std::fclose(file);
  data_ = copy_.empty() ? "" : copy_.data();
  size_ = copy_.size();
  return ok;
}
