#pragma once
// Files that are either written whole or left as they were. The bytes go to a temporary
// file beside the target, which replaces the target only once every byte was written and
// the close succeeded; on any failure the temporary is removed and the target keeps its
// old content (or stays absent). A target that exists and is not a regular file (a
// device such as /dev/null, a pipe) is written directly: there is nothing to keep intact.
#include <cstdio>
#include <string>
#include <string_view>

// How a file write ended; true only when the file is complete on disk.
struct FileWriteResult {
  enum Status { Written, NotOpened, NotWritten };
  Status status = Written;
  std::string error;  // names the file and the reason; empty when written
  explicit operator bool() const { return status == Written; }
};

class AtomicFile {
 public:
  explicit AtomicFile(std::string path);
  ~AtomicFile();  // an uncommitted temporary is removed
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  // Creates the temporary (binary; on this platform text mode writes the same bytes).
  // False when it cannot be created; Commit then reports NotOpened.
  bool Open();
  // The open stream, or null. Writers may use it directly; errors are noticed at Commit.
  std::FILE* Stream() const { return file_; }
  bool Write(std::string_view bytes);
  // For writers of Stream(): a write just failed (errno tells why); Commit will fail.
  void MarkFailed();
  // Flushes, closes and renames over the target. On failure nothing is left behind.
  FileWriteResult Commit();
  // Drops what was written; the target stays as it was.
  void Discard();

  const std::string& Path() const { return path_; }

 private:
  FileWriteResult Fail(FileWriteResult::Status status, int error);

  std::string path_;    // as the caller named it, for messages
  std::string target_;  // what the temporary replaces (a symbolic link's target)
  std::string temp_;    // empty when writing directly
  std::FILE* file_ = nullptr;
  bool opened_ = false;
  int openError_ = 0;
  int writeError_ = 0;  // of the first failed write, -1 when errno did not say
};

// Writes `bytes` as the whole content of `path`.
FileWriteResult WriteFileAtomically(const std::string& path, std::string_view bytes);
