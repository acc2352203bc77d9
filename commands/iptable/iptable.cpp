#include "commands/iptable/iptable.h"

#include <cstdlib>

#include "commands/iptable/address_list.h"
#include "commands/iptable/asset_objects.h"
#include "commands/iptable/iptable_command.h"
#include "rpc/wire/message_codes.h"

namespace qsvmon {
namespace {

using enum Daemon;
using enum IpTableCommand::Output;

constexpr std::size_t kAnyMore = static_cast<std::size_t>(-1);
constexpr char kQsv[] = "qsviptable";

// KEEP: the usage texts differ in style, and some name another command or verb than their own; they
// are the wording that operators know.
// clang-format off
constexpr IpTableCommand kQsvAddIp = {.daemon = kMgmt, .module = kQsv, .code = kVerbAdd, .least_words = 2, .most_words = kAnyMore, .usage = "qsvmon qsviptable|table addip tid=n ip=xxx info=xxxx\n"};
constexpr IpTableCommand kQsvRemove = {.daemon = kMgmt, .module = kQsv, .code = kVerbRemove, .least_words = 2, .usage = "qsviptable remove tid=n ip=xxxx\n"};
constexpr IpTableCommand kQsvClear = {.daemon = kMgmt, .module = kQsv, .code = kVerbRemove, .usage = "qsvmon qsviptable remove clear=1 table=xxx\n"};
constexpr IpTableCommand kQsvGetCmp = {.daemon = kMgmt, .module = kQsv, .code = kVerbGet, .output = kTextIfAny, .usage = "qsvmon qsviptable get getcmp=1 table=xxx\n"};
constexpr IpTableCommand kTableAddIp = {.code = kCodeTableAddIp, .put_words = put_table_addip, .least_words = 2, .most_words = kAnyMore, .usage = "iptbl addip table ip\n"};
constexpr IpTableCommand kTableRemoveIp = {.code = kCodeTableRemoveIp, .put_words = put_table_rmvip, .least_words = 2, .usage = "iptbl rmvip table ip\n"};
constexpr IpTableCommand kTableClear = {.code = kCodeTableClear, .put_words = put_word_in_errtext, .usage = "vexacli iptbl clear tblid|tblname\n"};
constexpr IpTableCommand kTableGetCmp = {.code = kCodeTableGetCmp, .put_words = put_word_in_errtext, .output = kTextIfAny, .usage = "vexacli iptbl getcmp tblid|tblname\n"};
constexpr IpTableCommand kTableMatchTest = {.code = kCodeTableMatchTest, .put_words = put_matchtest, .least_words = 2, .output = kTextLine, .usage = "vexacli table matchtest tblid ip\n"};
// clang-format on

}  // namespace

int qsviptable_get(int argc, char** argv) {
  // KEEP: addressed to the sibling module, which holds the tables' contents.
  return list_addresses(Daemon::kMgmt, "qsvtable", words_of(argc, argv));
}

int qsviptable_addip(int argc, char** argv) {
  return run_iptable_command(kQsvAddIp, words_of(argc, argv));
}

int qsviptable_remove(int argc, char** argv) {
  return run_iptable_command(kQsvRemove, words_of(argc, argv));
}

int qsviptable_clear(int argc, char** argv) {
  return run_iptable_command(kQsvClear, words_of(argc, argv));
}

int qsviptable_getcmp(int argc, char** argv) {
  return run_iptable_command(kQsvGetCmp, words_of(argc, argv));
}

int table_get(int argc, char** argv) {
  return list_addresses(Daemon::kLog, "table", words_of(argc, argv));
}

int table_addip(int argc, char** argv) {
  return run_iptable_command(kTableAddIp, words_of(argc, argv));
}

int table_rmvip(int argc, char** argv) {
  return run_iptable_command(kTableRemoveIp, words_of(argc, argv));
}

int table_clear(int argc, char** argv) {
  return run_iptable_command(kTableClear, words_of(argc, argv));
}

int table_getcmp(int argc, char** argv) {
  return run_iptable_command(kTableGetCmp, words_of(argc, argv));
}

int table_matchtest(int argc, char** argv) {
  return run_iptable_command(kTableMatchTest, words_of(argc, argv));
}

int assetsobj2_list(int argc, char** argv) {
  return list_asset_objects(words_of(argc, argv),
                            [](std::size_t bytes) { return std::malloc(bytes); });
}

}  // namespace qsvmon
