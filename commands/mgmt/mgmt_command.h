#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "rpc/wire/message_codes.h"
#include "rpc/wire/request.h"
#include "rpc/words.h"

namespace qsvmon {

/// How a management command treats a call that failed.
enum class MgmtCall {
  kStrict,   ///< prints the error text, result -1
  kLenient,  ///< prints what lies at the reply all the same, usual result
};

/// What a management command returns when the call succeeded, or whenever it is lenient.
enum class MgmtReturn { kZero, kResult };

/// One management command: words that go to the log daemon as they are, addressed to a module.
struct MgmtCommand {
  std::string_view module;  ///< target name
  std::string_view verb;    ///< what the command is called by
  MessageCode code;
  bool sends_words;   ///< else they are ignored and nothing is written
  const char* keys;   ///< the keys it documents, separated by blanks; they go out like any word
  const char* usage;  ///< printed, with its newline, when there is no word; null: words may lack
  MgmtCall call;
  std::uint32_t empty_datalen;  ///< `datalen` when no words are sent; else the text's and its NUL
  MgmtReturn returns;
};

/// Every management command: those that the command table reaches first, then those that are kept
/// for a caller by name.
std::span<const MgmtCommand> mgmt_commands();

/// The command of that module and verb, or null.
const MgmtCommand* find_mgmt_command(std::string_view module, std::string_view verb);

/// Sends `words` as `command` says and prints the daemon's text as it stands, up to its NUL
/// whatever `replylen` says. Returns the command's result, or -1 after printing the usage text or
/// why it failed. REQUIRES: an open session.
int run_mgmt_command(const MgmtCommand& command, Words words);

}  // namespace qsvmon
