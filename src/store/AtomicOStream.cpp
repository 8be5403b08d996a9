#include "store/AtomicOStream.h"

AtomicOStream::AtomicOStream(std::string path)
    : std::ostream(nullptr), file_(std::move(path)), buffer_(file_) {
  rdbuf(&buffer_);
}

AtomicOStream::~AtomicOStream() = default;

FileWriteResult AtomicOStream::Commit() {
  if (file_.Stream()) {
    flush();
    if (fail()) file_.MarkFailed();
  }
  return file_.Commit();
}

AtomicOStream::Buffer::int_type AtomicOStream::Buffer::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  const char ch = traits_type::to_char_type(c);
  return file_.Write(std::string_view(&ch, 1)) ? c : traits_type::eof();
}

std::streamsize AtomicOStream::Buffer::xsputn(const char* s, std::streamsize n) {
  if (n <= 0) return 0;
  return file_.Write(std::string_view(s, static_cast<size_t>(n))) ? n : 0;
}
