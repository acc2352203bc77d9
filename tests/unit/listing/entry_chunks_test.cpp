#include "commands/listing/entry_chunks.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace qsvmon {
namespace {

/// What was asked for and what was freed, and how often more will be granted.
int grants = 0;
std::vector<std::size_t> asked;
std::vector<std::size_t> freed;

void* allocate(std::size_t bytes, Pages) {
  if (grants == 0) return nullptr;
  --grants;
  asked.push_back(bytes);
  return std::calloc(1, bytes);
}

void release(void* chunk, std::size_t bytes) {
  freed.push_back(bytes);
  std::free(chunk);
}

LargeMemory granting(int times) {
  grants = times;
  asked.clear();
  freed.clear();
  return {allocate, release};
}

struct Entry {
  std::uint32_t words[25];
};

// 32 KiB hold 327 entries of 100 bytes, so the first chunk has 256. Chunks end where there are 256
// times a power of two, less 256: the second has 256 KiB at least, the third 2 MiB; from then on
// each has 256 more than all before it. From 2 MiB on they are whole large pages.
TEST(EntryChunks, FewChunksAreSmall) {
  {
    EntryChunks<Entry> entries(granting(100));
    for (std::uint32_t i = 0; i < 300000; ++i) {
      ASSERT_TRUE(entries.reserve(1));
      Entry& entry = entries.add();
      ASSERT_EQ(entry.words[0] | entry.words[24], 0u) << i;
      entry.words[0] = entry.words[24] = i;
    }
    ASSERT_EQ(entries.size(), 300000u);
    for (std::uint32_t i = 0; i < 300000; ++i) {
      ASSERT_EQ(entries[i].words[0], i);
      ASSERT_EQ(entries[i].words[24], i);
    }
  }
  const std::vector<std::size_t> chunks = {25600,   358400,   4194304, 4194304,
                                           8388608, 14680064, 27262976};
  EXPECT_EQ(asked, chunks);
  EXPECT_EQ(freed, chunks);
}

TEST(EntryChunks, WhatWasReservedCanBeAddedWithoutMemory) {
  EntryChunks<std::uint64_t> entries(granting(2));  // 4096 entries and 57344
  EXPECT_TRUE(entries.reserve(4097));
  EXPECT_TRUE(entries.reserve(61440));
  EXPECT_FALSE(entries.reserve(61441));
  for (std::uint64_t i = 0; i < 61440; ++i) {
    std::uint64_t& entry = entries.add();
    EXPECT_EQ(entry, 0U);
    entry = i;
  }
  EXPECT_FALSE(entries.has_room_for(1));
  EXPECT_EQ(entries.size(), 61440U);
  EXPECT_EQ(entries[4095], 4095U);
  EXPECT_EQ(entries[4096], 4096U);
  EXPECT_EQ(entries[61439], 61439U);
}

TEST(EntryChunks, ReservingWithoutMemoryFailsAndKeepsWhatThereIs) {
  EntryChunks<std::uint64_t> entries(granting(0));
  EXPECT_FALSE(entries.reserve(1));
  EXPECT_EQ(entries.size(), 0U);
  grants = 1;
  EXPECT_TRUE(entries.reserve(1));
  entries.add() = 7;
  EXPECT_EQ(entries[0], 7U);
}

/// Memory that nobody looks into.
void* allocate_nothing(std::size_t, Pages) {
  static char chunk[1];
  return chunk;
}

// The first chunk has 2^15 entries, all of them 2^32 - 2^15.
TEST(EntryChunks, NumbersNeverWrap) {
  EntryChunks<std::uint8_t> entries({allocate_nothing, [](void*, std::size_t) {}});
  EXPECT_TRUE(entries.reserve(0xffff8000));
  EXPECT_FALSE(entries.reserve(0xffff8001));
  EXPECT_EQ(&entries.add(), &entries[0]);
  EXPECT_EQ(entries.size(), 1U);
}

}  // namespace
}  // namespace qsvmon
