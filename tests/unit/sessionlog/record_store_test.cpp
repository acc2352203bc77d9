#include "commands/sessionlog/record_store.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/support/scarce_memory.h"

namespace qsvmon {
namespace {

std::string text_of(std::span<const char> record) {
  return {record.begin(), record.end()};
}

/// Copies `record` behind the others. False without memory.
bool add(RecordStore& store, const std::string& record, std::uint32_t& place) {
  char* const room = store.room(record.size());
  if (room == nullptr) return false;
  std::memcpy(room, record.data(), record.size());
  place = store.add(record.size());
  return true;
}

/// A record of `size` bytes that differs from its neighbours.
std::string record_of(std::size_t size, std::size_t number) {
  std::string record(size, static_cast<char>('a' + number % 26));
  record.replace(0, std::min<std::size_t>(size, 8), std::to_string(number), 0, 8);
  return record;
}

TEST(RecordStore, RecordsOfAnyLengthLieBehindEachOther) {
  RecordStore store({});
  std::vector<std::uint32_t> places;
  std::vector<std::string> records;
  for (std::size_t i = 0; i < 30000; ++i) {
    records.push_back(record_of(i * 7919 % 1500, i));
    std::uint32_t place = 0;
    ASSERT_TRUE(add(store, records.back(), place));
    ASSERT_TRUE(places.empty() || place > places.back());
    places.push_back(place);
  }
  for (std::size_t i = 0; i < records.size(); ++i) ASSERT_EQ(text_of(store[places[i]]), records[i]);
}

TEST(RecordStore, ARecordMayBeShorterThanItsRoom) {
  RecordStore store({});
  std::memcpy(store.room(100), "abcdefgh", 8);
  const std::uint32_t first = store.add(5);
  std::memcpy(store.room(100), "xyz", 3);
  const std::uint32_t second = store.add(3);
  EXPECT_EQ(second - first, 3U);  // 4 bytes before it and 5 of its own, rounded up, in fours
  EXPECT_EQ(text_of(store[first]), "abcde");
  EXPECT_EQ(text_of(store[second]), "xyz");
}

TEST(RecordStore, TheLongestRecordFits) {
  RecordStore store({});
  for (std::size_t i = 0; i < 200; ++i) {
    std::uint32_t place = 0;
    ASSERT_TRUE(add(store, record_of(RecordStore::kMaxRecordBytes, i), place));
    EXPECT_EQ(text_of(store[place]), record_of(RecordStore::kMaxRecordBytes, i));
  }
}

TEST(RecordStore, WhatMovesTogetherStaysWholeAndMakesRoom) {
  for (std::size_t every : {1U, 2U, 7U, 1000U}) {
    RecordStore store({});
    std::vector<std::uint32_t> places(30000);
    for (std::size_t i = 0; i < places.size(); ++i) {
      ASSERT_TRUE(add(store, record_of(i * 7919 % 1500, i), places[i]));
      if (i % 5 == 0) store.empty(places[i]);
    }
    store.rewind();
    std::vector<std::uint32_t> moved;
    for (std::size_t i = 0; i < places.size(); i += every) {
      moved.push_back(store.move(places[i]));
      ASSERT_LE(moved.back(), places[i]);
    }
    for (std::size_t i = 0; i < moved.size(); ++i) {
      const std::size_t number = i * every;
      ASSERT_EQ(text_of(store[moved[i]]),
                number % 5 == 0 ? "" : record_of(number * 7919 % 1500, number));
    }
    std::uint32_t next = 0;
    ASSERT_TRUE(add(store, "next", next));
    EXPECT_GT(next, moved.back());
  }
}

constexpr LargeMemory kScarce{ScarceMemory::allocate};

TEST(RecordStore, WithoutMemoryNothingIsAdded) {
  ScarceMemory::allow(0);
  RecordStore store(kScarce);
  std::uint32_t place = 77;
  EXPECT_FALSE(add(store, "abc", place));
  EXPECT_EQ(place, 77U);
  ScarceMemory::allow(1);
  const std::string record(65532, 'x');  // 64 of them, with 4 bytes each, fill the 4 MiB
  for (int i = 0; i < 64; ++i) EXPECT_TRUE(add(store, record, place)) << i;
  EXPECT_FALSE(add(store, "x", place));
  ScarceMemory::allow(1);
  EXPECT_TRUE(add(store, "x", place));
  EXPECT_EQ(text_of(store[place]), "x");
}

}  // namespace
}  // namespace qsvmon
