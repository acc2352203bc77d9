#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "format/status.h"

namespace qsvmon {

/// The argument words of a command, after the sub-command. The texts are the process's own.
using Words = std::span<char* const>;

inline Words words_of(int argc, char** argv) {
  return {argv, argc > 0 ? static_cast<std::size_t>(argc) : 0};
}

/// The bound of an argument text, the one there is: `bytes` of it, a NUL included, fit `area`.
inline bool argument_fits(std::size_t bytes, std::span<const char> area) {
  return bytes <= area.size();
}
/// The status of an argument text that does not fit, or of a word that does not fit its field.
inline Status argument_too_long() {
  return Status::error("argument text too long");
}

/// Argument text at the start of the area, built from parts.
class ArgumentText {
 public:
  explicit ArgumentText(std::span<char> area) : area_(area) {}

  ArgumentText& add(std::string_view part);
  /// Ends the text with a NUL. Returns its length without it, or nothing when text and NUL do not
  /// fit the area (whose content is then unspecified).
  std::optional<std::uint32_t> finish();

 private:
  std::span<char> area_;
  std::size_t used_ = 0;
  bool fits_ = true;
};

/// Where the blank of each word goes in a request's argument text.
enum class WordStyle {
  kBlankAfter,   ///< "a b " - forwards, management and IP table commands
  kBlankBefore,  ///< " a b" - the listings
};

/// Writes `words` to the start of `area` in `style`, then a NUL; returns what
/// `ArgumentText::finish` does.
std::optional<std::uint32_t> write_words(Words words, std::span<char> area, WordStyle style);

/// The text of `word` after `prefix`, or null when it does not begin with it.
inline const char* after_prefix(const char* word, std::string_view prefix) {
  return std::string_view(word).substr(0, prefix.size()) == prefix ? word + prefix.size() : nullptr;
}

/// Prints the status's line and a newline on standard output; returns -1, the handler's result.
int fail(const Status& status);

}  // namespace qsvmon
