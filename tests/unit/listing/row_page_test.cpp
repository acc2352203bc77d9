#include "commands/listing/row_page.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qsvmon {
namespace {

struct Row {
  std::uint32_t counter;
};

/// A fold whose rows have these counters.
struct Rows {
  std::vector<std::uint32_t> counters;

  std::uint32_t size() const { return static_cast<std::uint32_t>(counters.size()); }
  Row operator[](std::uint32_t number) const { return {counters[number]}; }
};

constexpr auto kAll = Direction::kFirstSeen;

/// The page of `rows` with `range`, only those below `below`, by the direction.
std::string page_of(const Rows& rows, PageRange range, std::uint32_t below, Direction direction) {
  MemoryPrinter out;
  const RowOrder order(rows, &Row::counter, direction);
  print_page(
      out, rows, order, {.rows = range, .total = "of", .filtered = below != 0},
      [&](const Row& row) { out.put(row.counter); },
      [&](const Row& row) { return row.counter < below; });
  return out.str();
}

TEST(RowPage, ShowsTheRowsOfItsRangeAndCountsAll) {
  const Rows rows = {{10, 30, 20}};
  EXPECT_EQ(page_of(rows, {}, 0, kAll), R"({"data":[10,30,20],"of":3})");
  EXPECT_EQ(page_of(rows, {0, 1}, 0, kAll), R"({"data":[10],"of":3})");
  EXPECT_EQ(page_of(rows, {1, 9}, 0, kAll), R"({"data":[30,20],"of":3})");
  EXPECT_EQ(page_of(rows, {0, 2}, 0, Direction::kLargestFirst), R"({"data":[30,20],"of":3})");
  EXPECT_EQ(page_of(rows, {3, 9}, 0, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {1, 1}, 0, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {2, 1}, 0, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {0, 0}, 0, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(Rows(), {}, 0, kAll), R"({"data":[],"of":0})");
}

TEST(RowPage, RowsThatDoNotPassTakeNoPlaceAndDoNotCount) {
  const Rows rows = {{10, 30, 20, 5}};
  EXPECT_EQ(page_of(rows, {}, 25, kAll), R"({"data":[10,20,5],"of":3})");
  EXPECT_EQ(page_of(rows, {1, 2}, 25, kAll), R"({"data":[20],"of":3})");
  EXPECT_EQ(page_of(rows, {0, 1}, 25, Direction::kLargestFirst), R"({"data":[20],"of":3})");
  EXPECT_EQ(page_of(rows, {3, 4}, 25, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {2, 1}, 25, kAll), R"({"data":[],"of":3})");
  EXPECT_EQ(page_of(rows, {}, 1, kAll), R"({"data":[],"of":0})");
}

TEST(RowPage, RowsOutsideThePageAreNotLookedAtWithoutAFilter) {
  struct Endless {
    std::uint32_t size() const { return 1000000000; }
    const Row& operator[](std::uint32_t number) const {
      ++looked_at;
      last = {number};
      return last;
    }
    mutable int looked_at = 0;
    mutable Row last{};
  };
  const Endless rows;
  const RowOrder order(rows, &Row::counter, Direction::kFirstSeen);
  MemoryPrinter out;
  const RowPage page = {.rows = {.start = 500000000, .end = 500000002}, .total = "total"};
  print_page(out, rows, order, page, [&](const Row& row) { out.put(row.counter); });
  EXPECT_EQ(out.str(), R"({"data":[500000000,500000001],"total":1000000000})");
  EXPECT_EQ(rows.looked_at, 2);
}

}  // namespace
}  // namespace qsvmon
