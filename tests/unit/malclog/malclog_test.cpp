#include "commands/malclog/malclog.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/malclog/malc_samples.h"

namespace qsvmon {
namespace {

using namespace malc_samples;

const SignatureTable kTable = table({
    {0, {.tid = 10, .name = "zero"}},
    {1, {.tid = 11, .name = "one"}},
    {2, {.tid = 12, .mkmode = 2, .itlgc = 7, .name = "two"}},
});

MalcQuery query_of(MalcListType listtype) {
  MalcQuery query;
  query.listtype = listtype;
  return query;
}

constexpr MalcListType kAllTypes[] = {
    MalcListType::kDst,   MalcListType::kSrc,    MalcListType::kApp,
    MalcListType::kTable, MalcListType::kDetail, MalcListType::kHost,
};

/// What a listing without any row prints; the event listing's beginning is the handler's.
std::string no_rows(MalcListType listtype) {
  return listtype == MalcListType::kDetail ? R"~(], "count":0})~" : R"~({"data":[],"count":0})~";
}

TEST(MalcListing, AnEmptyReplyListsNothing) {
  for (const MalcListType listtype : kAllTypes) {
    FakeBatches batches = one_batch(kTable, {});
    EXPECT_EQ(listing(query_of(listtype), batches, {}), no_rows(listtype));
    FakeBatches nothing;
    nothing.batch("", 0);
    EXPECT_EQ(listing(query_of(listtype), nothing, {}), no_rows(listtype));
  }
}

TEST(MalcListing, RecordsThatTheAreaHasNoRoomForAreNotRead) {
  for (const MalcListType listtype : kAllTypes) {
    FakeBatches batches;
    batches.batch(bytes_of(kTable) + std::string(79, '\xff'), 0xffffffffU);
    EXPECT_EQ(listing(query_of(listtype), batches, {}), no_rows(listtype));
    FakeBatches cut_table;
    cut_table.batch(std::string(100, '\xff'), 5);
    EXPECT_EQ(listing(query_of(listtype), cut_table, {}), no_rows(listtype));
  }
}

TEST(MalcListing, EveryTypeFoldsAllBatches) {
  MalcEvent e = of_host("h", bit(1));
  e.dst_net = net(1, 1, 1, 1);
  e.src_net = net(2, 2, 2, 2);
  e.apid = 5;
  const std::string list =
      R"~("list":[{"cnt":3, "id":0, "name":"one", "cname":"NULL"}]}],"count":1})~";
  const std::pair<MalcListType, std::string> expected[] = {
      {MalcListType::kDst, R"~({"data":[{"ip":"1.1.1.1","cnt":3,"ip_desc":"",)~" + list},
      {MalcListType::kSrc, R"~({"data":[{"ip":"2.2.2.2","cnt":3,"ip_desc":"",)~" + list},
      {MalcListType::kApp,
       R"~({"data":[{"apid":5,"appname":"undname","appcname":"undname","count":3,)~"
       R"~("list":[{"cnt":3, "id":0, "name":"one", "cname":"(null)"}]}],"count":1})~"},
      {MalcListType::kTable,
       R"~({"data":[{"tid":11,"mode":1,"vid":0,"type":0,"name":"one","cnt":3},)~"
       R"~({"tid":10,"mode":1,"vid":0,"type":0,"name":"zero","cnt":0}],"count":2})~"},
      {MalcListType::kHost,
       R"~({"data":[{"host":"h","cnt":3,)~"
       R"~("list":[{"cnt":3, "name":"one", "mkmode":1, "cname":"NULL"}]}],"count":1})~"},
  };
  for (const auto& [listtype, text] : expected) {
    FakeBatches batches = one_batch(kTable, {e});
    batches.batch(bytes_of({e}), 1).batch("", 0).batch(bytes_of({e, MalcEvent{}}), 2);
    EXPECT_EQ(listing(query_of(listtype), batches, {}), text);
    EXPECT_EQ(batches.fetched(), 4U);
  }
}

TEST(MalcListing, AFirstBatchWithoutRecordsLeavesNoSignatures) {
  FakeBatches batches = one_batch(kTable, {});
  batches.batch(bytes_of({to(net(9, 9, 9, 9), bit(1))}), 1);
  EXPECT_EQ(listing(query_of(MalcListType::kDst), batches, {}),
            R"~({"data":[{"ip":"9.9.9.9","cnt":1,"ip_desc":"",)~"
            R"~("list":[{"cnt":1, "id":0, "name":"", "cname":"NULL"}]}],"count":1})~");
  FakeBatches detail = one_batch(kTable, {});
  detail.batch(bytes_of({to(net(9, 9, 9, 9), bit(1))}), 1);
  EXPECT_EQ(listing(query_of(MalcListType::kDetail), detail, {}), R"~(], "count":0})~");
  FakeBatches signatures = one_batch(kTable, {});
  signatures.batch(bytes_of({to(net(9, 9, 9, 9), bit(1))}), 1);
  EXPECT_EQ(listing(query_of(MalcListType::kTable), signatures, {}), R"~({"data":[],"count":0})~");
}

TEST(MalcListing, LaterBatchesBeginWithRecords) {
  // What looks like a table in a second batch is records.
  FakeBatches batches = one_batch(kTable, {to(net(9, 9, 9, 9), bit(1))});
  std::vector<MalcEvent> many(40, to(net(8, 8, 8, 8), bit(2)));
  batches.batch(bytes_of(many), 40);
  EXPECT_EQ(listing(query_of(MalcListType::kDst), batches, {}),
            R"~({"data":[{"ip":"8.8.8.8","cnt":40,"ip_desc":"",)~"
            R"~("list":[{"cnt":40, "id":7, "name":"", "cname":""}]},)~"
            R"~({"ip":"9.9.9.9","cnt":1,"ip_desc":"",)~"
            R"~("list":[{"cnt":1, "id":0, "name":"one", "cname":"NULL"}]}],"count":2})~");
}

TEST(MalcListing, AFailedCallEndsTheListing) {
  for (const MalcListType listtype : kAllTypes) {
    FakeBatches at_once;
    at_once.then_fail("can't connect to it");
    EXPECT_EQ(listing(query_of(listtype), at_once, {}), "!can't connect to it");
    FakeBatches later = one_batch(kTable, {});
    later.then_fail("BUSY");
    EXPECT_EQ(listing(query_of(listtype), later, {}), "!BUSY");
  }
}

TEST(MalcListing, EventsPrintedBeforeAFailureStay) {
  FakeBatches batches = one_batch(kTable, {event(bit(1))});
  batches.then_fail("BUSY");
  const std::string text = listing(query_of(MalcListType::kDetail), batches, {});
  EXPECT_EQ(text.substr(0, 19), R"~({"list":[{"tid":11,)~");
  EXPECT_EQ(text.substr(text.size() - 20), R"~("uri_sign":"0"}!BUSY)~");
}

TEST(MalcListing, WithoutMemoryForTheTableNothingMoreIsRead) {
  for (const MalcListType listtype : kAllTypes) {
    FakeBatches batches = one_batch(kTable, {event(bit(1))});
    batches.batch("", 0);
    const MalcQuery query = query_of(listtype);
    TidPool tids(query, [] { return static_cast<SignatureTable*>(nullptr); });
    MemoryPrinter out;
    Categories categories{};
    EXPECT_TRUE(list_events(out, query, batches, tids, categories).ok());
    EXPECT_EQ(out.str(), "fail to malloc tidpool size\n" + no_rows(listtype));
    EXPECT_EQ(batches.fetched(), 1U);
  }
}

// 5000 keys of one event each, more than a page of few rows keeps while it is sorted. The first
// eighteen have three, and the last one has two.
TEST(MalcListing, TheLastRowOfAPageOutOfMany) {
  std::vector<MalcEvent> events;
  for (std::uint32_t i = 0; i < 5000; ++i) {
    MalcEvent e = of_host("h" + std::to_string(i), bit(1));
    e.dst_net = net(10, 0, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i));
    events.insert(events.end(), i < 18 ? 3 : i == 4999 ? 2 : 1, e);
  }
  MalcQuery query = query_of(MalcListType::kHost);
  query.limit = 20;
  EXPECT_TRUE(
      listing(query, kTable, events, {})
          .ends_with(
              R"({"host":"h4999","cnt":2,"list":[{"cnt":2, "name":"one", "mkmode":1, "cname":"NULL"}]}],)"
              R"("count":5000})"));
  query.listtype = MalcListType::kDst;
  EXPECT_TRUE(
      listing(query, kTable, events, {})
          .ends_with(R"({"ip":"10.0.19.135","cnt":2,"ip_desc":"","list":[)"
                     R"({"cnt":2, "id":0, "name":"one", "cname":"NULL"}]}],"count":5000})"));
}

}  // namespace
}  // namespace qsvmon
