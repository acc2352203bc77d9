#pragma once

#include <cstring>
#include <string_view>

namespace qsvmon {

/// Success, or the exact line that the user will see (without its newline): made where the fault
/// is found, printed in one place by the handler (`fail`). Holds its text itself; cut at 255 bytes.
class [[nodiscard]] Status {
 public:
  static Status good() { return Status(); }
  static Status error(std::string_view line) {
    Status s;
    s.failed_ = true;
    s.size_ = line.size() < sizeof s.line_ ? line.size() : sizeof s.line_;
    std::memcpy(s.line_, line.data(), s.size_);
    return s;
  }
  bool ok() const { return !failed_; }
  /// The line without its newline; empty on success. Valid as long as the Status.
  std::string_view line() const { return {line_, size_}; }

 private:
  Status() = default;
  bool failed_ = false;
  std::size_t size_ = 0;
  char line_[255];
};

}  // namespace qsvmon
