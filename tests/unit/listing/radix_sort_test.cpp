#include "commands/listing/radix_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace qsvmon {
namespace {

using Items = std::vector<std::uint64_t>;

std::uint64_t item(std::uint32_t key, std::uint32_t number) {
  return std::uint64_t{key} << 32 | number;
}

Items items_of(const std::vector<std::uint32_t>& keys) {
  Items items;
  for (std::uint32_t i = 0; i < keys.size(); ++i) items.push_back(item(keys[i], i));
  return items;
}

Items sorted(Items items) {
  Items spare(items.size());
  const std::uint64_t* done = radix_sort(items.data(), spare.data(), items.size());
  EXPECT_TRUE(done == items.data() || done == spare.data());
  return {done, done + items.size()};
}

TEST(RadixSort, EqualKeysStayAsTheyStand) {
  const Items items = {item(5, 9), item(0xFFFFFFFF, 8), item(5, 7), item(0, 6), item(5, 10)};
  EXPECT_EQ(sorted(items),
            (Items{item(0, 6), item(5, 9), item(5, 7), item(5, 10), item(0xFFFFFFFF, 8)}));
}

TEST(RadixSort, NothingAndOneItemStayAsTheyAre) {
  EXPECT_EQ(sorted({}), Items{});
  EXPECT_EQ(sorted({item(7, 7)}), (Items{item(7, 7)}));
}

// One key, and keys that differ in the lowest 11 bits, in the highest 10, in both, in all.
TEST(RadixSort, KeysAreSortedByAllOfTheirBits) {
  EXPECT_EQ(sorted({item(7, 0), item(7, 1), item(7, 2)}),
            (Items{item(7, 0), item(7, 1), item(7, 2)}));
  EXPECT_EQ(sorted({item(7, 0), item(8, 1), item(6, 2)}),
            (Items{item(6, 2), item(7, 0), item(8, 1)}));
  EXPECT_EQ(sorted({item(0x08000000, 0), item(0x07000000, 1)}),
            (Items{item(0x07000000, 1), item(0x08000000, 0)}));
  EXPECT_EQ(sorted({item(0x02020405, 0), item(0x01020304, 1), item(0x01020305, 2)}),
            (Items{item(0x01020304, 1), item(0x01020305, 2), item(0x02020405, 0)}));
  EXPECT_EQ(sorted({item(0xFFFFFFFF, 0), item(0, 1), item(0x003FF800, 2)}),
            (Items{item(0, 1), item(0x003FF800, 2), item(0xFFFFFFFF, 0)}));
}

/// An order that makes quicksorts by a median of three take quadratic time: while they choose,
/// every key that is compared turns out to be the smallest of those left.
std::vector<std::uint32_t> median_killer(std::uint32_t count) {
  std::vector<std::uint32_t> keys(count);
  const std::uint32_t half = count / 2;
  for (std::uint32_t i = 0; i < half; ++i) {
    keys[i] = i % 2 == 0 ? i + 1 : half + i;
    keys[half + i] = 2 * (i + 1);
  }
  return keys;
}

std::vector<std::vector<std::uint32_t>> hard_orders(std::uint32_t count) {
  std::vector<std::vector<std::uint32_t>> orders(5);
  std::mt19937 random(1);
  for (std::uint32_t i = 0; i < count; ++i) {
    orders[0].push_back(i);
    orders[1].push_back(count - i);
    orders[2].push_back(i < count / 2 ? i : count - i);
    orders[3].push_back(static_cast<std::uint32_t>(random()));
  }
  orders[4] = median_killer(count);
  return orders;
}

TEST(BothSorts, SortEveryOrder) {
  for (const std::uint32_t count : {2U, 3U, 64U, 1000U, 100000U}) {
    for (const std::vector<std::uint32_t>& keys : hard_orders(count)) {
      Items items = items_of(keys);
      Items expected = items;
      std::stable_sort(expected.begin(), expected.end());
      EXPECT_EQ(sorted(items), expected);
      sort_in_place(items);
      EXPECT_EQ(items, expected);
    }
  }
}

TEST(SortInPlace, BothHalvesCount) {
  Items items = {item(1, 2), item(1, 1), item(0, 3)};
  sort_in_place(items);
  EXPECT_EQ(items, (Items{item(0, 3), item(1, 1), item(1, 2)}));
}

TEST(SortIfInOrder, RisingAndFallingKeysAreSortedAndEqualOnesStayAsTheyStand) {
  Items rising = {item(1, 5), item(1, 4), item(2, 9), item(7, 0)};
  EXPECT_TRUE(sort_if_in_order(rising));
  EXPECT_EQ(rising, (Items{item(1, 5), item(1, 4), item(2, 9), item(7, 0)}));
  Items falling = {item(7, 1), item(7, 2), item(7, 3), item(5, 4), item(1, 5), item(1, 6)};
  EXPECT_TRUE(sort_if_in_order(falling));
  EXPECT_EQ(falling,
            (Items{item(1, 5), item(1, 6), item(5, 4), item(7, 1), item(7, 2), item(7, 3)}));
  Items equal = {item(3, 2), item(3, 1)};
  EXPECT_TRUE(sort_if_in_order(equal));
  EXPECT_EQ(equal, (Items{item(3, 2), item(3, 1)}));
  Items none;
  EXPECT_TRUE(sort_if_in_order(none));
}

TEST(SortIfInOrder, OtherOrdersAreLeftAsTheyAre) {
  Items items = {item(2, 0), item(1, 1), item(2, 2)};
  EXPECT_FALSE(sort_if_in_order(items));
  EXPECT_EQ(items, (Items{item(2, 0), item(1, 1), item(2, 2)}));
}

}  // namespace
}  // namespace qsvmon
