#include "commands/iptable/iptable.h"

#include <cstdlib>
#include <cstring>

#include "commands/iptable/asset_objects.h"
#include "commands/listing/batches.h"
#include "format/address.h"
#include "format/number.h"
#include "rpc/session.h"
#include "rpc/wire/message_codes.h"

namespace qsvmon {
namespace {

using enum Daemon;
using enum Exchange::Output;

constexpr char kQsv[] = "qsviptable";

// Words come with their key or bare: "tid=5 ip=10.1.1.1" and "5 10.1.1.1" ask for the same.
bool holds_equals(const char* word) {
  return std::strchr(word, '=') != nullptr;
}

// "tid=<table> ip=<address> <more>"; a word that holds "=" stands as it is.
bool put_table_addip(Words words, std::span<char> area, RpcRequest& request) {
  ArgumentText text(area);
  text.add(holds_equals(words[0]) ? "" : "tid=").add(words[0]);
  text.add(holds_equals(words[1]) ? " " : " ip=").add(words[1]);
  for (const char* word : words.subspan(2)) text.add(" ").add(word);
  return enter_text(text.finish(), area, request);
}

bool put_table_rmvip(Words words, std::span<char> area, RpcRequest& request) {
  ArgumentText text(area);
  text.add("table=").add(words[0]).add(" ip=").add(words[1]);
  return enter_text(text.finish(), area, request);
}

// Some codes carry their argument in `errtext`; no text is written.
bool put_word_in_errtext(Words words, std::span<char>, RpcRequest& request) {
  return set_errtext(request, words[0]);
}

// This code has fields of the record for both arguments.
bool put_matchtest(Words words, std::span<char>, RpcRequest& request) {
  request.argval = static_cast<std::uint32_t>(parse_atoi(words[0]));
  return set_errtext(request, words[1]);
}

int list_addresses(Daemon daemon, std::string_view module, Words words) {
  RpcBatches batches(
      {.module = module, .daemon = daemon, .style = WordStyle::kBlankAfter, .msgcode = kVerbGet},
      words);
  while (!batches.done()) {
    if (Status s = batches.fetch(); !s.ok()) return fail(s);
    // A reply that has a length is text, one that has none is records.
    if (batches.request().replylen < 1) {
      print_addresses(standard_out(), batches.records<TableAddress>());
    } else {
      standard_out().put(rpc_reply_text(batches.request()));
    }
  }
  return 0;
}

}  // namespace

// KEEP: the usage texts differ in style, and some name another command or verb than their own; they
// are the wording that operators know.
// clang-format off
constexpr Exchange kQsvIpTableAddIp = {.daemon = kMgmt, .module = kQsv, .code = kVerbAdd, .least_words = 2, .usage = "qsvmon qsviptable|table addip tid=n ip=xxx info=xxxx\n", .output = kNothing};
constexpr Exchange kQsvIpTableRemove = {.daemon = kMgmt, .module = kQsv, .code = kVerbRemove, .least_words = 2, .most_words = 2, .usage = "qsviptable remove tid=n ip=xxxx\n", .output = kNothing};
constexpr Exchange kQsvIpTableClear = {.daemon = kMgmt, .module = kQsv, .code = kVerbRemove, .least_words = 1, .most_words = 1, .usage = "qsvmon qsviptable remove clear=1 table=xxx\n", .output = kNothing};
constexpr Exchange kQsvIpTableGetCmp = {.daemon = kMgmt, .module = kQsv, .code = kVerbGet, .least_words = 1, .most_words = 1, .usage = "qsvmon qsviptable get getcmp=1 table=xxx\n"};
constexpr Exchange kTableAddIp = {.code = kCodeTableAddIp, .put_words = put_table_addip, .least_words = 2, .usage = "iptbl addip table ip\n", .output = kNothing};
constexpr Exchange kTableRemoveIp = {.code = kCodeTableRemoveIp, .put_words = put_table_rmvip, .least_words = 2, .most_words = 2, .usage = "iptbl rmvip table ip\n", .output = kNothing};
constexpr Exchange kTableClear = {.code = kCodeTableClear, .put_words = put_word_in_errtext, .least_words = 1, .most_words = 1, .usage = "vexacli iptbl clear tblid|tblname\n", .output = kNothing};
constexpr Exchange kTableGetCmp = {.code = kCodeTableGetCmp, .put_words = put_word_in_errtext, .least_words = 1, .most_words = 1, .usage = "vexacli iptbl getcmp tblid|tblname\n"};
constexpr Exchange kTableMatchTest = {.code = kCodeTableMatchTest, .put_words = put_matchtest, .least_words = 2, .most_words = 2, .usage = "vexacli table matchtest tblid ip\n", .output = kTextLine};
// clang-format on

void print_addresses(Printer& out, std::span<const TableAddress> addresses) {
  for (const TableAddress& address : addresses) out.put(Ipv4Text{address.host}, '\n');
}

int qsviptable_get(int argc, char** argv) {
  // KEEP: addressed to the sibling module, which holds the tables' contents.
  return list_addresses(kMgmt, "qsvtable", words_of(argc, argv));
}

int table_get(int argc, char** argv) {
  return list_addresses(kLog, "table", words_of(argc, argv));
}

int assetsobj2_list(int argc, char** argv) {
  return list_asset_objects(words_of(argc, argv),
                            [](std::size_t bytes) { return std::malloc(bytes); });
}

}  // namespace qsvmon
