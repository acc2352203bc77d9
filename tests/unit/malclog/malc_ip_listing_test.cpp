#include "commands/malclog/malc_fold.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/malclog/malc_samples.h"
#include "tests/unit/support/scarce_memory.h"

namespace qsvmon {
namespace {

using namespace malc_samples;

const SignatureTable kTable = common_table({
    {4, {.tid = 104, .mkmode = 2, .itlgc = 8, .name = "four"}},
    {5, {.tid = 105, .mkmode = 0, .itlgc = 7, .name = "five"}},
    {6, {.tid = 106, .mkmode = 2, .itlgc = 39, .name = "six"}},  // bit 7 of the mask, like 7
    {7, {.tid = 107, .mkmode = 2, .itlgc = 255, .name = "seven"}},
    {40, {.tid = 140, .name = "forty"}},
});

Categories categories() {
  Categories result = common_categories();
  set_category(result, 8, "c2", "control");
  return result;
}

MalcQuery dst() {
  return query_of(MalcListType::kDst);
}

std::string list(const MalcQuery& query, const std::vector<MalcEvent>& events) {
  return listing(query, kTable, events, categories());
}

constexpr std::uint8_t kA = 1, kB = 2, kC = 3, kD = 4, kE = 5;
MalcEvent at(std::uint8_t last, std::uint64_t bitmap) {
  return to(net(10, 0, 0, last), bitmap);
}

TEST(MalcIpListing, RowsByTotalWithTheirSignatures) {
  EXPECT_EQ(list(dst(), {at(kA, bit(1)), at(kB, bit(0) | bit(1)), at(kB, bit(1))}),
            R"({"data":[{"ip":"10.0.0.2","cnt":2,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"zero", "cname":"NULL"},)"
            R"({"cnt":2, "id":0, "name":"one", "cname":"NULL"}]},)"
            R"({"ip":"10.0.0.1","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"one", "cname":"NULL"}]}],"count":2})");
}

TEST(MalcIpListing, ASlotBeyondThe32ndCountsLikeTheFirst) {
  EXPECT_EQ(list(dst(), {at(kA, bit(40)), at(kA, bit(40) | bit(0))}),
            R"({"data":[{"ip":"10.0.0.1","cnt":2,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"zero", "cname":"NULL"},)"
            R"({"cnt":2, "id":0, "name":"forty", "cname":"NULL"}]}],"count":1})");
}

TEST(MalcIpListing, SourceAndDestinationAreToldApart) {
  MalcEvent e = event(bit(1));
  e.src_net = net(1, 2, 3, 4);
  e.dst_net = net(255, 254, 253, 252);
  EXPECT_EQ(list(dst(), {e}),
            R"({"data":[{"ip":"255.254.253.252","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"one", "cname":"NULL"}]}],"count":1})");
  MalcQuery src;
  src.listtype = MalcListType::kSrc;
  EXPECT_EQ(list(src, {e}),
            R"({"data":[{"ip":"1.2.3.4","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"one", "cname":"NULL"}]}],"count":1})");
}

TEST(MalcIpListing, AddressZeroIsAnAddress) {
  EXPECT_EQ(list(dst(), {to(0, bit(1))}),
            R"({"data":[{"ip":"0.0.0.0","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"one", "cname":"NULL"}]}],"count":1})");
}

TEST(MalcIpListing, EmptyRecordsAndEventsWithoutBitsAreNotCounted) {
  MalcEvent empty = at(kA, bit(1));
  empty.time_secs = 0;
  EXPECT_EQ(list(dst(), {empty, at(kA, 0)}), R"({"data":[],"count":0})");
}

TEST(MalcIpListing, TheOtherListingsFiltersDoNotCount) {
  MalcQuery query = dst();
  query.src_net = net(9, 9, 9, 9);
  query.dst_net = net(9, 9, 9, 9);
  query.apid = 4;
  query.host = "nobody";
  EXPECT_EQ(list(query, {at(kA, bit(5))}),
            R"({"data":[{"ip":"10.0.0.1","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"five", "cname":"NULL"}]}],"count":1})");
}

// KEEP: the counts of further slots of a category are not added to its entry.
TEST(MalcIpListing, ACategoryIsListedOnceWithItsFirstSlotsCount) {
  EXPECT_EQ(
      list(dst(), {at(kA, bit(3)), at(kA, bit(2) | bit(3) | bit(4)), at(kA, bit(3) | bit(1))}),
      R"({"data":[{"ip":"10.0.0.1","cnt":3,"ip_desc":"",)"
      R"("list":[{"cnt":1, "id":0, "name":"one", "cname":"NULL"},)"
      R"({"cnt":1, "id":7, "name":"botnet", "cname":"zombie net"},)"
      R"({"cnt":1, "id":8, "name":"c2", "cname":"control"}]}],"count":1})");
}

// KEEP: categories are told apart by their numbers modulo 32.
TEST(MalcIpListing, CategoriesBeyondThePoolHaveNoNamesAndShareBits) {
  EXPECT_EQ(list(dst(), {at(kA, bit(2) | bit(6) | bit(7))}),
            R"({"data":[{"ip":"10.0.0.1","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":7, "name":"botnet", "cname":"zombie net"},)"
            R"({"cnt":1, "id":255, "name":"", "cname":""}]}],"count":1})");
  EXPECT_EQ(list(dst(), {at(kA, bit(6))}),
            R"({"data":[{"ip":"10.0.0.1","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":39, "name":"", "cname":""}]}],"count":1})");
}

TEST(MalcIpListing, TheCategoryFilterCountsItsBitsAlone) {
  MalcQuery query = dst();
  query.itlgc_id = 7;
  EXPECT_EQ(list(query, {at(kA, bit(1) | bit(4)), at(kB, bit(1) | bit(2) | bit(5)), at(kC, bit(4)),
                         at(kB, bit(1))}),
            R"({"data":[{"ip":"10.0.0.2","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":7, "name":"botnet", "cname":"zombie net"},)"
            R"({"cnt":1, "id":0, "name":"five", "cname":"NULL"}]}],"count":1})");
  query.itlgc_id = 255;
  EXPECT_EQ(list(query, {at(kA, bit(7)), at(kB, bit(1))}),
            R"({"data":[{"ip":"10.0.0.1","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":255, "name":"", "cname":""}]}],"count":1})");
  query.itlgc_id = 300;
  EXPECT_EQ(list(query, {at(kA, ~std::uint64_t{0})}), R"({"data":[],"count":0})");
}

TEST(MalcIpListing, ANamedSignatureCountsAlone) {
  MalcQuery query = dst();
  query.tid = 102;
  query.type = 1;
  EXPECT_EQ(list(query, {at(kA, bit(1) | bit(2)), at(kB, bit(1)), at(kA, bit(2) | bit(3))}),
            R"({"data":[{"ip":"10.0.0.1","cnt":2,"ip_desc":"",)"
            R"("list":[{"cnt":2, "id":7, "name":"botnet", "cname":"zombie net"}]}],"count":1})");
  query.type = 0;  // no such signature
  EXPECT_EQ(list(query, {at(kA, bit(2))}), R"({"data":[],"count":0})");
}

TEST(MalcIpListing, ANamedSignatureStillNeedsABitOfTheCategory) {
  MalcQuery query = dst();
  query.tid = 102;
  query.type = 1;
  query.itlgc_id = 8;
  // The named signature is counted, and listed under the category of the query.
  EXPECT_EQ(list(query, {at(kA, bit(2)), at(kB, bit(2) | bit(4))}),
            R"({"data":[{"ip":"10.0.0.2","cnt":1,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":8, "name":"c2", "cname":"control"}]}],"count":1})");
}

// KEEP: it counts every event that has any bit.
TEST(MalcIpListing, TheSignatureInSlotZeroFiltersNothing) {
  MalcQuery query = dst();
  query.tid = 100;
  query.type = 0;
  EXPECT_EQ(list(query, {at(kA, bit(4)), at(kA, bit(0)), at(kB, 0)}),
            R"({"data":[{"ip":"10.0.0.1","cnt":2,"ip_desc":"",)"
            R"("list":[{"cnt":2, "id":0, "name":"zero", "cname":"NULL"}]}],"count":1})");
}

/// The last octets of the rows shown, and the count.
std::string shown(const std::string& text) {
  std::string result;
  const std::string key = R"("ip":"10.0.0.)";
  for (std::size_t i = 0; (i = text.find(key, i)) != std::string::npos; ++i) {
    result += std::to_string(std::atoi(text.c_str() + i + key.size())) + " ";
  }
  return result + text.substr(text.rfind("],\"count\""));
}

std::string page_of_five(int page, int limit) {
  MalcQuery query = dst();
  query.page = page;
  query.limit = limit;
  return shown(list(query, {at(kA, 2), at(kB, 2), at(kC, 2), at(kD, 2), at(kE, 2)}));
}

// KEEP: rows are numbered from 1 when they are compared with a range that begins at 0.
TEST(MalcIpListing, TheFirstPageIsOneRowShort) {
  EXPECT_EQ(page_of_five(1, 100), R"(1 2 3 4 5 ],"count":5})");
  EXPECT_EQ(page_of_five(1, 3), R"(1 2 ],"count":5})");
  EXPECT_EQ(page_of_five(2, 3), R"(3 4 5 ],"count":5})");
  EXPECT_EQ(page_of_five(3, 3), R"(],"count":5})");
  EXPECT_EQ(page_of_five(1, 1), R"(],"count":5})");
  EXPECT_EQ(page_of_five(6, 1), R"(5 ],"count":5})");
  EXPECT_EQ(page_of_five(1, 5), R"(1 2 3 4 ],"count":5})");
  EXPECT_EQ(page_of_five(1, 6), R"(1 2 3 4 5 ],"count":5})");
}

TEST(MalcIpListing, OddPagesAreUnsigned) {
  EXPECT_EQ(page_of_five(1, 0), R"(],"count":5})");
  EXPECT_EQ(page_of_five(0, 3), R"(],"count":5})");             // 4294967293 up to 0
  EXPECT_EQ(page_of_five(1, -1), R"(1 2 3 4 5 ],"count":5})");  // 0 up to 4294967295
  EXPECT_EQ(page_of_five(2, -1), R"(],"count":5})");            // 4294967295 up to 4294967294
  EXPECT_EQ(page_of_five(0, -2), R"(],"count":5})");            // 2 up to 0
  EXPECT_EQ(page_of_five(1431655766, 3), R"(],"count":5})");    // 4294967295 up to 2
  EXPECT_EQ(page_of_five(65537, 65536), R"(1 2 3 4 5 ],"count":5})");
}

TEST(MalcIpListing, RowsOfTheSameTotalStandAsTheyWereFirstSeen) {
  EXPECT_EQ(shown(list(dst(), {at(kE, 2), at(kC, 2), at(kA, 2), at(kC, 2), at(kB, 2), at(kD, 2),
                               at(kD, 2)})),
            R"(3 4 5 1 2 ],"count":5})");
}

// KEEP: a slot's count is 16 bits wide, the total 32.
TEST(MalcIpListing, CountsWrapAndTheTotalDoesNot) {
  std::vector<MalcEvent> events(65536, at(kA, bit(1)));
  events.push_back(at(kA, bit(0)));
  EXPECT_EQ(list(dst(), events),
            R"({"data":[{"ip":"10.0.0.1","cnt":65537,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"zero", "cname":"NULL"}]}],"count":1})");
  events.push_back(at(kA, bit(1)));
  EXPECT_EQ(list(dst(), events),
            R"({"data":[{"ip":"10.0.0.1","cnt":65538,"ip_desc":"",)"
            R"("list":[{"cnt":1, "id":0, "name":"zero", "cname":"NULL"},)"
            R"({"cnt":1, "id":0, "name":"one", "cname":"NULL"}]}],"count":1})");
}

TEST(MalcIpListing, ARowHitByEverySignature) {
  const std::string text = list(dst(), {at(kA, ~std::uint64_t{0}), at(kA, bit(1))});
  EXPECT_EQ(text.substr(0, 152), R"({"data":[{"ip":"10.0.0.1","cnt":2,"ip_desc":"",)"
                                 R"("list":[{"cnt":1, "id":0, "name":"zero", "cname":"NULL"},)"
                                 R"({"cnt":2, "id":0, "name":"one", "cname":"NULL"},)");
  const std::string tail = R"({"cnt":1, "id":0, "name":"", "cname":"NULL"}]}],"count":1})";
  EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
}

// ---- Memory that runs out ----

constexpr LargeMemory kScarce{ScarceMemory::allocate, large_memory_free};

TEST(MalcIpAgg, AnEventWithoutMemoryIsDropped) {
  const MalcQuery query = dst();
  const TidPool tids = pool(query, kTable);
  ScarceMemory::allow(0);
  MalcIpAgg none(tids, IpSide::kDst, kScarce);
  none.add(std::vector<MalcEvent>(100, at(kA, bit(1))));
  EXPECT_EQ(none.size(), 0U);

  // The slots and the first rows, and nothing for the counts of many signatures.
  ScarceMemory::allow(2);
  MalcIpAgg some(tids, IpSide::kDst, kScarce);
  some.add(std::vector<MalcEvent>(1, at(kA, bit(1))));
  EXPECT_EQ(ScarceMemory::left(), 0);
  EXPECT_EQ(some.size(), 1U);
  some.add(std::vector<MalcEvent>{at(kB, 0xff), at(kA, 0xff), at(kC, bit(2)), at(kA, bit(1))});
  EXPECT_EQ(some.size(), 2U);  // no row for the second address
  EXPECT_EQ(some[0].total, 2U);
  EXPECT_EQ(count_of(some[0].tally, 1), 2);
  EXPECT_EQ(count_of(some[0].tally, 0), 0);
  EXPECT_EQ(some[1].ip, net(10, 0, 0, kC));
  // Four signatures of the event and the one of the row are too many together.
  some.add(std::vector<MalcEvent>{at(kC, bit(3) | bit(4) | bit(6) | bit(7)), at(kC, bit(3))});
  EXPECT_EQ(some[1].total, 2U);
  EXPECT_EQ(count_of(some[1].tally, 3), 1);
}

}  // namespace
}  // namespace qsvmon
