#include "commands/listing/row_page.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qsvmon {
namespace {

using Numbers = std::vector<std::uint32_t>;

constexpr auto kAll = Direction::kFirstSeen;

/// The page of `rows` with `range`, only those below `below`, by the direction.
std::string page_of(const Numbers& rows, PageRange range, std::uint32_t below,
                    Direction direction) {
  MemoryPrinter out;
  RowOrder order(static_cast<std::uint32_t>(rows.size()));
  order.sort([&](std::uint32_t number) { return rows[number]; }, direction);
  print_page(
      out, rows, order, {.rows = range, .total = "of", .filtered = below != 0},
      [&](std::uint32_t row) { out.put(row); }, [&](std::uint32_t row) { return row < below; });
  return out.str();
}

TEST(RowPage, ShowsTheRowsOfItsRangeAndCountsAll) {
  const Numbers rows = {10, 30, 20};
  EXPECT_EQ(page_of(rows, {}, 0, kAll), R"({"data":[10,30,20],"of":3})");
  EXPECT_EQ(page_of(rows, {0, 1}, 0, kAll), R"({"data":[10],"of":3})");
  EXPECT_EQ(page_of(rows, {1, 9}, 0, kAll), R"({"data":[30,20],"of":3})");
  EXPECT_EQ(page_of(rows, {0, 2}, 0, Direction::kLargestFirst), R"({"data":[30,20],"of":3})");
  EXPECT_EQ(page_of(rows, {3, 9}, 0, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {1, 1}, 0, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {2, 1}, 0, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {0, 0}, 0, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of({}, {}, 0, kAll), R"({"data":[],"of":0})");
}

TEST(RowPage, RowsThatDoNotPassTakeNoPlaceAndDoNotCount) {
  const Numbers rows = {10, 30, 20, 5};
  EXPECT_EQ(page_of(rows, {}, 25, kAll), R"({"data":[10,20,5],"of":3})");
  EXPECT_EQ(page_of(rows, {1, 2}, 25, kAll), R"({"data":[20],"of":3})");
  EXPECT_EQ(page_of(rows, {0, 1}, 25, Direction::kLargestFirst), R"({"data":[20],"of":3})");
  EXPECT_EQ(page_of(rows, {3, 4}, 25, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {2, 1}, 25, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {}, 1, kAll), R"({"data":[],"of":0})");
}

TEST(RowPage, RowsOutsideThePageAreNotLookedAtWithoutAFilter) {
  struct Endless {
    const std::uint32_t& operator[](std::uint32_t number) const { return last = number; }
    mutable std::uint32_t last;
  };
  const Endless rows{};
  const RowOrder order(1000000000);
  MemoryPrinter out;
  int printed = 0;
  const RowPage page = {.rows = {.start = 500000000, .end = 500000002}, .total = "total"};
  print_page(out, rows, order, page, [&](std::uint32_t number) {
    ++printed;
    out.put(number);
  });
  EXPECT_EQ(out.str(), R"({"data":[500000000,500000001],"total":1000000000})");
  EXPECT_EQ(printed, 2);
}

struct Flows {
  std::uint32_t count;
};

/// A fold of two rows.
struct TwoRows {
  std::uint32_t size() const { return 2; }
  Flows operator[](std::uint32_t number) const { return {number}; }
};

TEST(RowOrder, AreSortedByACounter) {
  const RowOrder order(TwoRows(), &Flows::count, Direction::kLargestFirst);
  EXPECT_EQ(order[0], 1U);
  EXPECT_EQ(order[1], 0U);
}

TEST(RowOrder, NeedNoCounterAsFirstSeen) {
  constexpr std::uint32_t Flows::*kNone = nullptr;
  const RowOrder order(TwoRows(), kNone, Direction::kFirstSeen);
  EXPECT_EQ(order.size(), 2U);
  EXPECT_EQ(order[0], 0U);
}

}  // namespace
}  // namespace qsvmon
