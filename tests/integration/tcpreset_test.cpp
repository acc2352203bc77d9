// The reset-session listings: requests byte for byte, whole outputs, exit statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include "tests/integration/harness.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

/// A record in readable terms; addresses and ports as the bytes on the wire.
struct Session {
  std::uint32_t time = 0;
  std::string src = "\0\0\0\0"s;
  std::string dst = "\0\0\0\0"s;
  std::string sport = "\0\0"s;
  std::string dport = "\0\0"s;
  std::string metrics = "\0\0\0\0\0\0\0\0"s;
  std::uint32_t val1 = 0;
  std::uint32_t val2 = 0;
  std::uint32_t appword = 0;
  char val3 = 0;
  std::string name = {};
};

std::string bytes_of(const Session& s) {
  std::string bytes = u32_bytes(s.time) + s.src + s.dst + s.sport + s.dport + s.metrics +
                      u16_bytes(s.val1) + u16_bytes(s.val2) + u32_bytes(s.appword) + s.val3 +
                      s.name;
  bytes.resize(64);
  return bytes;
}

constexpr std::uint32_t kHttp = 5u << 26;
constexpr std::uint32_t kHttps = 6u << 26;

// 192.0.2.1 by https and http, 192.0.2.2 by something else.
const Session kFirst = {.time = 1700000000,
                        .src = "\x0a\x00\x00\x01"s,
                        .dst = "\xc0\x00\x02\x01"s,
                        .sport = "\xc0\x00"s,
                        .dport = "\x01\xbb"s,
                        .metrics = "\x07\x00\xa0\x0f\x00\x64\x00\x00"s,  // 7, 250, 100
                        .val1 = 1,
                        .val2 = 65535,
                        .appword = kHttps | 404 << 14 | 77,
                        .val3 = '\xff',
                        .name = "www.example.com"};
const Session kSecond = {.time = 1700000060,
                         .src = "\x0a\x00\x00\x02"s,
                         .dst = "\xc0\x00\x02\x02"s,
                         .dport = "\x00\x35"s,
                         .appword = 3};
const Session kThird = {.time = 1699999999,
                        .src = "\x0a\x00\x00\x01"s,
                        .dst = "\xc0\x00\x02\x01"s,
                        .dport = "\x00\x50"s,
                        .appword = kHttp | 200 << 14 | 78,
                        .name = "www.example.com"};

const char* const kByAddress =
    R"({"data":[{"ip":"192.0.2.1","flowcnt":2,"http":1,"https":"1","maxtime":1700000000,)"
    R"( "mintime":1699999999,"port":"80,443"},)"
    R"({"ip":"192.0.2.2","flowcnt":1,"http":0,"https":"0","maxtime":1700000060,)"
    R"( "mintime":1700000060,"port":"53"}],"total":2})";

void expect_request(const Request& request, const std::string& text, int syncdesc) {
  EXPECT_EQ(request.msgcode(), 2055U);
  EXPECT_EQ(request.errtext(), "tcpreset");
  EXPECT_EQ(request.text, text);
  EXPECT_EQ(request.datalen(), text.size());
  EXPECT_EQ(request.area.substr(0, text.size() + 1), text + '\0');
  EXPECT_EQ(request.syncdesc(), syncdesc);
  EXPECT_EQ(request.segment_bytes, 2097152U);
}

TEST(TcpResetListIp, FoldsBatchesUntilTheLast) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kMgmt,
                        {Reply::records(bytes_of(kFirst) + bytes_of(kSecond), 2).more(),
                         Reply::records("", 0).more(), Reply::records(bytes_of(kThird), 1)});
  const Outcome outcome = appliance.run({"tcpreset", "listip", "type=dst", "any thing"});
  EXPECT_EQ(outcome.out, kByAddress);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.exit_status, 0);
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 3U);
  for (const Request& request : requests) expect_request(request, " type=dst any thing", 0);
  // The record goes out again as the last reply left it.
  EXPECT_EQ(requests[0].result(), 0U);
  EXPECT_EQ(requests[1].result(), 2U);
  EXPECT_EQ(requests[2].result(), 0U);
}

TEST(TcpResetListIp, WithoutWordsSendsAnEmptyText) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kMgmt, {Reply::records("", 0)});
  const Outcome outcome = appliance.run({"tcpreset", "listip"});
  EXPECT_EQ(outcome.out, R"({"data":[],"total":0})");
  EXPECT_EQ(outcome.exit_status, 0);
  ASSERT_EQ(daemon.requests().size(), 1U);
  expect_request(daemon.requests()[0], "", 0);
}

/// What a daemon puts before its records: the test dictionary's two applications and one group.
std::string dictionary_tables() {
  std::string tables(3 * 56, '\0');
  tables.replace(0, 2, u16_bytes(77));
  tables.replace(4, 4, "mail");
  tables.replace(24, 6, "E-Mail");
  tables.replace(56, 2, u16_bytes(3));
  tables.replace(60, 3, "dns");
  tables.replace(80, 5, "Names");
  return tables;
}

TEST(TcpResetListIp, BySourceAsksForTheDictionaryOnce) {
  Appliance appliance;
  appliance.install_dictionary();
  ScriptedDaemon daemon(
      appliance, Daemon::kMgmt,
      {Reply::records(dictionary_tables() + bytes_of(kFirst), 1).with_syncdesc(1).more(),
       Reply::records(bytes_of(kSecond), 1)});
  const Outcome outcome = appliance.run({"tcpreset", "listip", "type=src"});
  EXPECT_EQ(outcome.out,
            R"({"data":[{"ip":"10.0.0.1","flowcnt":1,"http":0,"https":"1","maxtime":1700000000,)"
            R"( "mintime":1700000000,"app":"mail|E-Mail"},)"
            R"({"ip":"10.0.0.2","flowcnt":1,"http":0,"https":"0","maxtime":1700000060,)"
            R"( "mintime":1700000060,"app":"dns|Names"}],"total":2})");
  EXPECT_EQ(outcome.exit_status, 0);
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 2U);
  expect_request(requests[0], " type=src", 1);
  expect_request(requests[1], " type=src", 0);  // though the reply had it set
}

TEST(TcpResetListIp, WithoutADictionaryApplicationsHaveNoName) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kMgmt,
                        {Reply::records(bytes_of(kFirst), 1).with_syncdesc(0)});
  EXPECT_EQ(appliance.run({"tcpreset", "listip", "type=src"}).out,
            R"({"data":[{"ip":"10.0.0.1","flowcnt":1,"http":0,"https":"1","maxtime":1700000000,)"
            R"( "mintime":1700000000,"app":"undname|undname"}],"total":1})");
}

TEST(TcpResetListIp, SortsFiltersAndPages) {
  Appliance appliance;
  ScriptedDaemon daemon(
      appliance, Daemon::kMgmt,
      {Reply::records(bytes_of(kSecond) + bytes_of(kFirst) + bytes_of(kThird), 3)});
  daemon.repeat_last();
  const auto out = [&](std::vector<std::string> words) {
    words.insert(words.begin(), {"tcpreset", "listip"});
    return appliance.run(words).out;
  };
  EXPECT_EQ(out({"sort=flowcnt", "order=asc"}), kByAddress);  // ascending: largest first
  EXPECT_EQ(out({"sort=flowcnt", "order=asc", "row=2-2"}),
            R"({"data":[{"ip":"192.0.2.2","flowcnt":1,"http":0,"https":"0","maxtime":1700000060,)"
            R"( "mintime":1700000060,"port":"53"}],"total":2})");
  EXPECT_EQ(out({"filter=2.2", "row=2-2"}), R"({"data":[],"total":1})");
}

TEST(TcpResetListDns, FoldsNames) {
  Appliance appliance;
  ScriptedDaemon daemon(
      appliance, Daemon::kMgmt,
      {Reply::records(bytes_of(kFirst) + bytes_of(kSecond) + bytes_of(kThird), 3)});
  const Outcome outcome = appliance.run({"tcpreset", "listdns", "type=src"});
  EXPECT_EQ(outcome.out,
            R"({"data":[{"dns":"www.example.com","flowcnt":2,"http":1,"https":"1",)"
            R"("maxtime":1700000000, "mintime":1699999999,"http20x":1,"http30x":0,"http40x":1,)"
            R"("http50x":0,"port":"80,443"}],"total":1})");
  EXPECT_EQ(outcome.exit_status, 0);
  ASSERT_EQ(daemon.requests().size(), 1U);
  expect_request(daemon.requests()[0], " type=src", 0);  // no word of this listing
}

TEST(TcpResetList, PrintsALineForEveryRecord) {
  Appliance appliance;
  appliance.install_dictionary();
  ScriptedDaemon daemon(
      appliance, Daemon::kMgmt,
      {Reply::records(dictionary_tables() + bytes_of(kFirst), 1).with_syncdesc(1).more(),
       Reply::records(bytes_of(kSecond), 1)});
  const Outcome outcome =
      appliance.run({"tcpreset", "list", "row=x"},
                    {.environment = {}, .time_zone = "XXX-5:45"});  // no word of it
  EXPECT_EQ(outcome.out,
            "1700000000 2023-11-15/03:58:20 mail E-Mail 167772161 49152 3221225985 443"
            " 2.50 1.00 0.07 1 65535 255 www.example.com|404\n"
            "1700000060 2023-11-15/03:59:20 dns Names 167772162 0 3221225986 53"
            " 0 0 0 0 0 0 NULL\n");
  EXPECT_EQ(outcome.exit_status, 0);
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 2U);
  expect_request(requests[0], " row=x", 1);
  expect_request(requests[1], " row=x", 0);
}

TEST(TcpReset, ABadRowWordSendsNothing) {
  for (const char* listing : {"listip", "listdns"}) {
    for (const char* word : {"row=3-", "row=", "row=x-y"}) {
      Appliance appliance;
      ScriptedDaemon daemon(appliance, Daemon::kMgmt, std::vector<Reply>{});
      const Outcome outcome = appliance.run({"tcpreset", listing, word, "row=1-2"});
      EXPECT_EQ(outcome.out, "INVALID_ROW\n");
      EXPECT_EQ(outcome.exit_status, 255);
      EXPECT_EQ(daemon.requests().size(), 0U);
    }
  }
}

TEST(TcpReset, AFailedCallPrintsItsText) {
  for (const char* listing : {"listip", "listdns", "list"}) {
    Appliance appliance;
    ScriptedDaemon daemon(appliance, Daemon::kMgmt, {Reply::error(7, "no such module")});
    const Outcome outcome = appliance.run({"tcpreset", listing});
    EXPECT_EQ(outcome.out, "no such module\n");
    EXPECT_EQ(outcome.exit_status, 255);
  }
}

TEST(TcpReset, AStatusAloneLeavesTheModulesName) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kMgmt, [](const Request&) {
    Reply reply = Reply::nothing();
    reply.status = 9;
    return reply;
  });
  const Outcome outcome = appliance.run({"tcpreset", "listip"});
  EXPECT_EQ(outcome.out, "tcpreset\n");
  EXPECT_EQ(outcome.exit_status, 255);
}

TEST(TcpReset, ALaterBatchThatFailsEndsTheListing) {
  for (const char* listing : {"listip", "listdns"}) {
    Appliance appliance;
    ScriptedDaemon daemon(appliance, Daemon::kMgmt,
                          {Reply::records(bytes_of(kFirst), 1).more(), Reply::error(1, "gone")});
    const Outcome outcome = appliance.run({"tcpreset", listing});
    EXPECT_EQ(outcome.out, "gone\n");
    EXPECT_EQ(outcome.exit_status, 255);
  }
  Appliance appliance;
  ScriptedDaemon daemon(
      appliance, Daemon::kMgmt,
      {Reply::records(bytes_of(kSecond), 1).with_syncdesc(0).more(), Reply::error(1, "gone")});
  const Outcome outcome = appliance.run({"tcpreset", "list"});
  EXPECT_EQ(outcome.out,  // lines already printed stay
            "1700000060 2023-11-14/22:14:20 undname undname 167772162 0 3221225986 53"
            " 0 0 0 0 0 0 NULL\ngone\n");
  EXPECT_EQ(outcome.exit_status, 255);
}

TEST(TcpReset, WithoutADaemonItSaysSo) {
  Appliance appliance;
  const Outcome outcome = appliance.run({"tcpreset", "listip", "row=3-"});
  EXPECT_EQ(outcome.out, "can't connect to ./usr/ramdisk/var/mgmt.d");
  EXPECT_EQ(outcome.exit_status, 255);
}

/// The number behind "total" in a page.
std::string total_of(const std::string& page) {
  const std::size_t at = page.find("\"total\":");
  return at == std::string::npos ? "none" : page.substr(at + 8);
}

TEST(TcpReset, CountsThatLieStayWithinTheArea) {
  for (const std::uint32_t count : {32769u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
    Appliance appliance;
    // 32768 records fill the area of 2 MiB; those that the daemon did not write are zeros but for
    // what the argument text left, so they fold into the address 0.0.0.0.
    ScriptedDaemon daemon(appliance, Daemon::kMgmt,
                          {Reply::records(bytes_of(kFirst), count).with_syncdesc(0)});
    daemon.repeat_last();
    const Outcome ip = appliance.run({"tcpreset", "listip"});
    EXPECT_EQ(total_of(ip.out), "2}");
    EXPECT_NE(ip.out.find(R"({"ip":"0.0.0.0","flowcnt":32767,)"), std::string::npos);
    EXPECT_EQ(ip.exit_status, 0);
    EXPECT_EQ(total_of(appliance.run({"tcpreset", "listdns"}).out), "1}");
    const Outcome list = appliance.run({"tcpreset", "list"});
    EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '\n'), 32768);
    EXPECT_EQ(list.exit_status, 0);
  }
}

TEST(TcpReset, ALyingReplyLengthChangesNothing) {
  for (const std::uint32_t length : {0u, 1u, 0xffffffffu}) {
    Appliance appliance;
    ScriptedDaemon daemon(
        appliance, Daemon::kMgmt,
        {Reply::records(bytes_of(kFirst) + bytes_of(kSecond) + bytes_of(kThird), 3)
             .with_replylen(length)});
    EXPECT_EQ(appliance.run({"tcpreset", "listip"}).out, kByAddress);
  }
}

TEST(TcpReset, ANameWithoutANulEndsWithItsField) {
  Session session = kSecond;
  session.name = std::string(31, 'n');
  Appliance appliance;
  // The last record of the area: nothing may be read behind it.
  ScriptedDaemon daemon(appliance, Daemon::kMgmt, [&](const Request&) {
    std::string bytes;
    for (int i = 0; i < 32768; ++i) bytes += bytes_of(session);
    return Reply::records(bytes, 32768);
  });
  const Outcome outcome = appliance.run({"tcpreset", "listdns"});
  EXPECT_EQ(outcome.out,
            R"({"data":[{"dns":"nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn","flowcnt":32768,"http":0,)"
            R"("https":"0","maxtime":1700000060, "mintime":1700000060,"http20x":0,"http30x":0,)"
            R"("http40x":0,"http50x":0,"port":"53"}],"total":1})");
}

TEST(TcpReset, ASignalLeavesNoSegment) {
  Appliance appliance;
  ScriptedDaemon daemon(
      appliance, Daemon::kMgmt,
      {Reply::records(bytes_of(kFirst), 1).more(), Reply::nothing().raising(SIGTERM)});
  const Outcome outcome = appliance.run({"tcpreset", "listip"});
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.exit_status, 0);
}

}  // namespace
}  // namespace qsvmon::harness
