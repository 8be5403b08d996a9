#include "store/FileOpen.h"

#include <sys/stat.h>

std::FILE* OpenFileForReading(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return nullptr;
  struct stat info;
  if (fstat(fileno(file), &info) != 0 || S_ISDIR(info.st_mode)) {
    std::fclose(file);
    return nullptr;
  }
  return file;
}
