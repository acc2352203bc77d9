#include "commands/malclog/malc_fold.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/malclog/malc_samples.h"

namespace qsvmon {
namespace {

using namespace malc_samples;

const SignatureTable kTable = common_table({});

MalcQuery by_app() {
  return query_of(MalcListType::kApp);
}

std::string list(const MalcQuery& query, const std::vector<MalcEvent>& events) {
  return listing(query, kTable, events, common_categories());
}

MalcEvent app(int apid, std::uint64_t bitmap) {
  MalcEvent e = event(bitmap);
  e.apid = static_cast<std::uint16_t>(apid);
  return e;
}

// KEEP: "(null)" here, "NULL" in the other listings.
TEST(MalcAppListing, RowsByTotalWithTheirSignatures) {
  EXPECT_EQ(list(by_app(), {app(5, bit(1)), app(999, bit(1) | bit(2) | bit(3)), app(999, bit(3))}),
            R"~({"data":[{"apid":999,"appname":"undname","appcname":"undname","count":2,)~"
            R"~("list":[{"cnt":1, "id":0, "name":"one", "cname":"(null)"},)~"
            R"~({"cnt":1, "id":7, "name":"botnet", "cname":"zombie net"}]},)~"
            R"~({"apid":5,"appname":"undname","appcname":"undname","count":1,)~"
            R"~("list":[{"cnt":1, "id":0, "name":"one", "cname":"(null)"}]}],"count":2})~");
}

TEST(MalcAppListing, ApplicationsFromAThousandOnAreDropped) {
  EXPECT_EQ(list(by_app(), {app(1000, bit(1)), app(65535, bit(1)), app(1001, 0)}),
            R"~({"data":[],"count":0})~");
}

// KEEP: what was not recognised has no row.
TEST(MalcAppListing, ApplicationZeroIsNotListed) {
  EXPECT_EQ(list(by_app(), {app(0, bit(1)), app(0, bit(1)), app(3, bit(1))}),
            R"~({"data":[{"apid":3,"appname":"undname","appcname":"undname","count":1,)~"
            R"~("list":[{"cnt":1, "id":0, "name":"one", "cname":"(null)"}]}],"count":1})~");
}

TEST(MalcAppListing, AnApplicationOfWhichNothingIsCountedIsListedWithZero) {
  MalcQuery query = by_app();
  query.itlgc_id = 8;
  EXPECT_EQ(
      list(query, {app(3, bit(1)), app(4, 0)}),
      R"~({"data":[{"apid":3,"appname":"undname","appcname":"undname","count":0,"list":[]},)~"
      R"~({"apid":4,"appname":"undname","appcname":"undname","count":0,"list":[]}],"count":2})~");
}

TEST(MalcAppListing, TheSignatureFilterComesFirst) {
  MalcQuery query = by_app();
  query.tid = 102;
  query.type = 1;
  query.itlgc_id = 8;  // a named signature is counted whatever its category
  EXPECT_EQ(list(query, {app(3, bit(1)), app(4, bit(2) | bit(1))}),
            R"~({"data":[{"apid":4,"appname":"undname","appcname":"undname","count":1,)~"
            R"~("list":[{"cnt":1, "id":8, "name":"", "cname":""}]}],"count":1})~");
}

// KEEP: slot 0 filters nothing, and here not even an event without a bit.
TEST(MalcAppListing, TheSignatureInSlotZeroCountsEveryEvent) {
  MalcQuery query = by_app();
  query.tid = 100;
  query.type = 0;
  EXPECT_EQ(list(query, {app(3, 0), app(3, bit(1))}),
            R"~({"data":[{"apid":3,"appname":"undname","appcname":"undname","count":2,)~"
            R"~("list":[{"cnt":2, "id":0, "name":"zero", "cname":"(null)"}]}],"count":1})~");
}

TEST(MalcAppListing, TheApplicationFilterDoesNotCountHere) {
  MalcQuery query = by_app();
  query.apid = 9;
  EXPECT_EQ(list(query, {app(3, bit(1))}),
            R"~({"data":[{"apid":3,"appname":"undname","appcname":"undname","count":1,)~"
            R"~("list":[{"cnt":1, "id":0, "name":"one", "cname":"(null)"}]}],"count":1})~");
}

/// The application ids shown and the count.
std::string shown(const MalcQuery& query, const std::vector<MalcEvent>& events) {
  const std::string text = list(query, events);
  std::string result;
  for (std::size_t i = 0; (i = text.find(R"~({"apid":)~", i)) != std::string::npos; ++i) {
    result += std::to_string(std::atoi(text.c_str() + i + 8)) + " ";
  }
  return result + text.substr(text.rfind("],\"count\""));
}

TEST(MalcAppListing, RowsOfTheSameTotalStandById) {
  EXPECT_EQ(shown(by_app(), {app(9, 2), app(7, 2), app(8, 2), app(8, 2), app(999, 2), app(1, 2)}),
            R"~(8 1 7 9 999 ],"count":5})~");
}

TEST(MalcAppListing, ApplicationZeroTakesNoPlaceOnAPage) {
  const std::vector<MalcEvent> events = {app(0, 2), app(0, 2), app(1, 2), app(2, 2),
                                         app(3, 2), app(4, 2), app(5, 2)};
  MalcQuery query = by_app();
  query.limit = 3;
  EXPECT_EQ(shown(query, events), R"~(1 2 ],"count":5})~");
  query.page = 2;
  EXPECT_EQ(shown(query, events), R"~(3 4 5 ],"count":5})~");
  query.page = 3;
  EXPECT_EQ(shown(query, events), R"~(],"count":5})~");
}

TEST(MalcAppAgg, AnEventWithoutMemoryIsNotCounted) {
  const TidPool tids = pool(by_app(), kTable);
  const LargeMemory none{[](std::size_t, Pages) -> void* { return nullptr; }, large_memory_free};
  MalcAppAgg apps(tids, none);
  apps.add(std::vector<MalcEvent>{app(7, 0x1f), app(8, bit(1)), app(8, 0xff), app(8, bit(1))});
  EXPECT_EQ(apps[7].apid, 7);  // the row is there, and says that it was hit by nothing
  EXPECT_EQ(apps[7].total, 0U);
  EXPECT_EQ(apps[8].total, 2U);
  EXPECT_EQ(count_of(apps[8].tally, 1), 2);
  EXPECT_EQ(count_of(apps[8].tally, 0), 0);
}

}  // namespace
}  // namespace qsvmon
