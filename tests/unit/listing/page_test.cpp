#include "commands/listing/page.h"

#include <gtest/gtest.h>

namespace qsvmon {
namespace {

struct PageCase {
  std::int32_t page, limit;
  std::uint32_t start, end;
};

constexpr PageCase kPages[] = {
    {1, 100, 0, 100},
    {2, 10, 10, 20},
    {1, 0, 0, 0},
    {0, 10, 4294967286U, 0},                   // the page before the first
    {-1, 10, 4294967276U, 4294967286U},        // the one before that
    {2, -1, 4294967295U, 4294967294U},         // a negative limit
    {2147483647, 2147483647, 2147483650U, 1},  // (2^31 - 2)(2^31 - 1) modulo 2^32
    {65537, 65536, 0, 65536},                  // 2^32 wraps to the first page
};

TEST(PageRange, ArithmeticWrapsAt32Bits) {
  for (const PageCase& c : kPages) {
    const PageRange range = page_range(c.page, c.limit);
    EXPECT_EQ(range.start, c.start) << c.page << " " << c.limit;
    EXPECT_EQ(range.end, c.end) << c.page << " " << c.limit;
  }
}

TEST(PageRange, HoldsItsStartAndNotItsEnd) {
  const PageRange range = page_range(2, 10);
  EXPECT_FALSE(range.contains(9));
  EXPECT_TRUE(range.contains(10));
  EXPECT_TRUE(range.contains(19));
  EXPECT_FALSE(range.contains(20));
}

TEST(PageRange, PageZeroIsEmptyUnsignedAndSigned) {
  const PageRange range = page_range(0, 10);  // -10 up to 0
  EXPECT_FALSE(range.contains(0));
  EXPECT_FALSE(range.contains(4294967290U));  // the end wrapped below the start
  EXPECT_FALSE(range.contains_signed(0));
  EXPECT_TRUE(range.contains_signed(-1));
}

TEST(PageRange, LargePagesDifferBetweenSignedAndUnsigned) {
  const PageRange range = page_range(1, -1);  // 0 up to 4294967295, or up to -1
  EXPECT_TRUE(range.contains(0));
  EXPECT_TRUE(range.contains(4294967294U));
  EXPECT_FALSE(range.contains_signed(0));
}

}  // namespace
}  // namespace qsvmon
