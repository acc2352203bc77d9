#include "commands/malclog/malc_fold.h"

#include <gtest/gtest.h>

#include <string>

#include "commands/malclog/malc_print.h"
#include "tests/unit/malclog/malc_samples.h"

namespace qsvmon {
namespace {

using namespace malc_samples;

const SignatureTable kTable = table({
    {0, {.tid = 100, .name = "zero"}},
    {1, {.tid = 101, .type = 1, .name = "one", .vid = 65535}},
    {2, {.tid = 102, .mkmode = 2, .itlgc = 7, .name = "two"}},
    {3, {.tid = 103, .mkmode = 2, .itlgc = 7, .name = "three"}},
    {4, {.tid = 104, .mkmode = 0, .name = "four", .vid = 3}},
    {5, {.tid = 105, .name = "off", .disabled = 1}},
    {6, {.tid = 0, .name = "nameless"}},
    {7, {.tid = 107, .mkmode = 2, .itlgc = 3, .name = "seven", .disabled = 1}},
    {8, {.tid = 0, .mkmode = 2, .itlgc = 31, .name = "eight"}},
    {9, {.tid = 109, .mkmode = 2, .itlgc = 32, .name = "beyond"}},
    {10, {.tid = 110, .mkmode = 2, .itlgc = 255, .name = "far beyond"}},
});

Categories categories() {
  Categories result{};
  set_category(result, 3, "spam", "unasked");
  set_category(result, 7, "botnet", "zombie net");
  return result;
}

MalcQuery signatures() {
  return query_of(MalcListType::kTable);
}

std::string list(const MalcQuery& query, const std::vector<MalcEvent>& events) {
  return listing(query, kTable, events, categories());
}

constexpr char kUnhit[] =
    R"({"data":[{"tid":100,"mode":1,"vid":0,"type":0,"name":"zero","cnt":0},)"
    R"({"tid":101,"mode":1,"vid":65535,"type":1,"name":"one","cnt":0},)"
    R"({"tid":104,"mode":1,"vid":3,"type":0,"name":"four","cnt":0}],"count":3})";

TEST(MalcTidListing, EnabledSignaturesAreListedWithoutHitsOnceARecordCame) {
  EXPECT_EQ(list(signatures(), {event(0)}), kUnhit);
  EXPECT_EQ(list(signatures(), {event(bit(5) | bit(6) | bit(11))}), kUnhit);
}

TEST(MalcTidListing, WithoutAnyRecordNothingIsListed) {
  EXPECT_EQ(list(signatures(), {}), R"({"data":[],"count":0})");
  EXPECT_EQ(list(signatures(), {MalcEvent{}}), R"({"data":[],"count":0})");
}

TEST(MalcTidListing, SignaturesByCountThenCategories) {
  EXPECT_EQ(list(signatures(), {event(bit(4) | bit(1)), event(bit(4) | bit(2) | bit(3)),
                                event(bit(2) | bit(7) | bit(8) | bit(63))}),
            R"({"data":[{"tid":104,"mode":1,"vid":3,"type":0,"name":"four","cnt":2},)"
            R"({"tid":101,"mode":1,"vid":65535,"type":1,"name":"one","cnt":1},)"
            R"({"tid":100,"mode":1,"vid":0,"type":0,"name":"zero","cnt":0},)"
            R"({"id":3,"tid":0,"vid":0,"type":0,"mode":2,"name":"spam","cname":"unasked","cnt":1},)"
            R"({"id":7,"tid":0,"vid":0,"type":0,"mode":2,"name":"botnet","cname":"zombie net",)"
            R"("cnt":3},)"
            R"({"id":31,"tid":0,"vid":0,"type":0,"mode":2,"name":"","cname":"","cnt":1}],)"
            R"("count":6})");
}

TEST(MalcTidListing, HitsOfCategoriesBeyondThePoolAreLost) {
  EXPECT_EQ(list(signatures(), {event(bit(9) | bit(10))}), kUnhit);
}

TEST(MalcTidListing, ANamedSignatureDoesNotFilter) {
  MalcQuery query = signatures();
  query.tid = 104;
  query.type = 0;
  EXPECT_EQ(list(query, {event(bit(0))}),
            R"({"data":[{"tid":100,"mode":1,"vid":0,"type":0,"name":"zero","cnt":1},)"
            R"({"tid":101,"mode":1,"vid":65535,"type":1,"name":"one","cnt":0},)"
            R"({"tid":104,"mode":1,"vid":3,"type":0,"name":"four","cnt":0}],"count":3})");
}

TEST(MalcTidListing, TheCategoryFilterCountsItsSlotsAlone) {
  MalcQuery query = signatures();
  query.itlgc_id = 7;
  EXPECT_EQ(list(query, {event(~std::uint64_t{0}), event(bit(2))}),
            R"({"data":[{"tid":100,"mode":1,"vid":0,"type":0,"name":"zero","cnt":0},)"
            R"({"tid":101,"mode":1,"vid":65535,"type":1,"name":"one","cnt":0},)"
            R"({"tid":104,"mode":1,"vid":3,"type":0,"name":"four","cnt":0},)"
            R"({"id":7,"tid":0,"vid":0,"type":0,"mode":2,"name":"botnet","cname":"zombie net",)"
            R"("cnt":3}],"count":4})");
}

TEST(MalcTidListing, HasNoPages) {
  MalcQuery query = signatures();
  query.page = 9;
  query.limit = 0;
  EXPECT_EQ(list(query, {event(0)}), kUnhit);
}

TEST(MalcTidListing, HitsAddToWhatThePoolSays) {
  const MalcQuery query = signatures();
  const TidPool tids = pool(query, kTable);
  MalcTidAgg agg(tids);
  agg.add(std::vector<MalcEvent>{event(bit(2) | bit(3))});
  EXPECT_EQ(agg.category_hits()[7], 2U);
  Categories pool_entries = categories();
  pool_entries[7].hits = 4294967295U;
  pool_entries[0].hits = 5;
  MemoryPrinter out;
  print_malc_tids(out, {tids, pool_entries}, agg,
                  RowOrder(agg, &MalcTidStat::total, Direction::kLargestFirst));
  EXPECT_NE(
      out.str().find(R"({"id":0,"tid":0,"vid":0,"type":0,"mode":2,"name":"","cname":"","cnt":5})"),
      std::string::npos);
  EXPECT_NE(out.str().find(R"("cname":"zombie net","cnt":1})"), std::string::npos);  // wraps
}

// Before, printing added the hits to the pool, and a second time showed them twice.
TEST(MalcTidListing, PrintedTwiceItSaysTheSame) {
  const MalcQuery query = signatures();
  const TidPool tids = pool(query, kTable);
  MalcTidAgg agg(tids);
  agg.add(std::vector<MalcEvent>{event(bit(1) | bit(2) | bit(3))});
  const Categories pool_entries = categories();
  const RowOrder order(agg, &MalcTidStat::total, Direction::kLargestFirst);
  MemoryPrinter once;
  print_malc_tids(once, {tids, pool_entries}, agg, order);
  MemoryPrinter again;
  print_malc_tids(again, {tids, pool_entries}, agg, order);
  EXPECT_EQ(once.str(), again.str());
}

}  // namespace
}  // namespace qsvmon
