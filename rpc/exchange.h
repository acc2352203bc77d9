#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "format/printer.h"
#include "rpc/wire/message_codes.h"
#include "rpc/wire/request.h"
#include "rpc/words.h"

namespace qsvmon {

/// Puts the words of a command where the daemon expects them: into `area` as text with a NUL, into
/// a field of the request, or both. Sets `data` and `datalen` when the daemon is to read the area.
/// Returns false when a word does not fit. REQUIRES: the count of words is right.
using PutWords = bool (*)(Words words, std::span<char> area, RpcRequest& request);

/// Puts "w1 w2 ".
bool put_joined_words(Words words, std::span<char> area, RpcRequest& request);
/// Ignores the words: a text without bytes (`datalen` 0), or an empty one with its NUL (1).
bool put_no_text(Words words, std::span<char> area, RpcRequest& request);
bool put_empty_text(Words words, std::span<char> area, RpcRequest& request);

/// Enters a text of `length` that was written at the start of `area` in the request, its NUL
/// counted. Returns false for a text that did not fit (`ArgumentText::finish`).
bool enter_text(std::optional<std::uint32_t> length, std::span<char> area, RpcRequest& request);

/// A command of one call: its words go to a daemon and the answer's text is printed.
struct Exchange {
  Daemon daemon = Daemon::kLog;
  std::string_view module = {};  ///< target name; empty: none
  std::uint32_t code;
  PutWords put_words = put_joined_words;
  std::size_t least_words = 0;
  std::size_t most_words = std::numeric_limits<std::size_t>::max();
  const char* usage = "";  ///< printed, with its newline, on a wrong count
  /// What is printed: nothing, the text at the reply when `replylen` says that there is one,
  /// whatever it says, or that with a newline.
  enum class Output { kNothing, kTextIfAny, kText, kTextLine } output = Output::kTextIfAny;
  /// A call that failed has the usual output and result all the same; otherwise it prints the error
  /// text and has the result -1.
  bool is_lenient = false;
  bool returns_result = false;  ///< the daemon's `result`, otherwise 0
};

/// Checks the words, sends them and prints the answer up to its NUL. Returns the command's result,
/// or -1 after printing the usage text, "argument text too long" (nothing is sent) or why the call
/// failed. REQUIRES: an open session.
int run_exchange(Printer& out, const Exchange& exchange, Words words);

}  // namespace qsvmon
