#include "commands/iptable/iptable.h"

#include <cstdlib>

#include "commands/iptable/address_list.h"
#include "commands/iptable/asset_objects.h"
#include "commands/iptable/iptable_command.h"
#include "rpc/wire/message_codes.h"

namespace qsvmon {
namespace {

using Output = IpTableCommand::Output;

constexpr std::size_t kAnyMore = static_cast<std::size_t>(-1);
constexpr char kQsvIpTable[] = "qsviptable";

// KEEP: the usage texts differ in style, and some name another command or verb than their own; they
// are the wording that operators know.
constexpr IpTableCommand kQsvIpTableAddIp = {
    Daemon::kMgmt,
    kVerbAdd,
    2,
    kAnyMore,
    "qsvmon qsviptable|table addip tid=n ip=xxx info=xxxx\n",
    kQsvIpTable,
    put_joined_words,
    Output::kNothing};
constexpr IpTableCommand kQsvIpTableRemove = {
    Daemon::kMgmt,    kVerbRemove,     2, 2, "qsviptable remove tid=n ip=xxxx\n", kQsvIpTable,
    put_joined_words, Output::kNothing};
constexpr IpTableCommand kQsvIpTableClear = {Daemon::kMgmt,
                                             kVerbRemove,
                                             1,
                                             1,
                                             "qsvmon qsviptable remove clear=1 table=xxx\n",
                                             kQsvIpTable,
                                             put_joined_words,
                                             Output::kNothing};
constexpr IpTableCommand kQsvIpTableGetCmp = {Daemon::kMgmt,
                                              kVerbGet,
                                              1,
                                              1,
                                              "qsvmon qsviptable get getcmp=1 table=xxx\n",
                                              kQsvIpTable,
                                              put_joined_words,
                                              Output::kTextIfAny};
constexpr IpTableCommand kTableAddIp = {Daemon::kLog,    kCodeTableAddIp,          2,
                                        kAnyMore,        "iptbl addip table ip\n", {},
                                        put_table_addip, Output::kNothing};
constexpr IpTableCommand kTableRemoveIp = {
    Daemon::kLog,    kCodeTableRemoveIp, 2, 2, "iptbl rmvip table ip\n", {},
    put_table_rmvip, Output::kNothing};
constexpr IpTableCommand kTableClear = {
    Daemon::kLog,        kCodeTableClear, 1, 1, "vexacli iptbl clear tblid|tblname\n", {},
    put_word_in_errtext, Output::kNothing};
constexpr IpTableCommand kTableGetCmp = {
    Daemon::kLog,        kCodeTableGetCmp,  1, 1, "vexacli iptbl getcmp tblid|tblname\n", {},
    put_word_in_errtext, Output::kTextIfAny};
constexpr IpTableCommand kTableMatchTest = {
    Daemon::kLog,  kCodeTableMatchTest, 2, 2, "vexacli table matchtest tblid ip\n", {},
    put_matchtest, Output::kTextLine};

}  // namespace

int qsviptable_get(int argc, char** argv) {
  // KEEP: addressed to the sibling module, which holds the tables' contents.
  return list_addresses(Daemon::kMgmt, "qsvtable", words_of(argc, argv));
}

int qsviptable_addip(int argc, char** argv) {
  return run_iptable_command(kQsvIpTableAddIp, words_of(argc, argv));
}

int qsviptable_remove(int argc, char** argv) {
  return run_iptable_command(kQsvIpTableRemove, words_of(argc, argv));
}

int qsviptable_clear(int argc, char** argv) {
  return run_iptable_command(kQsvIpTableClear, words_of(argc, argv));
}

int qsviptable_getcmp(int argc, char** argv) {
  return run_iptable_command(kQsvIpTableGetCmp, words_of(argc, argv));
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
