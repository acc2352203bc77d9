#include "commands/malclog/malc_fold.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/malclog/malc_samples.h"
#include "tests/unit/support/scarce_memory.h"

namespace qsvmon {
namespace {

using namespace malc_samples;

const SignatureTable kTable = common_table({
    {4, {.tid = 104, .mkmode = 9, .itlgc = 7, .name = "four"}},
    {5, {.tid = 105, .mkmode = 2, .itlgc = 32, .name = "five"}},
    {40, {.tid = 140, .name = "forty"}},
});

MalcQuery by_host() {
  return query_of(MalcListType::kHost);
}

std::string list(const MalcQuery& query, const std::vector<MalcEvent>& events) {
  return listing(query, kTable, events, common_categories());
}

TEST(MalcHostListing, RowsByTotalWithTheirSignatures) {
  EXPECT_EQ(list(by_host(), {of_host("a.example", bit(1)), of_host("b.example", bit(1) | bit(4)),
                             of_host("b.example", bit(2) | bit(3)), of_host("b.example", bit(3))}),
            R"({"data":[{"host":"b.example","cnt":3,)"
            R"("list":[{"cnt":1, "name":"one", "mkmode":1, "cname":"NULL"},)"
            R"({"cnt":1, "name":"botnet", "mkmode":2, "cname":"zombie net"},)"
            R"({"cnt":1, "name":"four", "mkmode":9, "cname":"NULL"}]},)"
            R"({"host":"a.example","cnt":1,)"
            R"("list":[{"cnt":1, "name":"one", "mkmode":1, "cname":"NULL"}]}],"count":2})");
}

TEST(MalcHostListing, ASlotBeyondThe32ndCountsLikeTheFirst) {
  EXPECT_EQ(list(by_host(), {of_host("a", bit(40)), of_host("a", bit(40) | bit(0))}),
            R"({"data":[{"host":"a","cnt":2,)"
            R"("list":[{"cnt":1, "name":"zero", "mkmode":1, "cname":"NULL"},)"
            R"({"cnt":2, "name":"forty", "mkmode":1, "cname":"NULL"}]}],"count":1})");
}

TEST(MalcHostListing, ACategoryBeyondThePoolHasNoNames) {
  EXPECT_EQ(list(by_host(), {of_host("a", bit(5))}),
            R"({"data":[{"host":"a","cnt":1,)"
            R"("list":[{"cnt":1, "name":"", "mkmode":2, "cname":""}]}],"count":1})");
}

TEST(MalcHostListing, EventsWithoutHostOrBitsAreNotCounted) {
  MalcEvent empty = of_host("a", bit(1));
  empty.time_secs = 0;
  EXPECT_EQ(list(by_host(), {of_host("", bit(1)), of_host("a", 0), empty}),
            R"({"data":[],"count":0})");
}

TEST(MalcHostListing, BothFiltersMustLetAnEventPass) {
  MalcQuery query = by_host();
  query.tid = 102;
  query.type = 1;
  query.itlgc_id = 7;
  EXPECT_EQ(
      list(query, {of_host("a", bit(2)), of_host("b", bit(3)), of_host("c", bit(1) | bit(2)),
                   of_host("c", bit(2))}),
      R"({"data":[{"host":"c","cnt":2,)"
      R"("list":[{"cnt":2, "name":"botnet", "mkmode":2, "cname":"zombie net"}]},)"
      R"({"host":"a","cnt":1,)"
      R"("list":[{"cnt":1, "name":"botnet", "mkmode":2, "cname":"zombie net"}]}],"count":2})");
  query.itlgc_id = 9;
  EXPECT_EQ(list(query, {of_host("a", bit(2))}), R"({"data":[],"count":0})");
}

/// The rows as "host*total" and the count.
std::string rows(const MalcQuery& query, const std::vector<MalcEvent>& events) {
  const std::string text = list(query, events);
  std::string result;
  const std::string key = R"({"host":")";
  for (std::size_t i = 0; (i = text.find(key, i)) != std::string::npos; ++i) {
    const std::size_t begin = i + key.size();
    const std::size_t end = text.find(R"(","cnt":)", begin);
    result += text.substr(begin, end - begin) + "*" +
              std::to_string(std::atoi(text.c_str() + end + 8)) + " ";
  }
  return result + text.substr(text.rfind("],\"count\""));
}

const std::string k42(42, 'h');
const std::string k43(43, 'h');
const std::string k44(44, 'h');
const std::string k45(45, 'h');

MalcEvent h(std::string_view host) {
  return of_host(host, bit(1));
}

TEST(MalcHostListing, HostsAreOneWhenLengthAndBytesAreEqual) {
  EXPECT_EQ(rows(by_host(), {h("abc"), h("abcd"), h("abC"), h("abc"), h("ab")}),
            R"(abc*2 abcd*1 abC*1 ab*1 ],"count":4})");
  // The length tells apart what prints the same.
  EXPECT_EQ(rows(by_host(), {h("abc"), h(std::string_view("abc\0", 4)), h("abc"),
                             h(std::string_view("abc\0d", 5))}),
            R"(abc*2 abc*1 abc*1 ],"count":3})");
}

TEST(MalcHostListing, HostsThatShareSixteenBytesAreToldApart) {
  EXPECT_EQ(rows(by_host(), {h("0123456789abcdefA"), h("0123456789abcdefB"), h("0123456789abcdef"),
                             h("0123456789abcdefB")}),
            R"(0123456789abcdefB*2 0123456789abcdefA*1 0123456789abcdef*1 ],"count":3})");
}

TEST(MalcHostListing, AHostOf42BytesIsWhole) {
  EXPECT_EQ(rows(by_host(), {h(k42), h(k42)}), k42 + R"(*2 ],"count":1})");
}

// KEEP: its row's length is overwritten; nobody ever sees it.
TEST(MalcHostListing, AHostOf43BytesIsNeitherShownNorCounted) {
  EXPECT_EQ(rows(by_host(), {h(k43), h(k43), h("a")}), R"(a*1 ],"count":1})");
  EXPECT_EQ(rows(by_host(), {h(k42), h(k43), h(k42)}), k42 + R"(*2 ],"count":1})");
}

// KEEP: a longer host is never found again, so each event is a row.
TEST(MalcHostListing, LongerHostsMakeARowEach) {
  EXPECT_EQ(rows(by_host(), {h(k44), h(k44), h(k45)}),
            k42 + "*1 " + k42 + "*1 " + k42 + R"(*1 ],"count":3})");
}

// KEEP: a host of 42 bytes finds the newest row with its bytes.
TEST(MalcHostListing, AHostOf42BytesJoinsTheNewestRowOfALongerOne) {
  MalcEvent long_host = of_host(k44, bit(0));
  // Two long ones; the 42-byte one joins the second, then one more long one, which it joins next.
  EXPECT_EQ(list(by_host(), {long_host, long_host, h(k42), h(k42), long_host, h(k42)}),
            R"({"data":[{"host":")" + k42 +
                R"(","cnt":3,"list":[{"cnt":1, "name":"zero", "mkmode":1, "cname":"NULL"},)"
                R"({"cnt":2, "name":"one", "mkmode":1, "cname":"NULL"}]},{"host":")" +
                k42 +
                R"(","cnt":2,"list":[{"cnt":1, "name":"zero", "mkmode":1, "cname":"NULL"},)"
                R"({"cnt":1, "name":"one", "mkmode":1, "cname":"NULL"}]},{"host":")" +
                k42 +
                R"(","cnt":1,"list":[{"cnt":1, "name":"zero", "mkmode":1, "cname":"NULL"}]}],)"
                R"("count":3})");
}

TEST(MalcHostListing, ALongerHostReplacesTheRowOfItsFirst42Bytes) {
  EXPECT_EQ(rows(by_host(), {h(k42), h(k42), h(k44), h(k42)}),
            k42 + "*2 " + k42 + R"(*2 ],"count":2})");
  // One that differs in its last byte is another host.
  EXPECT_EQ(rows(by_host(), {h(k44), h(k42.substr(1) + "x")}),
            k42 + "*1 " + k42.substr(1) + R"(x*1 ],"count":2})");
}

TEST(MalcHostListing, LengthsBeyondTheFieldUseItsFirst42Bytes) {
  for (const int length : {46, 60, 200, 255}) {
    MalcEvent e = h(k45);
    e.host_len = static_cast<std::uint8_t>(length);
    EXPECT_EQ(rows(by_host(), {e, h(k42), e}), k42 + "*2 " + k42 + R"(*1 ],"count":2})");
  }
}

TEST(MalcHostListing, CountsEventsOfAHostLongerThanItsField) {
  EXPECT_EQ(rows(by_host(), std::vector<MalcEvent>(5000, h(k45))).substr(42 * 99 + 3 * 99),
            R"(],"count":5000})");
}

TEST(MalcHostListing, Pages) {
  MalcQuery query = by_host();
  query.limit = 2;
  const std::vector<MalcEvent> events = {h("a"), h("b"), h("c"), h("d")};
  EXPECT_EQ(rows(query, events), R"(a*1 ],"count":4})");
  query.page = 2;
  EXPECT_EQ(rows(query, events), R"(b*1 c*1 ],"count":4})");
  query.page = 3;
  EXPECT_EQ(rows(query, events), R"(d*1 ],"count":4})");
  query.page = 0;
  EXPECT_EQ(rows(query, events), R"(],"count":4})");
}

constexpr LargeMemory kScarce{ScarceMemory::allocate, large_memory_free};

TEST(MalcHostAgg, AnEventWithoutMemoryIsDropped) {
  const MalcQuery query = by_host();
  const TidPool tids = pool(query, kTable);
  for (int chunks = 0; chunks < 2; ++chunks) {
    ScarceMemory::allow(chunks);
    MalcHostAgg hosts(tids, kScarce);
    hosts.add(std::vector<MalcEvent>{h("a"), h(k45), h(k43), h("a")});
    EXPECT_EQ(hosts.size(), 0U) << chunks;
  }
  ScarceMemory::allow(2);
  MalcHostAgg hosts(tids, kScarce);
  hosts.add(std::vector<MalcEvent>{h("a")});
  hosts.add(std::vector<MalcEvent>{of_host("b", 0xff), h(k45)});
  ASSERT_EQ(hosts.size(), 2U);
  EXPECT_EQ(hosts[0].total, 1U);
  // Four signatures of an event and those of the row are too many together.
  hosts.add(std::vector<MalcEvent>{of_host("a", 0x0f), of_host("a", 0xf0), of_host("a", 0x0f)});
  EXPECT_EQ(hosts[0].total, 3U);
}

}  // namespace
}  // namespace qsvmon
