#include "commands/malclog/malc_detail.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <string>
#include <vector>

#include "format/time.h"
#include "tests/unit/malclog/malc_samples.h"

namespace qsvmon {
namespace {

using namespace malc_samples;

class MalcDetailTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    tzset();
    reset_local_time();
    set_category(categories_, 7, "botnet", "zombie net");
    set_category(categories_, 8, "c2", "control");
    set_category(categories_, 31, "last", "the last");
  }

  /// What `malclog list listtype=detail` prints of `events` with `query` and `signatures`.
  std::string listing(const MalcQuery& query, const SignatureTable& signatures,
                      const std::vector<MalcEvent>& events) {
    const TidPool tids = pool(query, signatures);
    MemoryPrinter out;
    print_detail_begin(out);
    MalcDetail detail(out, query, {tids, categories_});
    detail.add(events);
    detail.finish();
    return out.str();
  }

  /// The "list" member alone.
  std::string list(const MalcQuery& query, const SignatureTable& signatures, std::uint64_t bitmap) {
    const TidPool tids = pool(query, signatures);
    MemoryPrinter out;
    print_detail_list(out, query, {tids, categories_}, bitmap);
    return out.str();
  }

  Categories categories_{};
};

const SignatureTable kSignatures = table({
    {0, {.tid = 100, .type = 0, .name = "zero"}},
    {1, {.tid = 101, .type = 0, .name = "Emotet"}},
    {2, {.tid = 102, .type = 1, .mkmode = 2, .itlgc = 7, .name = "hidden"}},
    {3, {.tid = 103, .type = 1, .itlgc = 7, .name = "DGA"}},
    {4, {.tid = 104, .type = 0, .mkmode = 2, .itlgc = 7, .name = "second"}},
    {5, {.tid = 105, .type = 0, .mkmode = 2, .itlgc = 8, .name = "third"}},
    {6, {.tid = 106, .type = 0, .mkmode = 3, .itlgc = 7, .name = "unlisted"}},
    {7, {.tid = 107, .type = 0, .mkmode = 0, .itlgc = 7, .name = "unlisted"}},
    {62, {.tid = 162, .type = 0, .mkmode = 2, .itlgc = 31, .name = "high"}},
    {63, {.tid = 65535, .type = 255, .name = "end"}},
});

MalcEvent full_event() {
  MalcEvent e{};
  e.time_secs = 1700000000;
  e.src_net = net(10, 0, 0, 1);
  e.dst_net = net(93, 184, 216, 34);
  e.sport_net = net_port(40000);
  e.dport_net = net_port(443);
  e.bitmap = bit(1) | bit(3);
  e.apid = 77;
  const std::uint8_t mac[6] = {0x00, 0x11, 0x22, 0xaa, 0xbb, 0xcc};
  std::memcpy(e.mac, mac, sizeof mac);
  e.proto = 6;
  e.sign = 5;
  e.host_len = 12;
  std::memcpy(e.host, "evil.example", 12);
  return e;
}

TEST_F(MalcDetailTest, OneWholeListing) {
  EXPECT_EQ(listing({}, kSignatures, {full_event()}),
            R"({"data":[{"list":[{"tid":101,"type":0,"name":"Emotet","mkmode":1,"cnt":1},)"
            R"({"tid":103,"type":1,"name":"DGA","mkmode":1,"cnt":1}],)"
            R"("src_ip":"10.0.0.1","src_port":40000,"dst_ip":"93.184.216.34","dst_port":443,)"
            R"("apid":77,"appname":"undname","appcname":"undname","mac":"00-11-22-aa-bb-cc",)"
            R"("req_time":"2023-11-14/22:13:20","time":1700000000,"proto":6,"bitmap":10,)"
            R"("host":"evil.example","srcip_desc":"","dstip_desc":"","sign":"5","ipmac_desc":"",)"
            R"("src_sign":"1","dst_sign":"0","dns_sign":"1","uri_sign":"0"}], "count":1})");
}

TEST_F(MalcDetailTest, NothingIsListedWithoutEvents) {
  EXPECT_EQ(listing({}, kSignatures, {}), R"({"data":[], "count":0})");
}

TEST_F(MalcDetailTest, TheLargestValuesOfARow) {
  MalcEvent e;
  std::memset(&e, 0xff, sizeof e);
  MemoryPrinter out;
  print_detail_row(out, e);
  const std::string host(45, '\xff');
  EXPECT_EQ(out.str(),
            R"("src_ip":"255.255.255.255","src_port":65535,"dst_ip":"255.255.255.255",)"
            R"("dst_port":65535,"apid":65535,"appname":"undname","appcname":"undname",)"
            R"("mac":"ff-ff-ff-ff-ff-ff","req_time":"2106-02-07/06:28:15","time":4294967295,)"
            R"("proto":255,"bitmap":18446744073709551615,"host":")" +
                host +
                R"(","srcip_desc":"","dstip_desc":"","sign":"255","ipmac_desc":"",)"
                R"("src_sign":"1","dst_sign":"1","dns_sign":"1","uri_sign":"1"})");
}

TEST_F(MalcDetailTest, AHostLengthOfZeroHidesTheHost) {
  MalcEvent e = full_event();
  e.host_len = 0;
  MemoryPrinter out;
  print_detail_row(out, e);
  EXPECT_NE(out.str().find(R"("bitmap":10,"host":"","srcip_desc")"), std::string::npos);
}

TEST_F(MalcDetailTest, TheHostIsPrintedUpToItsNulWhateverItsLengthSays) {
  MalcEvent e = full_event();
  e.host_len = 4;
  MemoryPrinter out;
  print_detail_row(out, e);
  EXPECT_NE(out.str().find(R"("host":"evil.example",)"), std::string::npos);
  e.host_len = 200;
  MemoryPrinter longer;
  print_detail_row(longer, e);
  EXPECT_NE(longer.str().find(R"("host":"evil.example",)"), std::string::npos);
}

TEST_F(MalcDetailTest, TextsAreNotEscaped) {
  MalcEvent e = full_event();
  std::memcpy(e.host, "a\"b\\c\n\0", 7);
  MemoryPrinter out;
  print_detail_row(out, e);
  EXPECT_NE(out.str().find("\"host\":\"a\"b\\c\n\","), std::string::npos);
}

TEST_F(MalcDetailTest, TheSignBitsAreToldApart) {
  const char* const expected[] = {
      R"("src_sign":"0","dst_sign":"0","dns_sign":"0","uri_sign":"0"})",
      R"("src_sign":"1","dst_sign":"0","dns_sign":"0","uri_sign":"0"})",
      R"("src_sign":"0","dst_sign":"1","dns_sign":"0","uri_sign":"0"})",
      R"("src_sign":"0","dst_sign":"0","dns_sign":"1","uri_sign":"0"})",
      R"("src_sign":"0","dst_sign":"0","dns_sign":"0","uri_sign":"1"})",
      R"("src_sign":"0","dst_sign":"0","dns_sign":"0","uri_sign":"0"})",
  };
  const std::uint8_t signs[] = {0, 1, 2, 4, 8, 0xf0};
  for (std::size_t i = 0; i < std::size(signs); ++i) {
    MalcEvent e = full_event();
    e.sign = signs[i];
    MemoryPrinter out;
    print_detail_row(out, e);
    EXPECT_NE(out.str().find(expected[i]), std::string::npos) << out.str();
  }
}

TEST_F(MalcDetailTest, TheListNamesEverySignatureInSlotOrder) {
  EXPECT_EQ(list({}, kSignatures, bit(63) | bit(0)),
            R"({"list":[{"tid":100,"type":0,"name":"zero","mkmode":1,"cnt":1},)"
            R"({"tid":65535,"type":255,"name":"end","mkmode":1,"cnt":1}],)");
}

TEST_F(MalcDetailTest, ACategoryIsListedOncePerEvent) {
  EXPECT_EQ(list({}, kSignatures, bit(2) | bit(3) | bit(4) | bit(5) | bit(62)),
            R"({"list":[{"id":7,"type":0,"name":"botnet","cname":"zombie net","mkmode":2,"cnt":1},)"
            R"({"tid":103,"type":1,"name":"DGA","mkmode":1,"cnt":1},)"
            R"({"id":8,"type":0,"name":"c2","cname":"control","mkmode":2,"cnt":1},)"
            R"({"id":31,"type":0,"name":"last","cname":"the last","mkmode":2,"cnt":1}],)");
}

TEST_F(MalcDetailTest, OtherModesAreNotListed) {
  EXPECT_EQ(list({}, kSignatures, bit(6) | bit(7) | bit(8) | bit(1)),
            R"({"list":[{"tid":101,"type":0,"name":"Emotet","mkmode":1,"cnt":1}],)");
}

TEST_F(MalcDetailTest, TheCategoryFilterChoosesWhatIsListed) {
  MalcQuery query;
  query.itlgc_id = 7;
  EXPECT_EQ(list(query, kSignatures, ~std::uint64_t{0}),
            R"({"list":[{"id":7,"type":0,"name":"botnet","cname":"zombie net","mkmode":2,"cnt":1},)"
            R"({"tid":103,"type":1,"name":"DGA","mkmode":1,"cnt":1}],)");
}

TEST_F(MalcDetailTest, CategoriesBeyondThePoolHaveNoNames) {
  const SignatureTable signatures = table({
      {1, {.tid = 1, .mkmode = 2, .itlgc = 32}},
      {2, {.tid = 2, .mkmode = 2, .itlgc = 255}},
      {3, {.tid = 3, .mkmode = 2, .itlgc = 63}},
      {4, {.tid = 4, .mkmode = 2, .itlgc = 96}},  // shares the bit of 32
  });
  EXPECT_EQ(list({}, signatures, 0x1e),
            R"({"list":[{"id":32,"type":0,"name":"","cname":"","mkmode":2,"cnt":1},)"
            R"({"id":255,"type":0,"name":"","cname":"","mkmode":2,"cnt":1}],)");
  MalcQuery query;
  query.itlgc_id = 96;
  EXPECT_EQ(list(query, signatures, 0x1e),
            R"({"list":[{"id":96,"type":0,"name":"","cname":"","mkmode":2,"cnt":1}],)");
}

TEST_F(MalcDetailTest, ANamedSignatureIsTheOnlyEntry) {
  MalcQuery query;
  query.tid = 102;
  query.type = 1;
  EXPECT_EQ(list(query, kSignatures, ~std::uint64_t{0}),
            R"({"list":[{"tid":102,"type":1,"name":"hidden","cnt":1}],)");
}

TEST_F(MalcDetailTest, ASignatureNameFillsItsFieldAtMost) {
  const SignatureTable signatures =
      table({{0, {.tid = 1, .name = "0123456789abcdef0123456789abcdef+"}}});
  EXPECT_EQ(list({}, signatures, 1),
            R"({"list":[{"tid":1,"type":0,"name":"0123456789abcdef0123456789abcdef",)"
            R"("mkmode":1,"cnt":1}],)");
}

/// The times of the events that a query lists, each alone on a page of its own size.
class MalcDetailFilterTest : public MalcDetailTest {
 protected:
  std::vector<int> kept(const MalcQuery& query, std::vector<MalcEvent> events) {
    for (std::size_t i = 0; i < events.size(); ++i) {
      if (events[i].time_secs != 0) events[i].time_secs = static_cast<std::uint32_t>(i + 1);
    }
    const std::string text = listing(query, kSignatures, events);
    std::vector<int> numbers;
    for (std::size_t at = 0; (at = text.find("\"time\":", at)) != std::string::npos; ++at) {
      numbers.push_back(std::atoi(text.c_str() + at + 7) - 1);
    }
    const std::string tail = "], \"count\":" + std::to_string(numbers.size()) + "}";
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
    return numbers;
  }
};

using Kept = std::vector<int>;

TEST_F(MalcDetailFilterTest, EmptyRecordsAreSkipped) {
  MalcEvent empty = event(bit(1));
  empty.time_secs = 0;
  EXPECT_EQ(kept({}, {event(bit(1)), empty, event(bit(1))}), (Kept{0, 2}));
}

TEST_F(MalcDetailFilterTest, ByApplication) {
  MalcEvent other = event(bit(1));
  other.apid = 65535;
  MalcQuery query;
  query.apid = 0;
  EXPECT_EQ(kept(query, {event(bit(1)), other}), (Kept{0}));
  query.apid = 65535;
  EXPECT_EQ(kept(query, {event(bit(1)), other}), (Kept{1}));
  query.apid = 65536;
  EXPECT_EQ(kept(query, {event(bit(1)), other}), (Kept{}));
  query.apid = -2;
  EXPECT_EQ(kept(query, {event(bit(1)), other}), (Kept{}));
}

TEST_F(MalcDetailFilterTest, BySourceAndDestination) {
  MalcEvent a = event(bit(1));
  a.src_net = net(10, 0, 0, 1);
  a.dst_net = net(10, 0, 0, 2);
  MalcEvent b = event(bit(1));
  b.src_net = net(10, 0, 0, 2);
  b.dst_net = net(10, 0, 0, 1);
  MalcQuery by_src;
  by_src.src_net = net(10, 0, 0, 1);
  EXPECT_EQ(kept(by_src, {a, b, event(bit(1))}), (Kept{0}));
  MalcQuery by_dst;
  by_dst.dst_net = net(10, 0, 0, 1);
  EXPECT_EQ(kept(by_dst, {a, b, event(bit(1))}), (Kept{1}));
  MalcQuery by_both;
  by_both.src_net = net(10, 0, 0, 2);
  by_both.dst_net = net(10, 0, 0, 1);
  EXPECT_EQ(kept(by_both, {a, b, a}), (Kept{1}));
}

// KEEP: the filter text may be longer than the host, never shorter.
TEST_F(MalcDetailFilterTest, ByHost) {
  const std::vector<MalcEvent> events = {
      of_host("exam", bit(1)),        of_host("example", bit(1)), of_host("example.com", bit(1)),
      of_host("example.co", bit(1)),  of_host("", bit(1)),        of_host("Example", bit(1)),
      of_host("example.net", bit(1)), of_host("e", bit(1)),
  };
  MalcQuery query;
  query.host = "example.com";
  EXPECT_EQ(kept(query, events), (Kept{0, 1, 2, 3, 7}));
  query.host = "exam";
  EXPECT_EQ(kept(query, events), (Kept{0, 7}));
  query.host = "x";
  EXPECT_EQ(kept(query, events), (Kept{}));
  query.host = "";  // an empty text is a filter that no host is a part of
  EXPECT_EQ(kept(query, events), (Kept{}));
}

TEST(MalcHostFilter, StopsAtTheNulOfBothTexts) {
  MalcEvent e = of_host("abc", 1);
  e.host_len = 6;  // three bytes behind the text are NUL
  EXPECT_TRUE(host_passes("abc", e));
  EXPECT_FALSE(host_passes("abcd", e));
  EXPECT_FALSE(host_passes("ab", e));
  std::memset(e.host, 0, sizeof e.host);
  EXPECT_TRUE(host_passes("", e));
}

TEST(MalcHostFilter, ReadsNoMoreThanTheField) {
  const std::string full(45, 'h');
  MalcEvent e = of_host(full, 1);
  for (const int length : {45, 46, 255}) {
    e.host_len = static_cast<std::uint8_t>(length);
    EXPECT_TRUE(host_passes(full.c_str(), e));
    EXPECT_TRUE(host_passes((full + "more").c_str(), e));
    EXPECT_FALSE(host_passes(full.substr(1).c_str(), e));
  }
  e.host_len = 44;
  EXPECT_TRUE(host_passes(full.substr(1).c_str(), e));
}

TEST_F(MalcDetailFilterTest, BySignature) {
  MalcQuery query;
  query.tid = 103;
  query.type = 1;
  EXPECT_EQ(kept(query, {event(bit(3)), event(bit(1)), event(~std::uint64_t{0}), event(0)}),
            (Kept{0, 2}));
  query.type = 0;
  EXPECT_EQ(kept(query, {event(bit(3)), event(~std::uint64_t{0})}), (Kept{}));
}

// KEEP: the signature in slot 0 is listed for every event, also those that it did not match.
TEST_F(MalcDetailFilterTest, TheSignatureInSlotZeroListsEveryEvent) {
  MalcQuery query;
  query.tid = 100;
  query.type = 0;
  EXPECT_EQ(kept(query, {event(bit(3)), event(0), event(bit(0))}), (Kept{0, 1, 2}));
}

TEST_F(MalcDetailFilterTest, EventsWithoutAListAreNeitherShownNorCounted) {
  EXPECT_EQ(kept({}, {event(0), event(bit(6) | bit(7)), event(bit(9)), event(bit(2))}), (Kept{3}));
  MalcQuery query;
  query.itlgc_id = 8;
  EXPECT_EQ(kept(query, {event(bit(2)), event(bit(5)), event(bit(1))}), (Kept{1}));
  query.itlgc_id = 7;
  EXPECT_EQ(kept(query, {event(bit(6)), event(bit(5) | bit(4)), event(bit(3))}), (Kept{1, 2}));
}

TEST_F(MalcDetailFilterTest, AllFiltersTogether) {
  MalcEvent match = full_event();
  std::vector<MalcEvent> events(8, match);
  events[0].apid = 78;
  events[1].src_net = net(10, 0, 0, 2);
  events[2].dst_net = net(10, 0, 0, 2);
  events[3].host_len = 0;
  events[4].host[0] = 'E';
  events[5].bitmap = bit(1);
  events[6].time_secs = 0;
  MalcQuery query;
  query.apid = 77;
  query.src_net = net(10, 0, 0, 1);
  query.dst_net = net(93, 184, 216, 34);
  query.host = "evil.example";
  query.tid = 103;
  query.type = 1;
  query.itlgc_id = 99;  // a named signature is listed whatever its category
  EXPECT_EQ(kept(query, events), (Kept{7}));
}

class MalcDetailPageTest : public MalcDetailTest {
 protected:
  /// The times shown on a page of 25 matching events of times 1 to 25, and the count.
  std::string page(int number, int limit) {
    std::vector<MalcEvent> events;
    for (std::uint32_t i = 1; i <= 25; ++i) {
      events.push_back(event(bit(1)));
      events.back().time_secs = i;
      events.push_back(event(0));  // never counted
    }
    MalcQuery query;
    query.page = number;
    query.limit = limit;
    const std::string text = listing(query, kSignatures, events);
    std::string shown;
    for (std::size_t at = 0; (at = text.find(",\"time\":", at)) != std::string::npos; ++at) {
      shown += std::to_string(std::atoi(text.c_str() + at + 8)) + " ";
    }
    return shown + text.substr(text.rfind("\"count\""));
  }
};

TEST_F(MalcDetailPageTest, PagesAreCutFromWhatMatched) {
  EXPECT_EQ(page(1, 3), R"(1 2 3 "count":25})");
  EXPECT_EQ(page(2, 10), R"(11 12 13 14 15 16 17 18 19 20 "count":25})");
  EXPECT_EQ(page(3, 10), R"(21 22 23 24 25 "count":25})");
  EXPECT_EQ(page(4, 10), R"("count":25})");
  EXPECT_EQ(page(1, 0), R"("count":25})");
  EXPECT_EQ(page(0, 10), R"("count":25})");
  EXPECT_EQ(page(1, -1), R"("count":25})");  // 0 up to -1, as signed numbers
}

TEST_F(MalcDetailPageTest, PositionsAreSignedAndWrap) {
  EXPECT_EQ(page(0, -2), R"("count":25})");              // 2 up to 0
  EXPECT_EQ(page(-1, 2147483647), R"("count":25})");     // 2 up to -2147483647
  EXPECT_EQ(page(1431655766, 3), R"(1 2 "count":25})");  // -1 up to 2
  EXPECT_EQ(page(65537, 65536), page(1, 65536));
}

TEST_F(MalcDetailPageTest, RowsAreSeparatedFromTheFirstShownOn) {
  std::vector<MalcEvent> events(3, full_event());
  MalcQuery query;
  query.page = 2;
  query.limit = 1;
  const std::string text = listing(query, kSignatures, events);
  EXPECT_EQ(text.substr(0, 18), R"({"data":[{"list":[)");
  query.page = 1;
  query.limit = 2;
  const std::string two = listing(query, kSignatures, events);
  EXPECT_NE(two.find(R"("uri_sign":"0"},{"list":[)"), std::string::npos);
  EXPECT_EQ(two.find(R"("uri_sign":"0"},)", two.find(R"("uri_sign":"0"},)") + 1),
            std::string::npos);
}

TEST_F(MalcDetailTest, CountingContinuesOverBatches) {
  MalcQuery query;
  query.page = 2;
  query.limit = 2;
  const TidPool tids = pool(query, kSignatures);
  MemoryPrinter out;
  MalcDetail detail(out, query, {tids, categories_});
  std::vector<MalcEvent> batch(3, full_event());
  detail.add(batch);
  detail.add({});
  batch.resize(2);
  detail.add(batch);
  EXPECT_EQ(detail.count(), 5U);
  const std::string text = out.str();
  EXPECT_EQ(std::count(text.begin(), text.end(), '{'), 2 * 3);  // two rows with two entries each
}

}  // namespace
}  // namespace qsvmon
