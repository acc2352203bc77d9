#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "format/text.h"
#include "rpc/request.h"

namespace qsvmon {

/// Takes one line of a section: `line.errtext` holds the section word (at most 119 characters),
/// `line.data` the rest of the line, which may be cut up. A line that is rejected is reported with
/// `set_request_error`; nobody prints it.
using ConfigLineHandler = void (*)(RpcRequest& line);

struct ConfigSection {
  std::string_view word;  ///< the first word of its lines, compared exactly; holds no blank
  ConfigLineHandler take_line;
};

/// Cuts a file into pieces as fgets with a buffer of kPieceBytes does: a piece ends after a LF or
/// after kPieceBytes - 1 characters.
class PieceReader {
 public:
  static constexpr std::size_t kPieceBytes = 1023;

  /// Reads from `fd`, which it does not own.
  explicit PieceReader(int fd) : fd_(fd) {}

  /// The next piece without its LF, NUL-terminated; null at the end. A read error is an end. A NUL
  /// byte in the file ends the text early. Valid, and free to be changed, until the next call.
  char* next();

 private:
  void refill();

  int fd_;
  bool at_end_ = false;
  char covered_ = '\0';  ///< the byte that a full piece's NUL stands on
  bool covering_ = false;
  std::size_t begin_ = 0;  ///< the bytes read and not handed out are begin_..end_
  std::size_t end_ = 0;
  char buffer_[32 * 1024 + 1];  ///< one more for the NUL behind a last piece without LF
};

/// Passes every line of the file whose section word is in `sections` to its handler. Returns 0, or
/// -1 with errno set when the file cannot be opened. A file that opens and cannot be read (a
/// folder) has no lines.
int read_config_file(const char* path, std::span<const ConfigSection> sections);

/// The same for an open file; `fd` stays open.
void read_config(int fd, std::span<const ConfigSection> sections);

/// Walks the key=value words of a line: blank-separated, up to the end or a word without "=".
class LineWords {
 public:
  explicit LineWords(RpcRequest& line) : rest_(line.data) {}

  bool next() {
    key_ = next_keyvalue(rest_, &value_, &rest_);
    return key_ != nullptr;
  }
  bool is(const char* key) const { return std::strcmp(key_, key) == 0; }
  char* value() const { return value_; }

 private:
  char* rest_;
  char* key_ = nullptr;
  char* value_ = nullptr;
};

}  // namespace qsvmon
