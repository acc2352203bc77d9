#include "commands/malclog/tally.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

#include "tests/unit/malclog/malc_samples.h"
#include "tests/unit/support/scarce_memory.h"

namespace qsvmon {
namespace {

using malc_samples::bit;
using malc_samples::count_of;

TEST(Tally, CountsFewSlotsInSlotOrderWhateverTheirOrderOfArrival) {
  TallyBlocks blocks;
  Tally tally{};
  EXPECT_TRUE(blocks.count(tally, bit(40)));
  EXPECT_TRUE(blocks.count(tally, bit(3) | bit(40)));
  EXPECT_TRUE(blocks.count(tally, bit(63)));
  EXPECT_TRUE(blocks.count(tally, bit(0) | bit(63) | bit(40)));
  EXPECT_FALSE(tally.has_block());
  EXPECT_EQ(tally.slots, bit(0) | bit(3) | bit(40) | bit(63));
  EXPECT_EQ(count_of(tally, 0), 1);
  EXPECT_EQ(count_of(tally, 3), 1);
  EXPECT_EQ(count_of(tally, 40), 3);
  EXPECT_EQ(count_of(tally, 63), 2);
  EXPECT_EQ(count_of(tally, 1), 0);
}

TEST(Tally, AFifthSlotKeepsTheCountsOfTheFirstFour) {
  TallyBlocks blocks;
  Tally tally{};
  blocks.count(tally, bit(1) | bit(2));
  blocks.count(tally, bit(2) | bit(8) | bit(9));
  EXPECT_TRUE(blocks.count(tally, bit(2) | bit(5)));
  EXPECT_TRUE(tally.has_block());
  EXPECT_TRUE(blocks.count(tally, bit(5)));
  EXPECT_TRUE(blocks.count(tally, bit(62)));
  EXPECT_EQ(count_of(tally, 1), 1);
  EXPECT_EQ(count_of(tally, 2), 3);
  EXPECT_EQ(count_of(tally, 5), 2);
  EXPECT_EQ(count_of(tally, 8), 1);
  EXPECT_EQ(count_of(tally, 9), 1);
  EXPECT_EQ(count_of(tally, 62), 1);
  EXPECT_EQ(count_of(tally, 0), 0);
  EXPECT_EQ(count_of(tally, 63), 0);
}

TEST(Tally, ANewKeyHitByAllSlots) {
  TallyBlocks blocks;
  Tally tally{};
  EXPECT_TRUE(blocks.count(tally, ~std::uint64_t{0}));
  EXPECT_TRUE(blocks.count(tally, bit(63)));
  EXPECT_EQ(count_of(tally, 0), 1);
  EXPECT_EQ(count_of(tally, 62), 1);
  EXPECT_EQ(count_of(tally, 63), 2);
}

TEST(Tally, CountingNothingChangesNothing) {
  TallyBlocks blocks;
  Tally tally{};
  EXPECT_TRUE(blocks.count(tally, 0));
  EXPECT_EQ(tally.slots, 0U);
}

// KEEP: the counts of a slot are 16 bits wide.
TEST(Tally, CountsWrapAt65536) {
  TallyBlocks blocks;
  Tally few{};
  Tally many{};
  blocks.count(many, 0x1f);
  for (int i = 0; i < 65535; ++i) {
    blocks.count(few, bit(7));
    blocks.count(many, bit(1));
  }
  EXPECT_EQ(count_of(few, 7), 65535);
  EXPECT_EQ(count_of(many, 1), 0);
  EXPECT_EQ(count_of(many, 0), 1);
  blocks.count(few, bit(7));
  EXPECT_EQ(count_of(few, 7), 0);
  blocks.count(few, bit(7));
  EXPECT_EQ(count_of(few, 7), 1);
}

TEST(Tally, ManyTalliesKeepTheirOwnBlocks) {
  TallyBlocks blocks;
  std::vector<Tally> tallies(1000);
  std::vector<std::array<std::uint16_t, kSlots>> expected(1000);
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    const std::size_t at = random() % 1000;
    const std::uint64_t slots = random() & random() & random() & (at % 2 ? ~std::uint64_t{0} : 255);
    ASSERT_TRUE(blocks.count(tallies[at], slots));
    for (unsigned n = 0; n < kSlots; ++n) {
      if (slots >> n & 1) ++expected[at][n];
    }
  }
  for (std::size_t at = 0; at < 1000; ++at) {
    for (int n = 0; n < kSlots; ++n) {
      ASSERT_EQ(count_of(tallies[at], n), expected[at][static_cast<std::size_t>(n)])
          << at << " " << n;
    }
  }
}

TEST(Tally, WithoutMemoryForABlockItStaysAsItWas) {
  ScarceMemory::allow(0);
  TallyBlocks blocks({ScarceMemory::allocate});
  Tally tally{};
  EXPECT_FALSE(blocks.count(tally, 0x1f));
  EXPECT_EQ(tally.slots, 0U);
  EXPECT_TRUE(blocks.count(tally, bit(1) | bit(2)));
  EXPECT_FALSE(blocks.count(tally, bit(2) | bit(5) | bit(6) | bit(7)));
  EXPECT_EQ(tally.slots, bit(1) | bit(2));
  EXPECT_EQ(count_of(tally, 2), 1);
  EXPECT_EQ(count_of(tally, 5), 0);
  EXPECT_FALSE(blocks.ready_for(0x1f));
  EXPECT_TRUE(blocks.ready_for(0xf));
  ScarceMemory::allow(ScarceMemory::kAll);  // memory is back
  EXPECT_TRUE(blocks.count(tally, bit(2) | bit(5) | bit(6) | bit(7)));
  EXPECT_EQ(count_of(tally, 1), 1);
  EXPECT_EQ(count_of(tally, 2), 2);
  EXPECT_EQ(count_of(tally, 7), 1);
}

}  // namespace
}  // namespace qsvmon
