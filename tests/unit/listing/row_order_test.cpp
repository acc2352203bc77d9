#include "commands/listing/row_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/unit/support/scarce_memory.h"

namespace qsvmon {
namespace {

using Numbers = std::vector<std::uint32_t>;
constexpr LargeMemory kScarce{ScarceMemory::allocate};

struct Row {
  std::uint32_t counter;
};

/// A fold whose rows have these counters.
struct Rows {
  const Numbers& counters;

  std::uint32_t size() const { return static_cast<std::uint32_t>(counters.size()); }
  Row operator[](std::uint32_t number) const { return {counters[number]}; }
};

Numbers order_of(const Numbers& counters, Direction direction, LargeMemory memory = {}) {
  const RowOrder order(Rows{counters}, &Row::counter, direction, RowOrder::kAllRows, memory);
  Numbers numbers;
  for (std::uint32_t i = 0; i < order.size(); ++i) numbers.push_back(order[i]);
  return numbers;
}

TEST(RowOrder, OfFewRows) {
  const Numbers counters = {5, 9, 5, 0, 4294967295u, 9};
  EXPECT_EQ(order_of(counters, Direction::kFirstSeen), (Numbers{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(order_of(counters, Direction::kSmallestFirst), (Numbers{3, 0, 2, 1, 5, 4}));
  EXPECT_EQ(order_of(counters, Direction::kLargestFirst), (Numbers{4, 1, 5, 0, 2, 3}));
}

TEST(RowOrder, OfNoRowAndOfOne) {
  EXPECT_EQ(order_of({}, Direction::kLargestFirst), Numbers{});
  EXPECT_EQ(order_of({7}, Direction::kSmallestFirst), Numbers{0});
}

TEST(RowOrder, NeedsNoCounterAndNoMemoryAsFirstSeen) {
  constexpr std::uint32_t Row::*kNone = nullptr;
  const Numbers counters = {3, 1, 2};
  ScarceMemory::allow(1);
  const RowOrder order(Rows{counters}, kNone, Direction::kFirstSeen, RowOrder::kAllRows, kScarce);
  EXPECT_EQ(ScarceMemory::left(), 1);
  EXPECT_EQ(order.size(), 3U);
  EXPECT_EQ(order[0], 0U);
  EXPECT_EQ(order[2], 2U);
}

TEST(RowOrder, EqualRowsStayAsFirstSeen) {
  for (std::uint32_t count : {2u, 100u, 512u, 513u, 5000u}) {
    Numbers as_seen(count);
    for (std::uint32_t i = 0; i < count; ++i) as_seen[i] = i;
    EXPECT_EQ(order_of(Numbers(count, 77), Direction::kLargestFirst), as_seen);
    EXPECT_EQ(order_of(Numbers(count, 77), Direction::kSmallestFirst), as_seen);
  }
}

/// Sorted, every number once, equal counters by number.
void expect_ordered(const Numbers& counters, const Numbers& order, bool largest_first) {
  ASSERT_EQ(order.size(), counters.size());
  for (std::size_t i = 1; i < order.size(); ++i) {
    const std::uint32_t before = counters[order[i - 1]];
    const std::uint32_t after = counters[order[i]];
    if (before == after) {
      ASSERT_LT(order[i - 1], order[i]);
    } else {
      ASSERT_EQ(before > after, largest_first) << i;
    }
  }
  Numbers seen = order;
  std::sort(seen.begin(), seen.end());
  for (std::uint32_t i = 0; i < seen.size(); ++i) ASSERT_EQ(seen[i], i);
}

TEST(RowOrder, OfManyRowsInEveryDigit) {
  for (std::uint32_t mask : {0xffu, 0xff00u, 0xff0000u, 0xff000000u, 0xffffffffu, 0x00f00f00u}) {
    Numbers counters;
    std::uint32_t state = 12345;
    for (int i = 0; i < 20000; ++i) {
      state = state * 1664525u + 1013904223u;
      counters.push_back((state >> 16 | state << 16) & mask);
    }
    expect_ordered(counters, order_of(counters, Direction::kLargestFirst), true);
    expect_ordered(counters, order_of(counters, Direction::kSmallestFirst), false);
  }
}

TEST(RowOrder, SortsInPlaceWhenASecondCopyDoesNotFit) {
  Numbers counters;
  for (std::uint32_t i = 0; i < 3000; ++i) counters.push_back(i * 7919 % 101);
  ScarceMemory::allow(1);
  expect_ordered(counters, order_of(counters, Direction::kLargestFirst, kScarce), true);
}

TEST(RowOrder, StaysAsFirstSeenWithoutMemory) {
  ScarceMemory::allow(0);
  EXPECT_EQ(order_of({1, 2, 3}, Direction::kLargestFirst, kScarce), (Numbers{0, 1, 2}));
}

/// The counters that row n of `count` has, in orders that keep few rows early, late, and always,
/// and in one of which late rows belong to places 16 to 19.
std::vector<Numbers> counters_in_every_order(std::uint32_t count) {
  std::vector<Numbers> all(5, Numbers(count));
  std::uint32_t state = 99;
  for (std::uint32_t n = 0; n < count; ++n) {
    state = state * 1664525u + 1013904223u;
    all[0][n] = n;
    all[1][n] = count - n;
    all[2][n] = state >> 20;  // many are equal
    all[3][n] = 7;
    all[4][n] = n < 4096 ? 100000 - 20 * n : n < 4100 ? 99690 : 0;
  }
  return all;
}

TEST(RowOrder, TheFirstPlacesAreThoseOfTheWholeOrder) {
  for (const std::uint32_t count : {2u, 20u, 4095u, 4096u, 4097u, 20000u}) {
    for (const Numbers& counters : counters_in_every_order(count)) {
      Numbers model(count);
      for (std::uint32_t n = 0; n < count; ++n) model[n] = n;
      std::stable_sort(model.begin(), model.end(),
                       [&](std::uint32_t a, std::uint32_t b) { return counters[a] > counters[b]; });
      for (const std::uint32_t most : {0u, 1u, 20u, 512u, 513u, count}) {
        const RowOrder order(Rows{counters}, &Row::counter, Direction::kLargestFirst, most);
        ASSERT_EQ(order.size(), count);
        for (std::uint32_t i = 0; i < most && i < count; ++i) {
          ASSERT_EQ(order[i], model[i]) << count << " " << most << " " << i;
        }
      }
    }
  }
}

}  // namespace
}  // namespace qsvmon
