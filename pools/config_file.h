#pragma once

#include <cstdio>
#include <span>

#include "format/text.h"
#include "rpc/wire/request.h"

namespace qsvmon {

/// Handles one line of a section: `line.errtext` holds the section word, `line.data` the rest of
/// the line, which may be cut up. A line that is rejected is reported with `set_request_error`;
/// nobody prints it.
using ConfigLineHandler = void (*)(RpcRequest& line);

struct ConfigSection {
  char word[16];  ///< the first word of its lines, compared exactly; holds no blank
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

/// Where `text` goes on behind `word`, or null when it begins with something else. A loop, as a
/// library call reads 16 bytes or more at once, and then waits for the NUL that was just stored
/// among them: full files take 3.4 ms so, and 3.6 with strcmp.
inline char* behind_word(char* text, const char* word) {
  while (*word != '\0' && *text == *word) ++text, ++word;
  return *word == '\0' ? text : nullptr;
}

/// Goes through the key=value words of a line: blank-separated, up to the end or a word without
/// "=".
class LineWords {
 public:
  explicit LineWords(RpcRequest& line) : rest_(line.data) {}

  bool next() {
    key_ = next_keyvalue(rest_, &value_, &rest_);
    return key_ != nullptr;
  }
  bool is(const char* key) const {
    const char* const end = behind_word(key_, key);
    return end != nullptr && *end == '\0';
  }
  char* value() const { return value_; }

 private:
  char* rest_;
  char* key_ = nullptr;
  char* value_ = nullptr;
};

}  // namespace qsvmon
