#pragma once
// An output stream whose file is written whole or left as it was (see AtomicFile).
#include <ostream>
#include <streambuf>
#include <string>

#include "store/AtomicFile.h"

// An output stream into an AtomicFile, for writers that take a std::ostream.
class AtomicOStream : public std::ostream {
 public:
  explicit AtomicOStream(std::string path);
  ~AtomicOStream() override;
  bool Open() { return file_.Open(); }
  // NotWritten also when the stream itself went bad.
  FileWriteResult Commit();
  void Discard() { file_.Discard(); }
  const std::string& Path() const { return file_.Path(); }

 private:
  class Buffer : public std::streambuf {
   public:
    explicit Buffer(AtomicFile& file) : file_(file) {}

   protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* s, std::streamsize n) override;

   private:
    AtomicFile& file_;
  };

  AtomicFile file_;
  Buffer buffer_;
};
