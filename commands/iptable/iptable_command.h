#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "rpc/wire/daemon.h"
#include "rpc/wire/request.h"
#include "rpc/words.h"

namespace qsvmon {

/// Puts the words of a command where the daemon expects them: into `area` as text with a NUL, into
/// a field of the request, or both. Sets `data` and `datalen` when it writes text. Returns false
/// when a word does not fit. REQUIRES: the count of words is right.
using PutWords = bool (*)(Words words, std::span<char> area, RpcRequest& request);

/// Puts "w1 w2 ".
bool put_joined_words(Words words, std::span<char> area, RpcRequest& request);
/// Puts table and address of `table addip`: "tid=<table> ip=<address> <more>"; a word that holds
/// "=" stands as it is.
bool put_table_addip(Words words, std::span<char> area, RpcRequest& request);
/// Puts "table=<table> ip=<address>".
bool put_table_rmvip(Words words, std::span<char> area, RpcRequest& request);
/// Puts the one word into `errtext`, which carries the argument of some codes; no text is written.
bool put_word_in_errtext(Words words, std::span<char> area, RpcRequest& request);
/// Puts the table's number into `argval` and the address into `errtext`.
bool put_matchtest(Words words, std::span<char> area, RpcRequest& request);

/// What one exchange of an IP table command sends and prints.
struct IpTableCommand {
  Daemon daemon = Daemon::kLog;
  std::string_view module = {};  ///< target name; empty: none
  std::uint32_t code;
  PutWords put_words = put_joined_words;
  std::size_t least_words = 1;
  std::size_t most_words = least_words;
  /// What a success prints.
  enum class Output { kNothing, kTextIfAny, kTextLine } output = Output::kNothing;
  const char* usage;  ///< printed, with its newline, on a wrong count
};

/// Checks the words, sends them and prints the answer. Returns 0 or -1.
int run_iptable_command(const IpTableCommand& command, Words words);

}  // namespace qsvmon
