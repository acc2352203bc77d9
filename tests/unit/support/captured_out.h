#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

#include "format/printer.h"

namespace qsvmon {

/// Sends the process's standard output to a scratch file for its lifetime.
///
///     CapturedOut out;
///     call_that_prints();
///     EXPECT_EQ(out.text(), "...");
class CapturedOut {
 public:
  CapturedOut() : file_(std::tmpfile()) {
    flush();
    saved_ = ::dup(STDOUT_FILENO);
    ::dup2(::fileno(file_), STDOUT_FILENO);
  }
  ~CapturedOut() {
    flush();
    ::dup2(saved_, STDOUT_FILENO);
    ::close(saved_);
    std::fclose(file_);
  }
  CapturedOut(const CapturedOut&) = delete;
  CapturedOut& operator=(const CapturedOut&) = delete;

  /// All that was printed since the start.
  std::string text() {
    flush();
    std::string bytes(static_cast<std::size_t>(::lseek(::fileno(file_), 0, SEEK_END)), '\0');
    const ssize_t got = ::pread(::fileno(file_), bytes.data(), bytes.size(), 0);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
  }

 private:
  static void flush() {
    standard_out().flush();
    std::fflush(stdout);
  }

  std::FILE* file_;
  int saved_ = -1;
};

}  // namespace qsvmon
