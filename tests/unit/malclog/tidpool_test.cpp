#include "commands/malclog/tidpool.h"

#include <gtest/gtest.h>

#include "tests/unit/malclog/malc_samples.h"

namespace qsvmon {
namespace {

using namespace malc_samples;

MalcQuery query_for(int tid, int type, int itlgc_id = -1) {
  MalcQuery query;
  query.tid = tid;
  query.type = type;
  query.itlgc_id = itlgc_id;
  return query;
}

const SignatureTable kTable = table({
    {0, {.tid = 5, .type = 0, .itlgc = 7}},
    {3, {.tid = 6, .type = 0, .mkmode = 2, .itlgc = 7}},
    {4, {.tid = 6, .type = 1, .mkmode = 2, .itlgc = 8}},
    {9, {.tid = 6, .type = 1, .mkmode = 3, .itlgc = 7}},
    {63, {.tid = 65535, .type = 1, .itlgc = 40}},
});

TEST(TidPool, WithoutASignatureEveryEventMatches) {
  for (const int tid : {-1, 0, -7}) {
    const TidPool tids = pool(query_for(tid, -1), kTable);
    EXPECT_EQ(tids.resolved_slot(), -1);
    EXPECT_TRUE(tids.tid_match(0));
    EXPECT_TRUE(tids.tid_match(bit(3)));
    EXPECT_EQ(tids.counted(bit(3) | bit(63)), bit(3) | bit(63));
  }
}

TEST(TidPool, FindsTheFirstSlotOfIdAndType) {
  const TidPool tids = pool(query_for(6, 1), kTable);
  EXPECT_EQ(tids.resolved_slot(), 4);
  EXPECT_TRUE(tids.tid_match(bit(4) | bit(9)));
  EXPECT_FALSE(tids.tid_match(bit(3)));
  EXPECT_FALSE(tids.tid_match(bit(9)));  // same id and type, but not the first
  EXPECT_FALSE(tids.tid_match(0));
  EXPECT_EQ(tids.counted(bit(3) | bit(4)), bit(4));
}

TEST(TidPool, ANamedSignatureIsCountedAlone) {
  const TidPool tids = pool(query_for(6, 0), kTable);  // slot 3
  for (int other = 0; other < 64; ++other) EXPECT_EQ(tids.counted(bit(3) | bit(other)), bit(3));
}

// Slot 0 is the only one that filters nothing.
TEST(TidPool, ASignatureInSlotOneFilters) {
  const TidPool tids = pool(query_for(9, 0), table({{1, {.tid = 9}}}));
  EXPECT_EQ(tids.resolved_slot(), 1);
  EXPECT_TRUE(tids.tid_match(bit(1)));
  EXPECT_FALSE(tids.tid_match(bit(0) | bit(2)));
  EXPECT_FALSE(tids.tid_match(0));
}

TEST(TidPool, AnAddressOrHostListingCountsWhatEveryFilterPasses) {
  const TidPool tids = pool(query_for(6, 0, 7), kTable);  // slot 3, and categories 7
  MalcEvent e = event(bit(3) | bit(4));
  EXPECT_EQ(tids.counted_of(e), bit(3));
  e.time_secs = 0;
  EXPECT_EQ(tids.counted_of(e), 0U);
  EXPECT_EQ(tids.counted_of(event(bit(4))), 0U);           // not the signature
  EXPECT_EQ(tids.counted_of(event(bit(9) | bit(0))), 0U);  // its category, but not the signature
  const TidPool eight = pool(query_for(6, 0, 8), kTable);
  EXPECT_EQ(eight.counted_of(event(bit(3))), 0U);  // no bit of the category
  EXPECT_EQ(eight.counted_of(event(bit(3) | bit(4))), bit(3));
}

TEST(TidPool, FindsTheLastSlot) {
  const TidPool tids = pool(query_for(65535, 1), kTable);
  EXPECT_EQ(tids.resolved_slot(), 63);
  EXPECT_TRUE(tids.tid_match(bit(63)));
  EXPECT_FALSE(tids.tid_match(~bit(63)));
}

// KEEP: an appliance whose first signature is asked for gets every event.
TEST(TidPool, ASignatureInSlotZeroFiltersNothing) {
  const TidPool tids = pool(query_for(5, 0), kTable);
  EXPECT_EQ(tids.resolved_slot(), 0);
  EXPECT_TRUE(tids.tid_match(bit(0)));
  EXPECT_TRUE(tids.tid_match(bit(4)));
  EXPECT_TRUE(tids.tid_match(0));
  EXPECT_EQ(tids.counted(bit(4)), bit(0));
}

TEST(TidPool, AnUnknownSignatureRejectsEveryEvent) {
  // An unknown id, the wrong type, no type at all, an id beyond the field's width.
  for (const auto& [tid, type] : {std::pair{7, 0}, {5, 1}, {6, -1}, {65541, 0}}) {
    const TidPool tids = pool(query_for(tid, type, 7), kTable);
    EXPECT_EQ(tids.resolved_slot(), -1);
    EXPECT_FALSE(tids.tid_match(~std::uint64_t{0})) << tid;
    EXPECT_FALSE(tids.tid_match(0)) << tid;
  }
}

TEST(TidPool, TheCategoryFilterKeepsTheSlotsOfTheCategory) {
  const TidPool all = pool(query_for(-1, -1), kTable);
  EXPECT_EQ(all.passing(~std::uint64_t{0}), ~std::uint64_t{0});
  const TidPool seven = pool(query_for(-1, -1, 7), kTable);
  EXPECT_EQ(seven.passing(~std::uint64_t{0}), bit(0) | bit(3) | bit(9));
  EXPECT_EQ(seven.counted(bit(3) | bit(4)), bit(3));
  const TidPool forty = pool(query_for(-1, -1, 40), kTable);
  EXPECT_EQ(forty.passing(~std::uint64_t{0}), bit(63));
  const TidPool none = pool(query_for(-1, -1, 300), kTable);
  EXPECT_EQ(none.passing(~std::uint64_t{0}), 0U);
  const TidPool negative = pool(query_for(-1, -1, -2), kTable);
  EXPECT_EQ(negative.passing(bit(4)), bit(4));
}

TEST(TidPool, ANamedSignatureIsCountedWhateverItsCategory) {
  const TidPool tids = pool(query_for(6, 1, 7), kTable);  // slot 4 is of category 8
  EXPECT_EQ(tids.passing(bit(3) | bit(4)), bit(3));
  EXPECT_EQ(tids.counted(bit(3) | bit(4)), bit(4));
}

TEST(TidPool, TheCategoryOfASlotIsTheQuerysWhenGiven) {
  EXPECT_EQ(pool(query_for(-1, -1), kTable).category_of(4), 8);
  EXPECT_EQ(pool(query_for(-1, -1), kTable).category_of(63), 40);
  EXPECT_EQ(pool(query_for(-1, -1, 3), kTable).category_of(4), 3);
  EXPECT_EQ(pool(query_for(-1, -1, -3), kTable).category_of(4), 8);
}

TEST(TidPool, SlotsByMode) {
  const TidPool tids = pool(query_for(-1, -1), kTable);
  EXPECT_EQ(tids.own_name_slots(), bit(0) | bit(63));
  EXPECT_EQ(tids.category_slots(), bit(3) | bit(4));
}

TEST(TidPool, AFirstBatchWithoutRecordsLeavesTheTableEmpty) {
  TidPool tids(query_for(5, 0));
  EXPECT_FALSE(tids.filled());
  EXPECT_TRUE(tids.fill(bytes_of(kTable), false));
  EXPECT_TRUE(tids.filled());
  EXPECT_EQ(tids.slot(0).tid, 0);
  EXPECT_EQ(tids.slot(63).tid, 0);
  EXPECT_FALSE(tids.tid_match(bit(0)));
}

TEST(TidPool, AShortBatchFillsTheSlotsThatItHolds) {
  const std::string bytes = bytes_of(kTable);
  TidPool tids(query_for(-1, -1));
  EXPECT_TRUE(tids.fill({bytes.data(), 4 * 40 + 2}, true));
  EXPECT_EQ(tids.slot(3).tid, 6);
  EXPECT_EQ(tids.slot(4).tid, 6);  // its first two bytes came
  EXPECT_EQ(tids.slot(4).type, 0);
  EXPECT_EQ(tids.slot(63).tid, 0);
  TidPool empty(query_for(-1, -1));
  EXPECT_TRUE(empty.fill({}, true));
  EXPECT_EQ(empty.slot(0).tid, 0);
}

TEST(TidPool, SaysWhenTheTableCannotBeAllocated) {
  TidPool tids(query_for(-1, -1), [] { return static_cast<SignatureTable*>(nullptr); });
  EXPECT_FALSE(tids.fill(bytes_of(kTable), true));
  EXPECT_FALSE(tids.filled());
}

}  // namespace
}  // namespace qsvmon
