#include "commands/listing/record_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

namespace qsvmon {
namespace {

struct Item {
  std::uint32_t key;
  std::uint32_t value;
};

std::vector<std::uint32_t> values_from(RecordList<Item>& list, std::uint32_t start,
                                       std::uint32_t end) {
  SortedRecords<Item> sorted(list, start);
  std::vector<std::uint32_t> values;
  for (std::uint32_t at = start; at < end; ++at) values.push_back(sorted.at(at).value);
  return values;
}

TEST(RecordList, records_stay_where_they_are_while_it_grows) {
  RecordList<Item> list;
  list.append({7, 70}, 7);
  const Item* first = &list[0];
  for (std::uint32_t i = 1; i < 100000; ++i) list.append({i, i * 2}, i);
  EXPECT_EQ(100000U, list.size());
  EXPECT_EQ(first, &list[0]);
  EXPECT_EQ(70U, list[0].value);
  EXPECT_EQ(199998U, list[99999].value);
}

TEST(RecordList, a_slot_that_is_not_committed_is_used_again) {
  RecordList<Item> list;
  Item* slot = list.slot();
  EXPECT_EQ(0U, slot->value);
  slot->value = 1;
  EXPECT_EQ(slot, list.slot());
  EXPECT_EQ(0U, list.size());
  list.commit(5);
  EXPECT_EQ(1U, list.size());
  EXPECT_NE(slot, list.slot());
}

TEST(RecordList, larger_keys_come_first_and_equal_ones_as_they_came) {
  RecordList<Item> list;
  const std::uint32_t keys[] = {5, 0xFFFFFFFF, 5, 0, 0x80000000, 5, 0x7FFFFFFF, 0};
  for (std::uint32_t i = 0; i < 8; ++i) list.append({keys[i], i}, keys[i]);
  EXPECT_EQ((std::vector<std::uint32_t>{1, 4, 6, 0, 2, 5, 3, 7}), values_from(list, 0, 8));
}

TEST(RecordList, any_part_is_as_a_stable_sort_has_it) {
  std::mt19937 random(1);
  std::vector<std::pair<std::uint32_t, std::uint32_t>> all;
  for (std::uint32_t i = 0; i < 5000; ++i) all.emplace_back(random() % 700, i);
  std::vector<std::pair<std::uint32_t, std::uint32_t>> want = all;
  std::stable_sort(want.begin(), want.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  const std::pair<std::uint32_t, std::uint32_t> parts[] = {
      {0, 1}, {0, 256}, {0, 257}, {0, 5000}, {100, 200}, {4999, 5000}, {2000, 4500}, {5000, 5000}};
  for (const auto& [start, end] : parts) {
    RecordList<Item> list;
    for (const auto& [key, value] : all) list.append({key, value}, key);
    std::vector<std::uint32_t> expected;
    for (std::uint32_t at = start; at < end; ++at) expected.push_back(want[at].second);
    EXPECT_EQ(expected, values_from(list, start, end)) << start << "-" << end;
  }
}

TEST(RecordList, a_start_beyond_the_end_asks_for_nothing) {
  RecordList<Item> list;
  EXPECT_EQ(0U, SortedRecords<Item>(list, 0).size());
  list.append({1, 1}, 1);
  EXPECT_EQ(1U, SortedRecords<Item>(list, 0xFFFFFFFF).size());
}

int pieces_left = 0;
void* take_while_there_is(std::size_t bytes, Pages) {
  return pieces_left-- > 0 ? std::calloc(1, bytes) : nullptr;
}
void give_back(void* piece, std::size_t) {
  std::free(piece);
}

TEST(RecordList, records_are_dropped_silently_without_memory) {
  constexpr FoldMemory kScarce{take_while_there_is, give_back};
  for (int pieces = 0; pieces < 3; ++pieces) {  // keys, the block table, the block
    pieces_left = pieces;
    RecordList<Item> list(kScarce);
    EXPECT_EQ(nullptr, list.slot());
    list.append({1, 1}, 1);
    EXPECT_EQ(0U, list.size());
  }
  pieces_left = 3;
  RecordList<Item> list(kScarce);
  for (std::uint32_t i = 0; i < 5000; ++i) list.append({i, i}, i);
  EXPECT_EQ(4096U, list.size());  // the keys could not be enlarged
  pieces_left = 1;
  for (std::uint32_t i = 5000; i < 6000; ++i) list.append({i, i}, i);
  EXPECT_EQ(5096U, list.size());
  EXPECT_EQ((std::vector<std::uint32_t>{5999, 5998}), values_from(list, 0, 2));
  EXPECT_EQ((std::vector<std::uint32_t>{5000, 4095, 4094}), values_from(list, 999, 1002));
}

}  // namespace
}  // namespace qsvmon
