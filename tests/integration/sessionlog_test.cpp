// The mail, FTP and Telnet lists of the real program against a scripted management daemon.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/integration/harness.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

std::string u16(unsigned value) {
  return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
}
std::string u32(unsigned value) {
  return u16(value & 0xFFFF) + u16(value >> 16);
}
std::string field(std::string text, std::size_t width) {
  text.resize(width, '\0');
  return text;
}
std::string element(int type, const std::string& value) {
  return static_cast<char>(type) + u16(static_cast<unsigned>(value.size())) + value;
}

/// 10.0.0.1:1025 to 192.168.1.2, the port given.
std::string ends(int port) {
  return "\x0A\0\0\x01\xC0\xA8\x01\x02\x04\x01\0"s + static_cast<char>(port);
}
constexpr unsigned kTime = 1709622489;  // 2024-03-05 07:08:09 UTC

std::string mail(unsigned key, const std::string& elements) {
  const std::string all = element(7, ends(25)) + element(6, u32(kTime)) + elements;
  return u32(key) + u16(static_cast<unsigned>(all.size())) + field(all, 1026);
}
/// A mail that is known by its From.
std::string mail_from(unsigned key, const std::string& from) {
  return mail(key, element(1, from));
}

std::string login_head(unsigned start, unsigned time, int port) {
  return u32(start) + u32(time) + ends(port) + "\x00\x11\x22\x33\x44\x55"s;
}
std::string ftp(unsigned time, int optype, const std::string& name, const std::string& user) {
  return login_head(kTime - 48, time, 21) + static_cast<char>(optype) + '\0' + field(name, 64) +
         field(user, 24);
}
std::string telnet(unsigned time, const std::string& cmd, const std::string& user) {
  return login_head(kTime - 48, time, 23) + static_cast<char>(cmd.size()) + field(cmd, 129) +
         field(user, 32);
}

/// The value of each `"name":"..."` in the order of the rows, a blank behind each.
std::string members(const std::string& json, const std::string& name) {
  const std::string begin = "\"" + name + "\":\"";
  std::string all;
  for (std::size_t at = 0; (at = json.find(begin, at)) != std::string::npos;) {
    at += begin.size();
    all += json.substr(at, json.find('"', at) - at) + " ";
  }
  return all;
}
std::string count_of(const std::string& json) {
  return json.substr(json.rfind("],\"count\":"));
}

class SessionLogTest : public testing::Test {
 protected:
  SessionLogTest() {
    appliance_.write("conf/korvale.conf",
                     "mac m=10.0.0.1 d=office\n"
                     "mac m=00:11:22:33:44:55 d=laptop\n"
                     "cusiprng iprng=192.168.0.0/16 info=inside\n");
  }

  Outcome list(const std::string& module, std::vector<Reply> replies,
               std::vector<std::string> words = {}) {
    for (Reply& reply : replies) {
      if (!reply.syncdesc) reply.with_syncdesc(0);
    }
    ScriptedDaemon daemon(appliance_, Daemon::kMgmt, std::move(replies));
    words.insert(words.begin(), {module, "list"});
    Outcome outcome = appliance_.run(words);
    requests_ = daemon.requests();
    return outcome;
  }

  /// The file of the one download there has been.
  std::string downloaded(const Outcome& outcome) {
    EXPECT_EQ(outcome.exit_status, 0);
    const std::vector<std::string> names = appliance_.list("usr/qsvlog");
    EXPECT_EQ(names.size(), 1U);
    if (names.size() != 1) return "";
    EXPECT_EQ(outcome.out, names[0] + "\n");
    EXPECT_EQ(names[0].size(), 18U);  // 14 digits and ".csv"
    for (std::size_t i = 0; i < 14; ++i) EXPECT_TRUE(std::isdigit(names[0][i])) << names[0];
    EXPECT_EQ(names[0].substr(14), ".csv");
    return appliance_.read("usr/qsvlog/" + names[0]);
  }

  Appliance appliance_;
  std::vector<Request> requests_;
};

TEST_F(SessionLogTest, TheMailListShowsARowAndAsksForTheDictionary) {
  appliance_.install_dictionary();
  const std::string dictionary =
      field(field("\x4d\x00\x00\x00mail"s, 24) + "Electronic mail", 56) + field("", 112);
  const std::string record =
      mail(5, element(8, "\x00\x11\x22\x33\x44\x55"s) + element(9, u16(77)) +
                  element(1, "\"Bob Smith\" <bob@x.com>") +
                  element(2, "=?UTF-8?B?5L2g5aW9?= <b@y.com>,\r\n c@z.com") +
                  element(3, "=?gbk?Q?=C4=E3?=") + element(4, "Re: =?UTF-8?B?5L2g5aW9?=") +
                  element(5, "a b.txt\0"s) + element(5, "=?gb2312?B?xOM=?=\0"s));
  const Outcome outcome = list(
      "emaillog", {Reply::records(dictionary + record, 1).with_syncdesc(1)}, {"keywd=\xBA\xC3"});
  EXPECT_EQ(outcome.out,
            "{\"data\":[{\"src_ip\":\"10.0.0.1\",\"src_port\":1025,\"dst_ip\":\"192.168.1.2\","
            "\"dst_port\":25,\"apid\":77,\"appname\":\"Electronic mail\","
            "\"mac\":\"00-11-22-33-44-55\",\"req_time\":\"2024-03-05/07:08:09\","
            "\"time\":1709622489,\"srcip_desc\":\"office\",\"dstip_desc\":\"inside\","
            "\"ipmac_desc\":\"laptop\",\"from\":\"BobSmith<bob@x.com>\","
            "\"to\":\"\xC4\xE3\xBA\xC3<b@y.com>,c@z.com\",\"cc\":\"\xC4\xE3\","
            "\"subject\":\"Re:\",\"tolen\":41,\"file\":\"ab.txt,\xC4\xE3\"}],\"count\":1}");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.exit_status, 0);
  ASSERT_EQ(requests_.size(), 1U);
  const Request& request = requests_[0];
  EXPECT_EQ(request.msgcode(), 2055U);
  EXPECT_EQ(request.errtext(), "emaillog");
  EXPECT_EQ(request.syncdesc(), 1);
  EXPECT_EQ(request.result(), 0U);
  EXPECT_EQ(request.flags(), 0U);
  EXPECT_EQ(request.text, " keywd=\xBA\xC3");
  EXPECT_EQ(request.area.substr(0, 10), " keywd=\xBA\xC3\0"s);
  EXPECT_EQ(request.segment_bytes, 2097152U);
}

TEST_F(SessionLogTest, LoginListsShowARowAndAskForNoDictionary) {
  Outcome outcome =
      list("ftplog", {Reply::records(ftp(kTime, 2, "/pub/a b", "anonymous"), 1)}, {"page=1", "x"});
  const std::string head =
      "{\"data\":[{\"src_ip\":\"10.0.0.1\",\"src_port\":1025,\"dst_ip\":\"192.168.1.2\","
      "\"dst_port\":";
  const std::string rest =
      ",\"mac\":\"00-11-22-33-44-55\",\"start\":1709622441,\"req_time\":\"2024-03-05/07:08:09\","
      "\"time\":1709622489,\"srcip_desc\":\"office\",\"dstip_desc\":\"inside\","
      "\"ipmac_desc\":\"laptop\",";
  EXPECT_EQ(outcome.out, head + "21" + rest +
                             "\"user\":\"anonymous\",\"optype\":\"RETR\",\"name\":\"/pub/a b\"}],"
                             "\"count\":1}");
  EXPECT_EQ(outcome.exit_status, 0);
  ASSERT_EQ(requests_.size(), 1U);
  EXPECT_EQ(requests_[0].msgcode(), 2055U);
  EXPECT_EQ(requests_[0].errtext(), "ftplog");
  EXPECT_EQ(requests_[0].syncdesc(), 0);
  EXPECT_EQ(requests_[0].result(), 0U);
  EXPECT_EQ(requests_[0].text, " page=1 x");
  EXPECT_EQ(requests_[0].segment_bytes, 2097152U);

  outcome = list("telnetlog", {Reply::records(telnet(kTime, "ls \"a\"\\b", "root"), 1)});
  EXPECT_EQ(outcome.out,
            head + "23" + rest + "\"user\":\"root\",\"cmd\":\"ls a\\\\b\"}],\"count\":1}");
  EXPECT_EQ(outcome.exit_status, 0);
  ASSERT_EQ(requests_.size(), 1U);
  EXPECT_EQ(requests_[0].errtext(), "telnetlog");
  EXPECT_EQ(requests_[0].syncdesc(), 0);
  EXPECT_EQ(requests_[0].text, "");
  EXPECT_EQ(requests_[0].datalen(), 0U);
}

TEST_F(SessionLogTest, EmptyRepliesListNothing) {
  for (const char* module : {"emaillog", "ftplog", "telnetlog"}) {
    const Outcome outcome = list(module, {Reply::records("", 0)});
    EXPECT_EQ(outcome.out, "{\"data\":[],\"count\":0}");
    EXPECT_EQ(outcome.exit_status, 0);
  }
}

TEST_F(SessionLogTest, BatchesAreFetchedUntilTheLastAndSortedTogether) {
  const Outcome outcome =
      list("emaillog",
           {Reply::records(mail_from(5, "five") + mail_from(9, "nine"), 2).more(),
            Reply::records(mail_from(0, "empty") + mail_from(7, "seven"), 2).more(),
            Reply::records(mail_from(9, "nine2"), 1)},
           {"limit=3"});
  EXPECT_EQ(members(outcome.out, "from"), "nine nine2 seven ");
  EXPECT_EQ(count_of(outcome.out), "],\"count\":4}");
  ASSERT_EQ(requests_.size(), 3U);
  for (const Request& request : requests_) {
    EXPECT_EQ(request.errtext(), "emaillog");
    EXPECT_EQ(request.msgcode(), 2055U);
    EXPECT_EQ(request.result(), 0U);  // set again for every batch
    EXPECT_EQ(request.text, " limit=3");
  }
}

TEST_F(SessionLogTest, LaterMailRequestsKeepWhatTheReplySaidOfTheDictionary) {
  appliance_.install_dictionary();
  const std::string dictionary =
      field(field("\x4d\x00\x00\x00mail"s, 24) + "Electronic mail", 56) + field("", 112);
  const Outcome outcome = list(
      "emaillog", {Reply::records(dictionary + mail_from(2, "a"), 1).with_syncdesc(1).more(),
                   Reply::records(dictionary + mail(1, element(9, u16(77)) + element(1, "b")), 1)
                       .with_syncdesc(1)
                       .more(),
                   Reply::records("", 0).with_syncdesc(0)});
  EXPECT_EQ(members(outcome.out, "appname"), "no name Electronic mail ");
  ASSERT_EQ(requests_.size(), 3U);
  EXPECT_EQ(requests_[0].syncdesc(), 1);
  EXPECT_EQ(requests_[1].syncdesc(), 1);
  EXPECT_EQ(requests_[2].syncdesc(), 1);
}

TEST_F(SessionLogTest, LoginBatchesAreSortedByTimeNewestFirst) {
  const Outcome outcome =
      list("telnetlog",
           {Reply::records(telnet(5, "c", "u") + telnet(5, "d", "u"), 2).more(),
            Reply::records(telnet(0xF0000000, "a", "u") + telnet(7, "b", "u"), 2)},
           {"page=1", "limit=3", "page=2", "limit=2"});
  EXPECT_EQ(members(outcome.out, "cmd"), "c d ");
  EXPECT_EQ(count_of(outcome.out), "],\"count\":4}");
}

TEST_F(SessionLogTest, PagesWrapAsUnsignedNumbers) {
  const Reply reply = Reply::records(mail_from(1, "a") + mail_from(2, "b"), 2);
  EXPECT_EQ(list("emaillog", {reply}, {"page=0"}).out, "{\"data\":[],\"count\":2}");
  EXPECT_EQ(members(list("emaillog", {reply}, {"limit=-1"}).out, "from"), "b a ");
  EXPECT_EQ(list("emaillog", {reply}, {"page=3", "limit=1"}).out, "{\"data\":[],\"count\":2}");
}

TEST_F(SessionLogTest, BadWordsAreReportedAndNothingIsSent) {
  const std::pair<const char*, const char*> cases[] = {{"mac=1:2:3", "INV_MAC\n"},
                                                       {"ip=300.1.1.1", "INV_IP\n"}};
  for (const auto& [word, line] : cases) {
    ScriptedDaemon daemon(appliance_, Daemon::kMgmt, std::vector<Reply>{});
    const Outcome outcome = appliance_.run({"emaillog", "list", "page=1", word});
    EXPECT_EQ(outcome.out, line);
    EXPECT_EQ(outcome.exit_status, 255);
    EXPECT_EQ(daemon.requests().size(), 0U);
  }
  // The other lists have no filters.
  EXPECT_EQ(list("ftplog", {Reply::records("", 0)}, {"mac=1:2:3", "ip=x"}).out,
            "{\"data\":[],\"count\":0}");
  EXPECT_EQ(requests_[0].text, " mac=1:2:3 ip=x");
}

TEST_F(SessionLogTest, AFailedBatchPrintsItsErrorAndNothingElse) {
  for (const char* module : {"emaillog", "ftplog", "telnetlog"}) {
    Outcome outcome = list(module, {Reply::error(9, "no such log")});
    EXPECT_EQ(outcome.out, "no such log\n");
    EXPECT_EQ(outcome.exit_status, 255);
    outcome = list(module, {Reply::records(field("", 2000), 1).more(), Reply::error(9, "%s gone")},
                   {"download=1"});
    EXPECT_EQ(outcome.out, "%s gone\n");
    EXPECT_EQ(outcome.exit_status, 255);
    EXPECT_TRUE(appliance_.list("usr/qsvlog").empty());
  }
}

TEST_F(SessionLogTest, ACountBeyondTheAreaIsBoundedByIt) {
  // 2 MiB hold 2032 mails; the area's other bytes are zeroes or what the program wrote there.
  const Outcome outcome = list("emaillog", {Reply::records(mail_from(3, "a"), 0xFFFFFFFF)});
  EXPECT_EQ(members(outcome.out, "from"), "a ");
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(count_of(list("ftplog", {Reply::records("", 0xFFFFFFFF)}, {"limit=1"}).out),
            "],\"count\":18078}");  // 2097152 / 116
  EXPECT_EQ(count_of(list("telnetlog", {Reply::records("", 0x80000000)}, {"limit=1"}).out),
            "],\"count\":11155}");  // 2097152 / 188
}

TEST_F(SessionLogTest, FiltersApplyToEveryBatch) {
  const std::vector<Reply> replies = {
      Reply::records(mail_from(1, "ann@x") + mail_from(2, "bob@x"), 2).more(),
      Reply::records(mail(3, element(4, "to ann@x")) + mail(4, element(4, "=bad ann@x")), 2)};
  const Outcome outcome = list("emaillog", replies, {"keywd=ann", "ip=192.168.1.2"});
  EXPECT_EQ(members(outcome.out, "from"), " ann@x ");
  EXPECT_EQ(members(outcome.out, "subject"), "to  ");
  EXPECT_EQ(count_of(outcome.out), "],\"count\":2}");
  EXPECT_EQ(list("emaillog", replies, {"ip=1.2.3.4"}).out, "{\"data\":[],\"count\":0}");
}

TEST_F(SessionLogTest, TheMailDownloadHasGbkHeadersAndRawPorts) {
  const Outcome outcome =
      list("emaillog",
           {Reply::records(mail(1, element(1, "Bob Smith") + element(4, "one two")), 1).more(),
            Reply::records(mail(2, element(5, "x y\0"s)), 1)},
           {"download=1", "page=9", "limit=1"});
  EXPECT_EQ(downloaded(outcome),
            "\n"
            "\xD4\xB4\xB5\xD8\xD6\xB7,\xD4\xB4\xB6\xCB\xBF\xDA,\xC4\xBF\xB1\xEA\xB5\xD8\xD6\xB7,"
            "\xC4\xBF\xB1\xEA\xB6\xCB\xBF\xDA,\xB7\xC3\xCE\xCA\xCA\xB1\xBC\xE4,"
            "\xD3\xA6\xD3\xC3\xD0\xAD\xD2\xE9,\xD4\xB4MAC,\xB7\xA2\xBC\xFE\xC8\xCB,"
            "\xCA\xD5\xBC\xFE\xC8\xCB,\xB3\xAD\xCB\xCD,\xD6\xF7\xCC\xE2,\xB8\xBD\xBD\xFC\n"
            "10.0.0.1,260,192.168.1.2,6400,2024-03-05/07:08:09,undname,00-00-00-00-00-00,,,,,xy\n"
            "10.0.0.1,260,192.168.1.2,6400,2024-03-05/07:08:09,undname,00-00-00-00-00-00,"
            "BobSmith,,,one,");
}

TEST_F(SessionLogTest, TheMailDownloadHasDisplayNames) {
  appliance_.install_dictionary();
  const std::string dictionary =
      field(field("\x4d\x00\x00\x00mail"s, 24) + "Electronic mail", 56) + field("", 112);
  const std::string sheet = downloaded(
      list("emaillog",
           {Reply::records(dictionary + mail(1, element(9, u16(77)) + element(1, "a")), 1)
                .with_syncdesc(1)},
           {"download=1"}));
  EXPECT_EQ(sheet.substr(sheet.rfind('\n')),
            "\n10.0.0.1,260,192.168.1.2,6400,2024-03-05/07:08:09,Electronic mail,"
            "00-00-00-00-00-00,a,,,,");
}

TEST_F(SessionLogTest, TheFtpDownloadIsInUtf8) {
  EXPECT_EQ(
      downloaded(list("ftplog", {Reply::records(ftp(kTime, 7, "n,m", "u"), 1)}, {"download=1"})),
      "\n源地址,源端口,目标地址,目标端口,源MAC,连接时间,操作时间,用户名,操作类型,对象名称\n"
      "10.0.0.1,1025,192.168.1.2,21,00-11-22-33-44-55,2024-03-05/07:07:21,"
      "2024-03-05/07:08:09,u,USER,n,m");
}

TEST_F(SessionLogTest, TheTelnetDownloadHasGbkHeaders) {
  EXPECT_EQ(downloaded(list("telnetlog", {Reply::records("", 0)}, {"download=1"})),
            "\n"
            "\xD4\xB4\xB5\xD8\xD6\xB7,\xD4\xB4\xB6\xCB\xBF\xDA,\xC4\xBF\xB1\xEA\xB5\xD8\xD6\xB7,"
            "\xC4\xBF\xB1\xEA\xB6\xCB\xBF\xDA,\xD4\xB4MAC,\xC1\xAC\xBD\xD3\xCA\xB1\xBC\xE4,"
            "\xB2\xD9\xD7\xF7\xCA\xB1\xBC\xE4,\xD3\xC3\xBB\xA7\xC3\xFB,"
            "\xB6\xD4\xCF\xF3\xC3\xFB\xB3\xC6");
}

TEST_F(SessionLogTest, AFolderThatIsMissingFailsTheDownloadAfterTheFetch) {
  Appliance bare;
  for (const char* module : {"emaillog", "ftplog", "telnetlog"}) {
    ScriptedDaemon daemon(bare, Daemon::kMgmt, {Reply::records("", 0).with_syncdesc(0)});
    std::string folder = bare.path("usr/qsvlog");
    ::rmdir(folder.c_str());
    const Outcome outcome = bare.run({module, "list", "download=1"});
    EXPECT_EQ(outcome.out, "xlsxwriter init failed.\n");
    EXPECT_EQ(outcome.exit_status, 255);
    EXPECT_EQ(daemon.requests().size(), 1U);
  }
}

}  // namespace
}  // namespace qsvmon::harness
