#include "commands/listing/entry_chunks.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace qsvmon {
namespace {

/// What was asked for, and how often more will be granted.
int grants = 0;
std::vector<std::size_t> asked;

void* allocate(std::size_t bytes, Pages) {
  if (grants == 0) return nullptr;
  --grants;
  asked.push_back(bytes);
  return std::calloc(1, bytes);
}

void release(void* chunk, std::size_t) {
  std::free(chunk);
}

LargeMemory granting(int times) {
  grants = times;
  asked.clear();
  return {allocate, release};
}

struct Entry {
  std::uint32_t words[25];
};

// 32 KiB hold 327 entries of 100 bytes, so the first chunk has 256, and each other one twice as
// many as the one before. From 2 MiB on they are whole large pages.
TEST(EntryChunks, EachChunkIsTwiceTheOneBefore) {
  EntryChunks<Entry> entries(granting(100));
  for (std::uint32_t i = 0; i < 300000; ++i) {
    Entry* const entry = entries.add();
    ASSERT_NE(entry, nullptr);
    ASSERT_EQ(entry->words[0] | entry->words[24], 0u) << i;
    entry->words[0] = entry->words[24] = i;
  }
  ASSERT_EQ(entries.size(), 300000u);
  for (std::uint32_t i = 0; i < 300000; ++i) {
    ASSERT_EQ(entries[i].words[0], i);
    ASSERT_EQ(entries[i].words[24], i);
  }
  EXPECT_EQ(asked, (std::vector<std::size_t>{25600, 51200, 102400, 204800, 409600, 819200, 1638400,
                                             4194304, 8388608, 14680064, 27262976}));
}

TEST(EntryChunks, WhatWasReservedCanBeAddedWithoutMemory) {
  EntryChunks<std::uint64_t> entries(granting(2));  // 4096 entries and 8192
  EXPECT_TRUE(entries.reserve(4097));
  EXPECT_TRUE(entries.reserve(12288));
  EXPECT_FALSE(entries.reserve(12289));
  for (std::uint64_t i = 0; i < 12288; ++i) {
    std::uint64_t* const entry = entries.add();
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(*entry, 0U);
    *entry = i;
  }
  EXPECT_EQ(entries.add(), nullptr);
  EXPECT_EQ(entries.size(), 12288U);
  EXPECT_EQ(entries[4095], 4095U);
  EXPECT_EQ(entries[4096], 4096U);
  EXPECT_EQ(entries[12287], 12287U);
}

TEST(EntryChunks, ReservingWithoutMemoryFailsAndKeepsWhatThereIs) {
  EntryChunks<std::uint64_t> entries(granting(0));
  EXPECT_FALSE(entries.reserve(1));
  EXPECT_EQ(entries.add(), nullptr);
  grants = 1;
  EXPECT_TRUE(entries.reserve(1));
  EXPECT_NE(entries.add(), nullptr);
}

/// Memory that nobody looks into.
void* allocate_nothing(std::size_t, Pages) {
  static char chunk[1];
  return chunk;
}

// 17 chunks, the first of 2^15 entries, have 2^32 - 2^15.
TEST(EntryChunks, NumbersNeverWrap) {
  EntryChunks<std::uint8_t> entries({allocate_nothing, [](void*, std::size_t) {}});
  EXPECT_TRUE(entries.reserve(0xffff8000));
  EXPECT_FALSE(entries.reserve(0xffff8001));
  ASSERT_NE(entries.add(), nullptr);
  EXPECT_EQ(entries.size(), 1U);
}

}  // namespace
}  // namespace qsvmon
