#pragma once

#include <cstdio>
#include <span>
#include <string_view>

#include "format/text.h"
#include "rpc/wire/request.h"

namespace qsvmon {

/// Handles one line of a section: `line.errtext` holds the section word (at most 119 characters),
/// `line.data` the rest of the line, which may be cut up. A line that is rejected is reported with
/// `set_request_error`; nobody prints it.
using ConfigLineHandler = void (*)(RpcRequest& line);

struct ConfigSection {
  std::string_view word;  ///< the first word of its lines, compared exactly; holds no blank
  ConfigLineHandler handle;
};

/// Lines are read as fgets reads them into a buffer of so many bytes: the text behind the first
/// 1,022 characters of a line is a line of its own.
constexpr int kConfigLineBytes = 1023;

/// Passes every line of the file whose section word is in `sections` to its handler. Returns 0, or
/// -1 with errno set when the file cannot be opened. A file that opens and cannot be read (a
/// folder) has no lines.
int read_config_file(const char* path, std::span<const ConfigSection> sections);

/// The same for an open file, from where it stands to its end; it stays open.
void read_config(std::FILE* file, std::span<const ConfigSection> sections);

/// Goes through the key=value words of a line: blank-separated, up to the end or a word without
/// "=".
class LineWords {
 public:
  explicit LineWords(RpcRequest& line) : rest_(line.data) {}

  bool next() {
    const char* const key = next_keyvalue(rest_, &value_, &rest_);
    if (key != nullptr) key_ = key;
    return key != nullptr;
  }
  bool is(std::string_view key) const { return key_ == key; }
  char* value() const { return value_; }

 private:
  char* rest_;
  std::string_view key_;
  char* value_ = nullptr;
};

}  // namespace qsvmon
