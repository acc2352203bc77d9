#pragma once

#include <string_view>

namespace qsvmon {

class Printer;

/// A decoded mail text as the mail list shows it: without double quotes, backslashes, ESC, CR, LF,
/// TABs and blanks, at most kCleanBytes of the rest, and no further than a NUL.
/// KEEP: blanks are dropped as well; "Bob Smith" is shown as "BobSmith".
struct CleanMailText {
  std::string_view text;
};
void put_value(Printer& out, CleanMailText clean);
/// Writes it at `at` and returns its end. May write a byte more than the text shown has.
char* write_value(char* at, CleanMailText clean);

/// A Telnet command as the JSON list shows it: without double quotes, ESC, CR, LF and TABs, with
/// every backslash doubled (the second one only where it fits), at most kCleanBytes and no further
/// than a NUL. KEEP: unlike in mail texts blanks and backslashes stay.
struct CleanCommand {
  std::string_view text;
};
void put_value(Printer& out, CleanCommand clean);
char* write_value(char* at, CleanCommand clean);

constexpr unsigned kCleanBytes = 1024;

}  // namespace qsvmon
