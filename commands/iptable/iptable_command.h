#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "rpc/wire/daemon.h"
#include "rpc/wire/request.h"
#include "rpc/words.h"

namespace qsvmon {

/// What one exchange of an IP table command sends and prints.
struct IpTableCommand {
  Daemon daemon;
  std::uint32_t code;
  std::size_t least_words;
  std::size_t most_words;
  const char* usage;        ///< printed, with its newline, on a wrong count
  std::string_view module;  ///< target name; empty: none

  /// Puts the words where the daemon expects them: into `area` as text with a NUL, into a field of
  /// the request, or both. Sets `data` and `datalen` when it writes text. Returns false when a word
  /// does not fit. REQUIRES: the count of words is right.
  bool (*put_words)(Words words, std::span<char> area, RpcRequest& request);

  /// What a success prints.
  enum class Output { kNothing, kTextIfAny, kTextLine } output;
};

/// Checks the words, sends them and prints the answer. Returns 0 or -1.
int run_iptable_command(const IpTableCommand& command, Words words);

/// Writes the words as "w1 w2 ".
bool put_joined_words(Words words, std::span<char> area, RpcRequest& request);
/// Writes table and address of `table addip`: "tid=<table> ip=<address> <more>"; a word that holds
/// "=" stands as it is.
bool put_table_addip(Words words, std::span<char> area, RpcRequest& request);
/// Writes "table=<table> ip=<address>".
bool put_table_rmvip(Words words, std::span<char> area, RpcRequest& request);
/// Puts the one word into `errtext`, which carries the argument of some codes; no text is written.
bool put_word_in_errtext(Words words, std::span<char> area, RpcRequest& request);
/// Puts the table's number into `argval` and the address into `errtext`.
bool put_matchtest(Words words, std::span<char> area, RpcRequest& request);

}  // namespace qsvmon
