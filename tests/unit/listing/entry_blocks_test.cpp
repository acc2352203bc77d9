#include "commands/listing/entry_blocks.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace qsvmon {
namespace {

int pieces_left = 0;

void* take(std::size_t bytes, Pages) {
  if (pieces_left == 0) return nullptr;
  --pieces_left;
  return std::calloc(1, bytes);
}

void give(void* piece, std::size_t) {
  std::free(piece);
}

TEST(EntryBlocks, WhatWasReservedCanBeAddedWithoutMemory) {
  pieces_left = 1000;
  EntryBlocks<std::uint64_t> entries({take, give});
  EXPECT_TRUE(entries.reserve(300));
  pieces_left = 0;
  EXPECT_TRUE(entries.reserve(512));  // two blocks of 256 were taken
  for (std::uint64_t i = 0; i < 512; ++i) {
    std::uint64_t* const entry = entries.add();
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(*entry, 0U);
    *entry = i;
  }
  EXPECT_EQ(entries.size(), 512U);
  EXPECT_EQ(entries[511], 511U);
}

TEST(EntryBlocks, ReservingWithoutMemoryFailsAndKeepsWhatThereIs) {
  pieces_left = 0;
  EntryBlocks<std::uint64_t> entries({take, give});
  EXPECT_FALSE(entries.reserve(1));
  EXPECT_EQ(entries.add(), nullptr);
  pieces_left = 1000;
  EXPECT_TRUE(entries.reserve(1));
  EXPECT_NE(entries.add(), nullptr);
}

// A piece of 4194304 bytes holds 4064 entries of 1032 bytes; a mail listing of millions must not
// leave a twentieth of each empty.
TEST(EntryBlocks, EntriesFillTheirPieces) {
  struct Entry {
    std::uint32_t words[258];
  };
  pieces_left = 2;  // the list of pieces and one of them
  EntryBlocks<Entry> entries({take, give});
  for (std::uint32_t i = 0; i < 4064; ++i) {
    Entry* const entry = entries.add();
    ASSERT_NE(entry, nullptr) << i;
    entry->words[0] = entry->words[257] = i;
  }
  EXPECT_EQ(pieces_left, 0);
  EXPECT_EQ(entries.add(), nullptr);
  pieces_left = 1;
  ASSERT_NE(entries.add(), nullptr);
  EXPECT_EQ(entries.size(), 4065U);
  EXPECT_EQ(entries[4064].words[0], 0U);
  for (const std::uint32_t i : {0U, 255U, 256U, 3839U, 3840U, 4063U}) {
    EXPECT_EQ(entries[i].words[0], i);
    EXPECT_EQ(entries[i].words[257], i);
  }
}

/// Gives every piece of four megabytes the same memory, since nobody looks into them.
void* take_shared(std::size_t bytes, Pages) {
  static char piece[4U << 20];
  return bytes == sizeof piece ? piece : std::calloc(1, bytes);
}

void give_shared(void* piece, std::size_t bytes) {
  if (bytes != 4U << 20) std::free(piece);
}

// 0xffffff00 is the largest multiple of 256, which blocks have, that 32 bits hold. There are more
// than a thousand pieces then, so their list has grown.
TEST(EntryBlocks, NumbersNeverWrap) {
  EntryBlocks<std::uint8_t> entries({take_shared, give_shared});
  EXPECT_TRUE(entries.reserve(0xffffff00));
  EXPECT_FALSE(entries.reserve(0xffffff01));
  EXPECT_TRUE(entries.reserve(0xffffff00));
  ASSERT_NE(entries.add(), nullptr);
  EXPECT_EQ(entries.size(), 1U);
}

}  // namespace
}  // namespace qsvmon
