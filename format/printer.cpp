#include "format/printer.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <new>

namespace qsvmon {

void Printer::make_buffer() {
  own_buffer_.reset(new char[kBufferBytes]);
  buffer_ = next_ = own_buffer_.get();
  limit_ = next_ + kBufferBytes;
}

void Printer::flush() {
  if (buffer_ == nullptr) {
    make_buffer();
  } else if (next_ != buffer_) {
    drain({buffer_, static_cast<std::size_t>(next_ - buffer_)});
    next_ = buffer_;
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

namespace {

// Whether a write that moved nothing may be tried again: a signal came, or the descriptor is shared
// with somebody who made it non-blocking, and its reader has room again. A reader that went away
// ends the wait as well; the next write then says so.
bool may_write_again(int fd) {
  if (errno == EINTR) return true;
  if (errno != EAGAIN) return false;
  pollfd wanted{fd, POLLOUT, 0};
  return ::poll(&wanted, 1, -1) > 0 || errno == EINTR;
}

}  // namespace

void FilePrinter::drain(std::string_view bytes) {
  while (!failed_ && !bytes.empty()) {
    const ssize_t n = ::write(fd_, bytes.data(), bytes.size());
    if (n < 0 && may_write_again(fd_)) continue;
    if (n <= 0) {
      failed_ = true;
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
}

namespace {

// Never destroyed, so that it can be used to the last instruction of the process and a command pays
// nothing for registering its end.
char out_buffer[Printer::kBufferBytes];
alignas(FilePrinter) unsigned char out_storage[sizeof(FilePrinter)];
FilePrinter* out = nullptr;

}  // namespace

Printer& standard_out() {
  if (out == nullptr) {
    out = new (out_storage)
        FilePrinter(STDOUT_FILENO, std::span<char, Printer::kBufferBytes>(out_buffer));
  }
  return *out;
}

}  // namespace qsvmon
