#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/integration/harness.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

/// `text` filled up with NULs to `width` bytes.
std::string field(std::string text, std::size_t width) {
  text.resize(width, '\0');
  return text;
}

/// One 40-byte signature.
std::string signature(unsigned tid, unsigned type, unsigned itlgc, unsigned mkmode,
                      const char* name, unsigned vid = 0, unsigned disabled = 0) {
  std::string bytes = u16_bytes(tid) + u16_bytes(vid);
  for (const unsigned byte : {type, disabled, itlgc, mkmode}) bytes += static_cast<char>(byte);
  return bytes + field(name, 32);
}

/// Signature 101 "Emotet" in slot 1, 102 "hidden" of category 7 in slot 2, 103 "DGA" in slot 3.
std::string table() {
  return field("", 40) + signature(101, 0, 0, 1, "Emotet", 9) + signature(102, 1, 7, 2, "hidden") +
         signature(103, 1, 7, 1, "DGA") + field("", 60 * 40);
}

struct Event {
  std::uint32_t time = 1700000000;
  std::string src = "\x0a\x00\x00\x01"s;
  std::string dst = "\x5d\xb8\xd8\x22"s;
  std::uint32_t bitmap = 2;
  std::uint32_t apid = 0;
  std::string host = "evil.example";
};

/// One 80-byte record, port 40000 to 443, MAC 00-11-22-aa-bb-cc, protocol 6, source matched.
std::string record(const Event& e) {
  return u32_bytes(e.time) + e.src + e.dst + "\x9c\x40\x01\xbb"s + u32_bytes(e.bitmap) +
         u32_bytes(0) + u16_bytes(e.apid) + "\x00\x11\x22\xaa\xbb\xcc\x06\x01"s +
         static_cast<char>(e.host.size()) + field(e.host, 45);
}

constexpr char kConfig[] =
    "mac m=10.0.0.1 d=office\n"
    "mac m=00:11:22:aa:bb:cc d=printer\n"
    "malcitlgc id=7 name=botnet cname=zombie\n"
    "cusiprng iprng=93.184.216.0/24 info=cloud\n";

class MalclogTest : public testing::Test {
 protected:
  void SetUp() override { appliance_.write("conf/korvale.conf", kConfig); }

  /// Runs `malclog list` with `words`. Replies that do not say otherwise bring no dictionary.
  Outcome list(std::vector<Reply> replies, std::vector<std::string> words) {
    for (Reply& reply : replies) {
      if (!reply.syncdesc) reply.with_syncdesc(0);
    }
    ScriptedDaemon daemon(appliance_, Daemon::kMgmt, std::move(replies));
    words.insert(words.begin(), {"malclog", "list"});
    const Outcome outcome = appliance_.run(words);
    requests_ = daemon.requests();
    return outcome;
  }

  Appliance appliance_;
  std::vector<Request> requests_;
};

TEST_F(MalclogTest, DetailWithLabelsAndADictionary) {
  appliance_.install_dictionary();
  // Two application entries and a group entry come before the reply.
  const std::string dictionary =
      field(field("\x4d\x00\x00\x00web"s, 24) + "Web pages", 56) + field("", 56) + field("", 56);
  Reply reply = Reply::records(dictionary + table() + record({.bitmap = 14, .apid = 77}), 1);
  reply.with_syncdesc(1);
  const Outcome outcome = list({reply}, {"listtype=detail", "page=1"});
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(
      outcome.out,
      R"({"data":[{"list":[{"tid":101,"type":0,"name":"Emotet","mkmode":1,"cnt":1},)"
      R"({"id":7,"type":0,"name":"botnet","cname":"zombie","mkmode":2,"cnt":1},)"
      R"({"tid":103,"type":1,"name":"DGA","mkmode":1,"cnt":1}],"src_ip":"10.0.0.1",)"
      R"("src_port":40000,"dst_ip":"93.184.216.34","dst_port":443,"apid":77,"appname":"web",)"
      R"("appcname":"Web pages","mac":"00-11-22-aa-bb-cc","req_time":"2023-11-14/22:13:20",)"
      R"("time":1700000000,"proto":6,"bitmap":14,"host":"evil.example","srcip_desc":"office",)"
      R"("dstip_desc":"cloud","sign":"1","ipmac_desc":"printer","src_sign":"1","dst_sign":"0",)"
      R"("dns_sign":"0","uri_sign":"0"}], "count":1})");
  ASSERT_EQ(requests_.size(), 1U);
  const Request& request = requests_[0];
  EXPECT_EQ(request.msgcode(), 2055U);
  EXPECT_EQ(request.errtext(), "qsvmalicious");
  EXPECT_EQ(request.datalen(), 23U);  // without the NUL
  EXPECT_EQ(request.area.substr(0, 24), " listtype=detail page=1\0"s);
  EXPECT_EQ(request.syncdesc(), 1);
  EXPECT_EQ(request.result(), 0U);
  EXPECT_EQ(request.segment_bytes, 2097152U);
}

TEST_F(MalclogTest, AggregationsWithLabels) {
  const std::string events = record({}) + record({.bitmap = 6, .apid = 5}) + record({.time = 0});
  const std::string list_of_two =
      R"("list":[{"cnt":2, "id":0, "name":"Emotet", "cname":"NULL"},)"
      R"({"cnt":1, "id":7, "name":"botnet", "cname":"zombie"}]}],"count":1})";
  const std::pair<std::string, std::string> cases[] = {
      {"dst", R"({"data":[{"ip":"93.184.216.34","cnt":2,"ip_desc":"cloud",)" + list_of_two},
      {"src", R"({"data":[{"ip":"10.0.0.1","cnt":2,"ip_desc":"office",)" + list_of_two},
      {"app", R"~({"data":[{"apid":5,"appname":"undname","appcname":"undname","count":1,)~"
              R"~("list":[{"cnt":1, "id":0, "name":"Emotet", "cname":"(null)"},)~"
              R"~({"cnt":1, "id":7, "name":"botnet", "cname":"zombie"}]}],"count":1})~"},
      {"table",
       R"({"data":[{"tid":101,"mode":1,"vid":9,"type":0,"name":"Emotet","cnt":2},)"
       R"({"tid":103,"mode":1,"vid":0,"type":1,"name":"DGA","cnt":0},)"
       R"({"id":7,"tid":0,"vid":0,"type":0,"mode":2,"name":"botnet","cname":"zombie","cnt":1}],)"
       R"("count":3})"},
      {"host", R"({"data":[{"host":"evil.example","cnt":2,)"
               R"("list":[{"cnt":2, "name":"Emotet", "mkmode":1, "cname":"NULL"},)"
               R"({"cnt":1, "name":"botnet", "mkmode":2, "cname":"zombie"}]}],"count":1})"},
  };
  for (const auto& [type, text] : cases) {
    const Outcome outcome = list({Reply::records(table() + events, 3)}, {"listtype=" + type});
    EXPECT_EQ(outcome.out, text);
    EXPECT_EQ(outcome.exit_status, 0);
    ASSERT_EQ(requests_.size(), 1U);
    EXPECT_EQ(requests_[0].syncdesc(), type == "app" ? 1 : 0) << type;
  }
}

TEST_F(MalclogTest, LaterBatchesAreAskedForWithTheSameWords) {
  Reply first = Reply::records(table() + record({}), 1);
  first.more().with_errtext("something else");
  Reply second = Reply::records(record({}) + record({}), 2);
  second.more();
  const Outcome outcome =
      list({first, second, Reply::records("", 0)}, {"listtype=app", "limit=7", "apid=0"});
  EXPECT_EQ(outcome.out, R"({"data":[],"count":0})");  // application 0 is not listed
  ASSERT_EQ(requests_.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(requests_[i].msgcode(), 2055U);
    EXPECT_EQ(requests_[i].errtext(), "qsvmalicious");
    EXPECT_EQ(requests_[i].text, " listtype=app limit=7 apid=0");
    EXPECT_EQ(requests_[i].area.substr(28, 1), "\0"s);
    EXPECT_EQ(requests_[i].result(), 0U);
    EXPECT_EQ(requests_[i].syncdesc(), i == 0 ? 1 : 0);
  }
}

TEST_F(MalclogTest, SeveralBatchesAreOneListing) {
  Reply first = Reply::records(table() + record({}) + record({.dst = "\x01\x02\x03\x04"s}), 2);
  first.more();
  Reply second = Reply::records("", 0);
  second.more();
  const Outcome outcome =
      list({first, second, Reply::records(record({.dst = "\x01\x02\x03\x04"s}), 1)},
           {"listtype=dst", "limit=2"});
  EXPECT_EQ(outcome.out,
            R"({"data":[{"ip":"1.2.3.4","cnt":2,"ip_desc":"",)"
            R"("list":[{"cnt":2, "id":0, "name":"Emotet", "cname":"NULL"}]}],"count":2})");
}

TEST_F(MalclogTest, AnEmptyFirstBatchLeavesNoSignatures) {
  Reply first = Reply::records(table(), 0);
  first.more();
  const Outcome outcome =
      list({first, Reply::records(record({}), 1)}, {"listtype=host", "tid=101", "type=ip"});
  EXPECT_EQ(outcome.out, R"({"data":[],"count":0})");
}

TEST_F(MalclogTest, ACountBeyondTheAreaIsBoundedByIt) {
  for (const char* type : {"dst", "src", "app", "table", "detail", "host"}) {
    const Outcome outcome =
        list({Reply::records(table() + record({}), 0xffffffffU)}, {"listtype="s + type});
    EXPECT_EQ(outcome.exit_status, 0) << type;
    EXPECT_EQ(outcome.out.substr(outcome.out.size() - 10), type == "table"s ? R"("count":2})"
                                                           : type == "app"s ? R"("count":0})"
                                                                            : R"("count":1})");
  }
}

TEST_F(MalclogTest, FullBatchesOfManyAddresses) {
  // 26182 records fit behind the table, 26214 into a later batch; the claims are larger.
  std::string events;
  for (std::uint32_t i = 0; i < 26214; ++i) events += record({.dst = u32_bytes(i)});
  std::string others;
  for (std::uint32_t i = 0; i < 26214; ++i) others += record({.dst = u32_bytes(i + 26000)});
  Reply first = Reply::records(table() + events.substr(0, 26182 * 80), 30000);
  first.more();
  const Outcome outcome = list({first, Reply::records(others, 30000)}, {"listtype=dst", "limit=3"});
  // The addresses in both batches were hit twice: those of 26000 (0x6590) on, first seen first.
  EXPECT_EQ(outcome.out,
            R"({"data":[{"ip":"144.101.0.0","cnt":2,"ip_desc":"",)"
            R"("list":[{"cnt":2, "id":0, "name":"Emotet", "cname":"NULL"}]},)"
            R"({"ip":"145.101.0.0","cnt":2,"ip_desc":"",)"
            R"("list":[{"cnt":2, "id":0, "name":"Emotet", "cname":"NULL"}]}],"count":52214})");
  EXPECT_EQ(outcome.exit_status, 0);
}

TEST_F(MalclogTest, ErrorWordsComeBeforeAnyRequest) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{}, "INV_LISTTYPE\n"},
      {{"page=1"}, "INV_LISTTYPE\n"},
      {{"listtype=detail", "src=1.2.3.4.5"}, "INV_SRCIP\n"},
      {{"dst=300.1.1.1", "listtype=dst"}, "INV_DSTIP\n"},
      {{"listtype=detail", "tid=5"}, "INV_TYPE\n"},
  };
  for (const auto& [words, text] : cases) {
    const Outcome outcome = list({}, words);
    EXPECT_EQ(outcome.out, text);
    EXPECT_EQ(outcome.exit_status, 255);
    EXPECT_TRUE(requests_.empty());
  }
}

TEST_F(MalclogTest, AFailedCallPrintsItsText) {
  const Outcome sum = list({Reply::error(9, "BUSY")}, {"listtype=dst"});
  EXPECT_EQ(sum.out, "BUSY\n");
  EXPECT_EQ(sum.exit_status, 255);
  // KEEP: the event listing has begun by then.
  const Outcome detail = list({Reply::error(9, "BUSY")}, {"listtype=detail"});
  EXPECT_EQ(detail.out, "{\"data\":[BUSY\n");
  EXPECT_EQ(detail.exit_status, 255);
}

TEST_F(MalclogTest, AFailureInALaterBatchEndsASumWithoutRows) {
  Reply first = Reply::records(table() + record({}), 1);
  first.more();
  const Outcome sum = list({first, Reply::error(1, "GONE")}, {"listtype=src"});
  EXPECT_EQ(sum.out, "GONE\n");
  const Outcome detail = list({first, Reply::error(1, "GONE")}, {"listtype=detail"});
  EXPECT_EQ(detail.out.substr(0, 20), R"({"data":[{"list":[{")");
  EXPECT_EQ(detail.out.substr(detail.out.size() - 20), "\"uri_sign\":\"0\"}GONE\n"s);
  EXPECT_EQ(detail.exit_status, 255);
}

TEST_F(MalclogTest, WithoutADictionaryLibraryTheCallFails) {
  Reply reply = Reply::records(table() + record({}), 1);
  reply.with_syncdesc(1);
  const Outcome outcome = list({reply}, {"listtype=app"});
  EXPECT_EQ(outcome.exit_status, 255);
  EXPECT_NE(outcome.out.find("dict.so"), std::string::npos);
}

TEST_F(MalclogTest, WithoutConfigurationTheListingStandsWithoutLabels) {
  Appliance bare;
  ScriptedDaemon daemon(bare, Daemon::kMgmt, {Reply::records(table() + record({.bitmap = 4}), 1)});
  const Outcome outcome = bare.run({"malclog", "list", "listtype=dst"});
  EXPECT_EQ(outcome.out, R"({"data":[{"ip":"93.184.216.34","cnt":1,"ip_desc":"",)"
                         R"("list":[{"cnt":1, "id":7, "name":"", "cname":""}]}],"count":1})");
  EXPECT_EQ(outcome.err, "fopen: No such file or directory\n");
  EXPECT_EQ(outcome.exit_status, 0);
}

TEST_F(MalclogTest, WithoutADaemonNothingIsListed) {
  Appliance alone;
  const Outcome outcome = alone.run({"malclog", "list", "listtype=detail"});
  EXPECT_EQ(outcome.out, "can't connect to ./usr/ramdisk/var/mgmt.d");
  EXPECT_EQ(outcome.exit_status, 255);
}

}  // namespace
}  // namespace qsvmon::harness
