#include "store/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

// The process's file-creation mask, so that a new file gets the mode fopen would give it.
// Read by setting and restoring it; no other thread creates files meanwhile.
mode_t CurrentUmask() {
  const mode_t mask = umask(0);
  umask(mask);
  return mask;
}

// Keeps the temporary's name within the usual 255-byte limit of a file name.
constexpr size_t kMaxNameKept = 200;

}  // namespace

AtomicFile::AtomicFile(std::string path) : path_(std::move(path)) {}

AtomicFile::~AtomicFile() { Discard(); }

bool AtomicFile::Open() {
  if (opened_) return file_ != nullptr;
  opened_ = true;
  if (path_.empty()) {
    openError_ = ENOENT;
    return false;
  }
  // A symbolic link stays a link: its target is what gets replaced.
  target_ = path_;
  struct stat info {};
  if (lstat(path_.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    if (char* real = realpath(path_.c_str(), nullptr)) {
      target_ = real;
      std::free(real);
    }
  }
  const bool exists = stat(target_.c_str(), &info) == 0;
  if (exists && S_ISDIR(info.st_mode)) {
    openError_ = EISDIR;
    return false;
  }
  // A file that may not be written stays so, as it would for fopen.
  if (exists && access(target_.c_str(), W_OK) != 0) {
    openError_ = errno;
    return false;
  }
  if (exists && !S_ISREG(info.st_mode)) {
    file_ = std::fopen(target_.c_str(), "wb");
    if (!file_) openError_ = errno;
    return file_ != nullptr;
  }

  const size_t slash = target_.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : target_.substr(0, slash + 1);
  const std::string name = target_.substr(folder.size()).substr(0, kMaxNameKept);
  std::string pattern = folder + "." + name + ".XXXXXX";
  const int fd = mkstemp(pattern.data());
  if (fd < 0) {
    openError_ = errno;
    return false;
  }
  temp_ = pattern;
  // mkstemp makes the file private; give it the mode the target has, or would get.
  const mode_t mode = exists ? (info.st_mode & 0777) : (0666 & ~CurrentUmask());
  fchmod(fd, mode);
  file_ = fdopen(fd, "wb");
  if (!file_) {
    openError_ = errno;
    close(fd);
    Discard();
    return false;
  }
  return true;
}

bool AtomicFile::Write(std::string_view bytes) {
  if (!file_) return false;
  if (bytes.empty()) return true;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size()) return true;
  MarkFailed();
  return false;
}

void AtomicFile::MarkFailed() {
  if (writeError_ == 0) writeError_ = errno != 0 ? errno : -1;
}

void AtomicFile::Discard() {
  if (file_) std::fclose(file_);
  file_ = nullptr;
  if (!temp_.empty()) unlink(temp_.c_str());
  temp_.clear();
}

FileWriteResult AtomicFile::Fail(FileWriteResult::Status status, int error) {
  Discard();
  const std::string reason = error > 0 ? std::strerror(error) : "not every byte could be written";
  return {status, "Can not write " + path_ + ": " + reason};
}

FileWriteResult AtomicFile::Commit() {
  if (!file_) return Fail(FileWriteResult::NotOpened, opened_ ? openError_ : EBADF);
  // The first failure says why; a stream that failed earlier may no longer know.
  int error = writeError_;
  bool failed = writeError_ != 0;
  errno = 0;
  if (std::fflush(file_) != 0) {
    if (!failed) error = errno;
    failed = true;
  }
  failed = failed || std::ferror(file_) != 0;
  std::FILE* file = file_;
  file_ = nullptr;
  errno = 0;
  if (std::fclose(file) != 0) {
    if (!failed) error = errno;
    failed = true;
  }
  if (failed) return Fail(FileWriteResult::NotWritten, error);
  if (!temp_.empty() && std::rename(temp_.c_str(), target_.c_str()) != 0)
    return Fail(FileWriteResult::NotWritten, errno);
  temp_.clear();
  return {};
}

FileWriteResult WriteFileAtomically(const std::string& path, std::string_view bytes) {
  AtomicFile file(path);
  if (file.Open()) file.Write(bytes);
  return file.Commit();
}
