#pragma once

#include <cstddef>
#include <string_view>

namespace qsvmon {

constexpr std::size_t kCleanBytes = 1024;

/// A decoded mail text as the mail list shows it: without double quotes, backslashes, ESC, CR, LF,
/// TABs and blanks, at most kCleanBytes of the rest, and no further than a NUL.
/// KEEP: blanks are dropped as well; "Bob Smith" is shown as "BobSmith".
struct CleanMailText {
  static constexpr std::size_t kMostBytes = kCleanBytes + 1;  ///< one more than the text has
  std::string_view text;
};
char* write_value(char* at, CleanMailText clean);

/// A Telnet command as the JSON list shows it: without double quotes, ESC, CR, LF and TABs, with
/// every backslash doubled (the second one only where it fits), at most kCleanBytes and no further
/// than a NUL. KEEP: unlike in mail texts blanks and backslashes stay.
struct CleanCommand {
  static constexpr std::size_t kMostBytes = kCleanBytes + 1;
  std::string_view text;
};
char* write_value(char* at, CleanCommand clean);

}  // namespace qsvmon
