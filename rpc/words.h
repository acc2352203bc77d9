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

/// Where the blank of each word goes in a request's argument text.
enum class WordStyle {
  kBlankAfter,   ///< "a b " - forwards, management and IP table commands
  kBlankBefore,  ///< " a b" - the listings
};

/// Writes `words` to the start of `area` in `style`, then a NUL. Returns the length without the
/// NUL, or nothing when the text and its NUL do not fit (the area's content is then unspecified).
std::optional<std::uint32_t> write_words(Words words, std::span<char> area, WordStyle style);

/// The status of an argument text that does not fit the area.
inline Status argument_too_long() {
  return Status::error("argument text too long");
}

/// The text of `word` after `prefix`, or null when it does not begin with it.
inline const char* after_prefix(const char* word, std::string_view prefix) {
  return std::string_view(word).substr(0, prefix.size()) == prefix ? word + prefix.size() : nullptr;
}

/// Prints the status's line and a newline on standard output; returns -1, the handler's result.
int fail(const Status& status);

}  // namespace qsvmon
