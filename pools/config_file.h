#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

#include "format/text.h"
#include "platform/large_memory.h"
#include "rpc/wire/request.h"

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
  /// Length of the piece that `next` returned, its LF not counted.
  std::size_t length() const { return length_; }

 private:
  void refill();

  int fd_;
  std::size_t length_ = 0;
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

/// The pages for a pool that is about to be loaded from the file: large ones for a file that will
/// fill hundreds of small ones, each with a fault of its own.
Pages pages_for(const char* path);

/// Walks the key=value words of a line: blank-separated, up to the end or a word without "=".
class LineWords {
 public:
  explicit LineWords(RpcRequest& line) : rest_(line.data) {}

  bool next() {
    key_ = next_keyvalue(rest_, &value_, &rest_);
    return key_ != nullptr;
  }
  template <std::size_t N>
  bool is(const char (&key)[N]) const {
    return equals(key, std::make_index_sequence<N>());
  }
  char* value() const { return value_; }

 private:
  /// Compares up to and with the NUL, without a loop: most keys differ in their first letter.
  template <std::size_t N, std::size_t... I>
  bool equals(const char (&key)[N], std::index_sequence<I...>) const {
    return ((key_[I] == key[I]) && ...);
  }

  char* rest_;
  char* key_ = nullptr;
  char* value_ = nullptr;
};

}  // namespace qsvmon
