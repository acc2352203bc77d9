#include "commands/iptable/iptable.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "cli/command_table.h"
#include "commands/iptable/asset_objects.h"
#include "platform/appliance_paths.h"
#include "tests/integration/command_case.h"
#include "tests/integration/open_session.h"
#include "tests/unit/support/captured_out.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

constexpr std::size_t kSmall = 65536;  // the table's 4 KiB, raised
constexpr std::size_t kLarge = 2097152;

TEST(IpTables, EveryRowSendsItsRequestAndPrintsItsReply) {
  // clang-format off
  const CommandCase cases[] = {
      // The management daemon's module.
      {.words = {"qsviptable", "addip", "tid=5", "ip=10.1.1.1"}, .daemon = Daemon::kMgmt, .code = 2051, .target = "qsviptable",
       .text = "tid=5 ip=10.1.1.1 \0"s, .reply = Reply::text("done\n").with_result(7)},
      {.words = {"qsviptable", "addip", "5", "tag=blue", "info=x y"}, .daemon = Daemon::kMgmt, .code = 2051, .target = "qsviptable",
       .text = "5 tag=blue info=x y \0"s},
      {.words = {"qsviptable", "remove", "tid=5", "ip=10.1.1.1"}, .daemon = Daemon::kMgmt, .code = 2052, .target = "qsviptable",
       .text = "tid=5 ip=10.1.1.1 \0"s, .reply = Reply::text("done\n")},
      {.words = {"qsviptable", "clear", "table=x"}, .daemon = Daemon::kMgmt, .code = 2052, .target = "qsviptable",
       .text = "table=x \0"s, .reply = Reply::text("done\n")},
      {.words = {"qsviptable", "getcmp", "table=x"}, .daemon = Daemon::kMgmt, .code = 2054, .target = "qsviptable",
       .text = "table=x \0"s, .kib = 2048, .reply = Reply::text("10.0.0.0/8"), .out = "10.0.0.0/8"},
      {.words = {"qsviptable", "getcmp", "table=x"}, .daemon = Daemon::kMgmt, .code = 2054, .target = "qsviptable",
       .text = "table=x \0"s, .kib = 2048, .reply = Reply::text("hidden").with_replylen(0)},
      {.words = {"qsviptable", "loadfile", "/tmp/list", "tid=5"}, .daemon = Daemon::kMgmt, .code = 2056, .target = "qsviptable",
       .text = "/tmp/list tid=5 \0"s, .reply = Reply::text("12 loaded\n"), .out = "12 loaded\n"},
      {.words = {"qsviptable", "get", "tid=5", "x"}, .daemon = Daemon::kMgmt, .code = 2054, .target = "qsvtable",
       .text = "tid=5 x \0"s, .kib = 2048, .reply = Reply::text("10.0.0.1 a%s\n"), .out = "10.0.0.1 a%s\n"},
      {.words = {"qsviptable", "get"}, .daemon = Daemon::kMgmt, .code = 2054, .target = "qsvtable",
       .text = "\0"s, .kib = 2048, .reply = Reply::records("", 0)},
      // The log daemon's own codes.
      {.words = {"table", "get", "5"}, .code = 2054, .target = "table",
       .text = "5 \0"s, .kib = 2048, .reply = Reply::records(u32_bytes(0x0a010203) + u32_bytes(0xffffffff), 2), .out = "10.1.2.3\n255.255.255.255\n"},
      {.words = {"table", "addip", "5", "10.1.1.1"}, .code = 121,
       .text = "tid=5 ip=10.1.1.1\0"s, .reply = Reply::text("done\n").with_result(7)},
      {.words = {"table", "addip", "tid=5", "ip=10.1.1.1"}, .code = 121,
       .text = "tid=5 ip=10.1.1.1\0"s},
      {.words = {"table", "addip", "5", "10.1.1.1", "info=x", "y"}, .code = 121,
       .text = "tid=5 ip=10.1.1.1 info=x y\0"s},
      {.words = {"table", "addip", "table=office", "10.1.1.1"}, .code = 121,
       .text = "table=office ip=10.1.1.1\0"s},
      {.words = {"table", "addip", "5", "="}, .code = 121, .text = "tid=5 =\0"s},
      {.words = {"table", "addip", "", ""}, .code = 121, .text = "tid= ip=\0"s},
      {.words = {"table", "rmvip", "5", "10.1.1.1"}, .code = 122,
       .text = "table=5 ip=10.1.1.1\0"s, .reply = Reply::text("done\n")},
      {.words = {"table", "rmvip", "tid=5", "ip=1"}, .code = 122, .text = "table=tid=5 ip=ip=1\0"s},
      {.words = {"table", "clear", "office"}, .code = 125, .target = "office",
       .reply = Reply::text("done\n")},
      {.words = {"table", "getcmp", "5"}, .code = 126, .target = "5",
       .kib = 2048, .reply = Reply::text("10.0.0.0/8\n"), .out = "10.0.0.0/8\n"},
      {.words = {"table", "getcmp", "5"}, .code = 126, .target = "5",
       .kib = 2048, .reply = Reply::text("hidden").with_replylen(0)},
      {.words = {"table", "loadfile", "/tmp/list"}, .code = 249,
       .text = "/tmp/list \0"s, .reply = Reply::text("12 loaded\n"), .out = "12 loaded\n"},
  };
  // clang-format on
  for (const CommandCase& c : cases) check_command(c);
}

TEST(IpTables, AWrongNumberOfWordsGivesTheUsageTextAndSendsNothing) {
  constexpr char kAddIp[] = "qsvmon qsviptable|table addip tid=n ip=xxx info=xxxx\n";
  constexpr char kRemove[] = "qsviptable remove tid=n ip=xxxx\n";
  constexpr char kClear[] = "qsvmon qsviptable remove clear=1 table=xxx\n";
  constexpr char kGetCmp[] = "qsvmon qsviptable get getcmp=1 table=xxx\n";
  struct {
    Daemon daemon;
    std::vector<std::string> words;
    const char* usage;
  } const cases[] = {
      {Daemon::kMgmt, {"qsviptable", "addip"}, kAddIp},
      {Daemon::kMgmt, {"qsviptable", "addip", "a"}, kAddIp},
      {Daemon::kMgmt, {"qsviptable", "remove"}, kRemove},
      {Daemon::kMgmt, {"qsviptable", "remove", "a"}, kRemove},
      {Daemon::kMgmt, {"qsviptable", "remove", "a", "b", "c"}, kRemove},
      {Daemon::kMgmt, {"qsviptable", "clear"}, kClear},
      {Daemon::kMgmt, {"qsviptable", "clear", "a", "b"}, kClear},
      {Daemon::kMgmt, {"qsviptable", "getcmp"}, kGetCmp},
      {Daemon::kMgmt, {"qsviptable", "getcmp", "a", "b"}, kGetCmp},
      {Daemon::kLog, {"table", "addip"}, "iptbl addip table ip\n"},
      {Daemon::kLog, {"table", "addip", "a"}, "iptbl addip table ip\n"},
      {Daemon::kLog, {"table", "rmvip"}, "iptbl rmvip table ip\n"},
      {Daemon::kLog, {"table", "rmvip", "a"}, "iptbl rmvip table ip\n"},
      {Daemon::kLog, {"table", "rmvip", "a", "b", "c"}, "iptbl rmvip table ip\n"},
      {Daemon::kLog, {"table", "clear"}, "vexacli iptbl clear tblid|tblname\n"},
      {Daemon::kLog, {"table", "clear", "a", "b"}, "vexacli iptbl clear tblid|tblname\n"},
      {Daemon::kLog, {"table", "getcmp"}, "vexacli iptbl getcmp tblid|tblname\n"},
      {Daemon::kLog, {"table", "getcmp", "a", "b"}, "vexacli iptbl getcmp tblid|tblname\n"},
  };
  for (const auto& c : cases) check_sends_nothing(c.words, c.daemon, c.usage, 255);
}

TEST(IpTables, AFailedCallPrintsTheErrorText) {
  const std::string long_text(128, 'e');
  struct {
    Daemon daemon;
    std::vector<std::string> words;
    std::uint32_t code;
    std::string target;
    std::string text;
    std::size_t kib;
  } const cases[] = {
      {Daemon::kMgmt, {"qsviptable", "get", "a"}, 2054, "qsvtable", "a \0"s, 2048},
      {Daemon::kMgmt, {"qsviptable", "addip", "a", "b"}, 2051, "qsviptable", "a b \0"s, 64},
      {Daemon::kMgmt, {"qsviptable", "remove", "a", "b"}, 2052, "qsviptable", "a b \0"s, 64},
      {Daemon::kMgmt, {"qsviptable", "clear", "a"}, 2052, "qsviptable", "a \0"s, 64},
      {Daemon::kMgmt, {"qsviptable", "getcmp", "a"}, 2054, "qsviptable", "a \0"s, 2048},
      {Daemon::kLog, {"table", "get", "a"}, 2054, "table", "a \0"s, 2048},
      {Daemon::kLog, {"table", "addip", "a", "b"}, 121, "", "tid=a ip=b\0"s, 64},
      {Daemon::kLog, {"table", "rmvip", "a", "b"}, 122, "", "table=a ip=b\0"s, 64},
      {Daemon::kLog, {"table", "clear", "a"}, 125, "a", "", 64},
      {Daemon::kLog, {"table", "getcmp", "a"}, 126, "a", "", 2048},
      {Daemon::kLog, {"assetsobj2", "list", "a"}, 2055, "assetsobj", "a \0"s, 2048},
  };
  for (const auto& c : cases) {
    check_command({.words = c.words,
                   .daemon = c.daemon,
                   .code = c.code,
                   .target = c.target,
                   .text = c.text,
                   .kib = c.kib,
                   .reply = Reply::error(2, "no table %d").with_replylen(5),
                   .out = "no table %d\n",
                   .exit_status = 255});
    check_command({.words = c.words,
                   .daemon = c.daemon,
                   .code = c.code,
                   .target = c.target,
                   .text = c.text,
                   .kib = c.kib,
                   .reply = Reply::error(2, long_text),
                   .out = long_text + "\n",
                   .exit_status = 255});
    // An error text that the daemon leaves as it came is the name that went out.
    Reply echo;
    echo.status = 3;
    check_command({.words = c.words,
                   .daemon = c.daemon,
                   .code = c.code,
                   .target = c.target,
                   .text = c.text,
                   .kib = c.kib,
                   .reply = echo,
                   .out = c.target + "\n",
                   .exit_status = 255});
  }
}

TEST(IpTables, TheWordInTheErrorTextFieldIsBounded) {
  const std::string fits(127, 'n');
  check_command({.words = {"table", "clear", fits}, .code = 125, .target = fits});
  for (const char* verb : {"clear", "getcmp"}) {
    check_sends_nothing({"table", verb, fits + 'n'}, Daemon::kLog, "argument text too long\n", 255);
  }
}

TEST(IpTables, WordsThatDoNotFitTheAreaAreRefused) {
  // "tid=" and the word, " ip=" and "b", and the NUL: 65536 bytes.
  const std::string fits(kSmall - 10, 'a');
  check_command(
      {.words = {"table", "addip", fits, "b"}, .code = 121, .text = "tid=" + fits + " ip=b\0"s});
  check_sends_nothing({"table", "addip", fits + "a", "b"}, Daemon::kLog, "argument text too long\n",
                      255);
  const std::string half(kSmall / 2, 'a');
  check_sends_nothing({"table", "rmvip", half, half}, Daemon::kLog, "argument text too long\n",
                      255);
  check_sends_nothing({"table", "addip", half, half, "c"}, Daemon::kLog, "argument text too long\n",
                      255);
  check_sends_nothing({"qsviptable", "remove", half, half}, Daemon::kMgmt,
                      "argument text too long\n", 255);
}

// A dictionary entry as the test's library has it: an id, a flag byte that begins the name.
std::string dict_entry(std::uint32_t id, const std::string& name) {
  std::string entry = u16_bytes(id) + std::string(2, '\0') + name;
  entry.resize(56, '\0');
  return entry;
}

TEST(IpTableGet, FetchesBatchesUntilTheLastOne) {
  for (const Daemon which : {Daemon::kLog, Daemon::kMgmt}) {
    Appliance appliance;
    ScriptedDaemon daemon(appliance, which,
                          {Reply::records(u32_bytes(0x01020304) + u32_bytes(0xc0a80001), 2).more(),
                           Reply::text("5.6.7.8 info\n").more(), Reply::records("", 0).more(),
                           Reply::records(u32_bytes(0) + u32_bytes(0x0a000001), 2)});
    const bool log = which == Daemon::kLog;
    const Outcome outcome = appliance.run({log ? "table" : "qsviptable", "get", "5", "all"});
    EXPECT_EQ(outcome.out, "1.2.3.4\n192.168.0.1\n5.6.7.8 info\n0.0.0.0\n10.0.0.1\n");
    EXPECT_EQ(outcome.exit_status, 0);
    const std::vector<Request> requests = daemon.requests();
    ASSERT_EQ(requests.size(), 4U);
    for (const Request& request : requests) {
      EXPECT_EQ(request.msgcode(), 2054U);
      EXPECT_EQ(request.errtext(), log ? "table" : "qsvtable");
      EXPECT_EQ(request.text, "5 all \0"s);
      EXPECT_EQ(request.datalen(), 7U);
      EXPECT_EQ(request.shmid(), requests[0].shmid());
      EXPECT_EQ(request.segment_bytes, kLarge);
    }
    check_new_record(requests[0]);
    // The later requests are what the last reply left.
    EXPECT_EQ(requests[1].result(), 2U);
    EXPECT_EQ(requests[1].replylen(), 0U);
    EXPECT_EQ(requests[2].result(), 0U);
    EXPECT_EQ(requests[2].replylen(), 13U);
  }
}

TEST(IpTableGet, SendsTheRecordAgainButForWhatItSets) {
  Appliance appliance;
  // A daemon that scribbles on every field that the client does not read back.
  Reply scribbled = Reply::text("a").more();
  scribbled.with_errtext("other text").with_bytes(0, u32_bytes(1)).with_bytes(4, u32_bytes(77));
  scribbled.with_bytes(184, u32_bytes(0x11223344)).with_bytes(188, "reserved");
  ScriptedDaemon daemon(appliance, Daemon::kMgmt, {scribbled, Reply::text("b")});
  const Outcome outcome = appliance.run({"qsviptable", "get", "x"});
  EXPECT_EQ(outcome.out, "ab");
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[1].errtext(), "qsvtable");
  EXPECT_EQ(requests[1].msgcode(), 2054U);
  EXPECT_EQ(requests[1].datalen(), 3U);
  EXPECT_EQ(requests[1].argval(), 0x11223344U);
  EXPECT_EQ(std::memcmp(requests[1].record.data() + 188, "reserved", 8), 0);
}

TEST(IpTableGet, ReadsTheAddressesBehindADictionary) {
  Appliance appliance;
  appliance.install_dictionary();
  const std::string tables = dict_entry(1, "web") + dict_entry(2, "mail") + dict_entry(3, "all");
  ScriptedDaemon daemon(appliance, Daemon::kLog,
                        {Reply::records(tables + u32_bytes(0x01020304), 1).with_syncdesc(1).more(),
                         Reply::records(u32_bytes(0x05060708), 1).with_syncdesc(0)});
  const Outcome outcome = appliance.run({"table", "get", "5"});
  EXPECT_EQ(outcome.out, "1.2.3.4\n5.6.7.8\n");
  EXPECT_EQ(outcome.exit_status, 0);
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0].syncdesc(), 0U);
  EXPECT_EQ(requests[1].syncdesc(), 1U);  // as the reply left it
}

TEST(IpTableGet, ACountNeverReachesBeyondTheArea) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::records("", 0xffffffff)});
  const Outcome outcome = appliance.run({"table", "get", "5"});
  EXPECT_EQ(outcome.exit_status, 0);
  // 524288 addresses fit the area; the first 4 bytes are the argument text "5 \0".
  ASSERT_EQ(outcome.out.size(), 10 + 8 * 524287U);
  EXPECT_EQ(outcome.out.substr(0, 18), "0.0.32.53\n0.0.0.0\n");
  EXPECT_EQ(outcome.out.substr(outcome.out.size() - 16), "0.0.0.0\n0.0.0.0\n");
}

TEST(IpTableGet, FailsInTheMiddle) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kMgmt,
                        {Reply::text("first\n").more(), Reply::error(4, "table is gone")});
  const Outcome outcome = appliance.run({"qsviptable", "get"});
  EXPECT_EQ(outcome.out, "first\ntable is gone\n");
  EXPECT_EQ(outcome.exit_status, 255);
}

TEST(IpTableGet, FailsWhenTheDaemonGoesAway) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kMgmt, {Reply::text("first\n").more().then_refusing()});
  const Outcome outcome = appliance.run({"qsviptable", "get"});
  EXPECT_EQ(outcome.out, "first\ncan't connect ./usr/ramdisk/var/mgmt.d\n");
  EXPECT_EQ(outcome.exit_status, 255);
}

TEST(IpTables, WithoutADaemonNotEvenTheUsageTextIsPrinted) {
  Appliance appliance;
  const Outcome log = appliance.run({"table", "clear"});
  EXPECT_EQ(log.out, "can't connect to ./var/tmp/qsvlog.d");
  EXPECT_EQ(log.exit_status, 255);
  const Outcome mgmt = appliance.run({"qsviptable", "clear"});
  EXPECT_EQ(mgmt.out, "can't connect to ./usr/ramdisk/var/mgmt.d");
  EXPECT_EQ(mgmt.exit_status, 255);
}

std::string asset_object(std::uint32_t num1, std::uint32_t num2, std::uint32_t num3,
                         const std::string& name) {
  std::string record(10, '\xee');  // nobody reads the bytes between
  record += u16_bytes(num1) + u32_bytes(num2) + u32_bytes(num3) + std::string(28, '\xee') + name;
  record.resize(144, '\0');
  return record;
}

TEST(AssetObjects, ListsTheRecordsOfEveryBatch) {
  Appliance appliance;
  const std::string long_name(96, 'n');
  ScriptedDaemon daemon(
      appliance, Daemon::kLog,
      {Reply::records(asset_object(1, 2, 3, "server room") + asset_object(65535, 0, 7, ""), 2)
           .more(),
       Reply::records(asset_object(9, 0xffffffff, 0x80000000, long_name) +
                          asset_object(4, 0x7fffffff, 1, "%s"),
                      2)});
  const Outcome outcome = appliance.run({"assetsobj2", "list", "page=2", "limit=10", "x"});
  EXPECT_EQ(outcome.out, "1 2 3 server room\n65535 0 7 \n9 -1 -2147483648 " + long_name +
                             "\n4 2147483647 1 %s\n");
  EXPECT_EQ(outcome.exit_status, 0);
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 2U);
  for (const Request& request : requests) {
    EXPECT_EQ(request.msgcode(), 2055U);
    EXPECT_EQ(request.errtext(), "assetsobj");
    EXPECT_EQ(request.text, "page=2 limit=10 x \0"s);
    EXPECT_EQ(request.datalen(), 19U);
    EXPECT_EQ(request.segment_bytes, kLarge);
  }
  check_new_record(requests[0]);
  EXPECT_EQ(requests[1].result(), 2U);
}

TEST(AssetObjects, WithoutWordsAndWithoutRecords) {
  check_command({.words = {"assetsobj2", "list"},
                 .code = 2055,
                 .target = "assetsobj",
                 .text = "\0"s,
                 .kib = 2048,
                 .reply = Reply::records("", 0)});
  // The reply is records whatever its length says.
  check_command({.words = {"assetsobj2", "list"},
                 .code = 2055,
                 .target = "assetsobj",
                 .text = "\0"s,
                 .kib = 2048,
                 .reply = Reply::text("text").with_result(0)});
}

TEST(AssetObjects, APageOrALimitOfZeroIsRefused) {
  const std::vector<std::vector<std::string>> refused = {
      {"page=0"},  {"limit=0"},          {"page="},          {"limit=x"}, {"page=1", "limit=0"},
      {"page= 0"}, {"page=1", "page=0"}, {"page=4294967296"}};
  for (std::vector<std::string> words : refused) {
    words.insert(words.begin(), {"assetsobj2", "list"});
    check_sends_nothing(words, Daemon::kLog, "INV_PAGE_LIMIT\n", 255);
  }
  struct {
    std::vector<std::string> words;
    std::string text;
  } const accepted[] = {{{"page=-1"}, "page=-1 \0"s},
                        {{"limit=-5"}, "limit=-5 \0"s},
                        {{"page=0", "page=2"}, "page=0 page=2 \0"s},
                        {{"page=3x"}, "page=3x \0"s},
                        {{"Page=0", "xlimit=0"}, "Page=0 xlimit=0 \0"s}};
  for (const auto& c : accepted) {
    std::vector<std::string> words = {"assetsobj2", "list"};
    words.insert(words.end(), c.words.begin(), c.words.end());
    check_command({.words = words,
                   .code = 2055,
                   .target = "assetsobj",
                   .text = c.text,
                   .kib = 2048,
                   .reply = Reply::records("", 0)});
  }
}

TEST(AssetObjects, ACountNeverReachesBeyondTheArea) {
  Appliance appliance;
  std::string zeros(64, '\0');
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::records(zeros, 0xffffffff)});
  const Outcome outcome = appliance.run({"assetsobj2", "list"});
  EXPECT_EQ(outcome.exit_status, 0);
  // 2097152 / 144 = 14563 whole records.
  ASSERT_EQ(outcome.out.size(), 7 * 14563U);
  EXPECT_EQ(outcome.out.substr(0, 14), "0 0 0 \n0 0 0 \n");
}

// What no command can show is called in this process.

std::size_t asked_bytes = 0;

void* no_memory(std::size_t bytes) {
  asked_bytes = bytes;
  return nullptr;
}

// Lists the asset objects in this process, without memory for the working area.
void list_without_memory(const char* word, const char* printed, std::size_t asked) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, std::vector<Reply>{});
  OpenSession session(appliance, kLogSocketPath, 65536);
  CapturedOut out;
  HandlerWords words({word});
  asked_bytes = 0;
  EXPECT_EQ(list_asset_objects(words_of(words.count(), words.words()), no_memory), -1);
  EXPECT_EQ(out.text(), printed);
  EXPECT_EQ(asked_bytes, asked);
  EXPECT_EQ(daemon.requests().size(), 0U);
}

TEST(AssetObjects, WithoutMemoryNothingIsSent) {
  list_without_memory("page=1", "CMPBASE_MALLOC_ERROR\n", 589824);  // 4096 records of 144 bytes
}

TEST(AssetObjects, AWrongPageAsksForNoMemory) {
  list_without_memory("page=0", "INV_PAGE_LIMIT\n", 0);
}

struct MatchTestCall {
  int result;
  std::string out;
  std::vector<Request> requests;
};

MatchTestCall match_test(const std::vector<std::string>& given, const Reply& reply) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {reply});
  MatchTestCall call;
  {
    OpenSession session(appliance, kLogSocketPath, 65536);
    CapturedOut out;
    HandlerWords words(given);
    call.result =
        run_exchange(standard_out(), kTableMatchTest, words_of(words.count(), words.words()));
    call.out = out.text();
  }
  call.requests = daemon.requests();
  return call;
}

TEST(MatchTest, SendsTheTableAndTheAddressInTheRecord) {
  struct {
    const char* table;
    std::uint32_t argval;
  } const cases[] = {{"5", 5}, {"-1", 0xffffffff}, {"12x", 12}, {"x", 0}, {" 7", 7}, {"", 0}};
  for (const auto& c : cases) {
    const MatchTestCall call =
        match_test({c.table, "10.1.1.1"}, Reply::text("matched %d").with_result(4));
    EXPECT_EQ(call.result, 0);
    EXPECT_EQ(call.out, "matched %d\n");
    ASSERT_EQ(call.requests.size(), 1U);
    EXPECT_EQ(call.requests[0].msgcode(), 348U);
    EXPECT_EQ(call.requests[0].argval(), c.argval) << c.table;
    EXPECT_EQ(call.requests[0].errtext(), "10.1.1.1");
    EXPECT_EQ(call.requests[0].datalen(), 0U);
    check_new_record(call.requests[0]);
  }
}

TEST(MatchTest, ItsLineIsPrintedEvenWhenThereIsNoText) {
  EXPECT_EQ(match_test({"5", "1.1.1.1"}, Reply::nothing()).out, "\n");
  EXPECT_EQ(match_test({"5", "1.1.1.1"}, Reply::text("no").with_replylen(0)).out, "no\n");
}

TEST(MatchTest, Fails) {
  const MatchTestCall failed = match_test({"5", "1.1.1.1"}, Reply::error(2, "no table"));
  EXPECT_EQ(failed.result, -1);
  EXPECT_EQ(failed.out, "no table\n");
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{}, {"5"}, {"5", "1.1.1.1", "x"}}) {
    const MatchTestCall call = match_test(words, Reply::nothing());
    EXPECT_EQ(call.result, -1);
    EXPECT_EQ(call.out, "vexacli table matchtest tblid ip\n");
    EXPECT_EQ(call.requests.size(), 0U);
  }
  const MatchTestCall too_long = match_test({"5", std::string(128, '1')}, Reply::nothing());
  EXPECT_EQ(too_long.result, -1);
  EXPECT_EQ(too_long.out, "argument text too long\n");
  EXPECT_EQ(too_long.requests.size(), 0U);
}

TEST(MatchTest, NoRowReachesIt) {
  EXPECT_EQ(find_command("table", "matchtest").row, nullptr);
}

}  // namespace
}  // namespace qsvmon::harness
