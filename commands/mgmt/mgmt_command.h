#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "rpc/wire/message_codes.h"
#include "rpc/words.h"

namespace qsvmon {

/// One management command: words that go to the log daemon as they are, addressed to a module.
struct MgmtCommand {
  std::string_view module;  ///< target name
  std::string_view verb;    ///< what the command is called by
  MessageCode code;
  const char* keys = "";    ///< the keys it documents; they go out like any word
  bool sends_words = true;  ///< else they are ignored and nothing is written
  std::uint32_t empty_datalen =
      0;  ///< `datalen` when no words are sent; else the text's and its NUL
  const char* usage =
      nullptr;  ///< printed, with its newline, when a word lacks; null: none need be
  /// A call that failed prints what lies at the reply all the same, and has the usual result;
  /// otherwise it prints the error text and has the result -1.
  bool is_lenient = false;
  bool returns_result = false;  ///< the daemon's `result`, otherwise 0
};

/// Every management command: first those that the command table reaches, then those that a caller
/// can reach by name alone.
std::span<const MgmtCommand> mgmt_commands();

/// The command of that module and verb, or null.
const MgmtCommand* find_mgmt_command(std::string_view module, std::string_view verb);

/// Sends `words` as `command` says and prints the daemon's text as it stands, up to its NUL
/// whatever `replylen` says. Returns the command's result, or -1 after printing the usage text or
/// why it failed. REQUIRES: an open session.
int run_mgmt_command(const MgmtCommand& command, Words words);

}  // namespace qsvmon
