#include "format/printer.h"

#include <unistd.h>

#include <cerrno>

namespace qsvmon {

void Printer::own_buffer() {
  buffer_.reset(new char[kBufferBytes]);
  next_ = buffer_.get();
  limit_ = next_ + kBufferBytes;
}

void Printer::flush() {
  if (buffer_ == nullptr) {  // made at the first use: a silent command needs none
    own_buffer();
    return;
  }
  if (next_ != buffer_.get()) {
    drain({buffer_.get(), static_cast<std::size_t>(next_ - buffer_.get())});
    next_ = buffer_.get();
  }
}

void Printer::text_slowly(std::string_view bytes) {
  flush();
  if (bytes.size() >= kBufferBytes) {
    drain(bytes);
    return;
  }
  std::memcpy(next_, bytes.data(), bytes.size());
  next_ += bytes.size();
}

void FilePrinter::drain(std::string_view bytes) {
  while (!failed_ && !bytes.empty()) {
    const ssize_t n = ::write(fd_, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      failed_ = true;
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
}

Printer& standard_out() {
  static FilePrinter out(STDOUT_FILENO);
  return out;
}

}  // namespace qsvmon
