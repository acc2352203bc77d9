#include "commands/sessionlog/record_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/unit/support/scarce_memory.h"

namespace qsvmon {
namespace {

constexpr PageRange kAll{0, 0xFFFFFFFF};

/// A record of any number of bytes: which it is, whether it is hidden, and filling.
struct Item {
  std::uint32_t key;
  std::uint32_t number;
  bool hidden = false;
  std::size_t filling = 0;

  std::string bytes() const {
    std::string text(sizeof number + 1 + filling, '.');
    std::memcpy(text.data(), &number, sizeof number);
    text[sizeof number] = hidden ? 'h' : 's';
    return text;
  }
};

bool is_hidden(std::span<const char> record) {
  return record[sizeof(std::uint32_t)] == 'h';
}

std::uint32_t number_of(std::span<const char> record) {
  std::uint32_t number;
  std::memcpy(&number, record.data(), sizeof number);
  return number;
}

/// What a page shows: the records' numbers, and the count.
struct Shown {
  std::vector<std::uint32_t> numbers;
  std::uint32_t count = 0;

  bool operator==(const Shown&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Shown& shown) {
  for (std::uint32_t number : shown.numbers) out << number << ' ';
  return out << "of " << shown.count;
}

/// The rule, word for word: all records sorted, then one after the other. `shown` counts those
/// before the page and those that it shows; a record that comes up on the page and is hidden is
/// passed over.
Shown plain_model(std::vector<Item> items, PageRange page) {
  std::stable_sort(items.begin(), items.end(),
                   [](const Item& a, const Item& b) { return a.key > b.key; });
  Shown shown;
  for (const Item& item : items) {
    if (page.start <= shown.count && shown.count < page.end) {
      if (item.hidden) continue;
      shown.numbers.push_back(item.number);
    }
    ++shown.count;
  }
  return shown;
}

/// The same from a list.
Shown page_of(RecordList& list) {
  list.sort();
  Shown shown;
  shown.count = list.count();
  const PageRange page = list.page();
  std::uint32_t next = page.start;
  for (std::uint32_t at = page.start; page.contains(next) && at < list.size(); ++at) {
    if (list[at].empty() || is_hidden(list[at])) {
      --shown.count;
    } else {
      shown.numbers.push_back(number_of(list[at]));
      ++next;
    }
  }
  return shown;
}

void append(RecordList& list, const Item& item) {
  const std::string bytes = item.bytes();
  list.append(item.key, bytes.size(), [&](char* room) {
    std::memcpy(room, bytes.data(), bytes.size());
    return bytes.size();
  });
}

Shown listed(const std::vector<Item>& items, PageRange page) {
  RecordList list(page, is_hidden);
  for (const Item& item : items) append(list, item);
  return page_of(list);
}

TEST(RecordList, LargerKeysComeFirstAndEqualOnesAsTheyCame) {
  std::vector<Item> items;
  for (const std::uint32_t key : {5U, 0xFFFFFFFFU, 5U, 0U, 0x80000000U, 5U, 0x7FFFFFFFU, 0U}) {
    items.push_back({key, static_cast<std::uint32_t>(items.size())});
  }
  EXPECT_EQ(listed(items, kAll), (Shown{{1, 4, 6, 0, 2, 5, 3, 7}, 8}));
  EXPECT_EQ(listed(items, {2, 5}), (Shown{{6, 0, 2}, 8}));
}

TEST(RecordList, HiddenRecordsTakeNoPlaceOnThePage) {
  const std::vector<Item> items = {{9, 0},       {8, 1, true}, {7, 2},
                                   {6, 3, true}, {5, 4},       {4, 5, true}};
  EXPECT_EQ(listed(items, kAll), (Shown{{0, 2, 4}, 3}));
  EXPECT_EQ(listed(items, {0, 2}), (Shown{{0, 2}, 5}));  // the one behind the page counts
  EXPECT_EQ(listed(items, {1, 2}), (Shown{{2}, 5}));
  EXPECT_EQ(listed(items, {2, 4}), (Shown{{2, 4}, 5}));  // one before the page counts
}

TEST(RecordList, APageThatShowsNothingKeepsNothing) {
  for (const PageRange page :
       {PageRange{0, 0}, PageRange{5, 5}, PageRange{0xFFFFFFF6, 0}, page_range(-1, 10)}) {
    RecordList list(page, is_hidden);
    for (std::uint32_t i = 0; i < 5000; ++i) append(list, {i, i});
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(page_of(list), (Shown{{}, 5000}));
  }
}

// A list of 4096 is cut. From then on a key equal to that of the page's last record lies behind.
TEST(RecordList, ASlightlyLargerKeyThanTheLastOfThePageIsNeeded) {
  for (const std::uint32_t key : {0U, 10U, 0xFFFFFFFEU}) {
    RecordList list({0, 2}, is_hidden);
    for (std::uint32_t i = 0; i < 4096; ++i) append(list, {key, i});
    append(list, {key, 4096});
    EXPECT_EQ(list.size(), 2U);
    append(list, {key + 1, 4097});
    EXPECT_EQ(list.size(), 3U);
    EXPECT_EQ(page_of(list), (Shown{{4097, 0}, 4098}));
  }
}

TEST(RecordList, NoKeyIsLargerThanTheLargest) {
  RecordList list({0, 2}, is_hidden);
  for (std::uint32_t i = 0; i < 4098; ++i) append(list, {0xFFFFFFFF, i});
  EXPECT_EQ(list.size(), 2U);
  EXPECT_EQ(page_of(list), (Shown{{0, 1}, 4098}));
}

/// The orders in which keys may come.
std::vector<Item> items_of(int kind, std::uint32_t count, std::mt19937& random) {
  std::vector<Item> items;
  for (std::uint32_t i = 0; i < count; ++i) {
    std::uint32_t key = 0;
    switch (kind) {
      case 0:
        key = static_cast<std::uint32_t>(random());
        break;
      case 1:
        key = static_cast<std::uint32_t>(random() % 700);
        break;
      case 2:
        key = i;  // each in front of all before it
        break;
      case 3:
        key = count - i;
        break;
      case 4:
        key = 7;
        break;
      default:
        key = i / 3 * (i % 2 == 0 ? 1 : 2);
        break;
    }
    items.push_back({key, i, false, random() % 40});
  }
  return items;
}

/// Pages as the words may ask for them, those whose arithmetic wraps included.
std::vector<PageRange> pages_of(std::uint32_t count, std::mt19937& random) {
  const auto n = static_cast<std::int32_t>(count);
  std::vector<PageRange> pages = {page_range(1, 20),
                                  page_range(3, 20),
                                  page_range(1, 0),
                                  page_range(0, 100),
                                  page_range(-1, 100),
                                  page_range(1, -1),
                                  page_range(2, -1),
                                  page_range(1, n),
                                  page_range(2, n),
                                  page_range(n, 1),
                                  page_range(n + 1, 1),
                                  page_range(1, n - 1),
                                  page_range(65537, 65536),
                                  page_range(2147483647, 2147483647),
                                  kAll};
  for (int i = 0; i < 6; ++i) {
    const auto limit = static_cast<std::int32_t>(random() % 2000);
    pages.push_back(page_range(static_cast<std::int32_t>(random() % 10), limit));
  }
  return pages;
}

TEST(RecordList, EveryPageEqualsThatOfAllRecordsSorted) {
  std::mt19937 random(1);
  for (int kind = 0; kind < 6; ++kind) {
    for (const std::uint32_t count : {0U, 1U, 4096U, 4097U, 9500U}) {
      for (const int hidden_of_8 : {0, 1, 6, 8}) {
        std::vector<Item> items = items_of(kind, count, random);
        for (Item& item : items) item.hidden = static_cast<int>(random() % 8) < hidden_of_8;
        for (const PageRange page : pages_of(count, random)) {
          ASSERT_EQ(listed(items, page), plain_model(items, page))
              << "keys " << kind << ", " << count << " records, " << hidden_of_8
              << " of 8 hidden, page " << page.start << " to " << page.end;
        }
      }
    }
  }
}

TEST(RecordList, HiddenRecordsInOnePlaceOnly) {
  std::mt19937 random(2);
  for (const PageRange page : {PageRange{0, 20}, PageRange{100, 120}, PageRange{1000, 2500}}) {
    for (int kind = 0; kind < 6; ++kind) {
      std::vector<Item> items = items_of(kind, 9000, random);
      std::vector<Item> sorted = items;
      std::stable_sort(sorted.begin(), sorted.end(),
                       [](const Item& a, const Item& b) { return a.key > b.key; });
      // Before the page, on its first place, within, across its end, behind it.
      for (const std::uint32_t first : {0U, page.start, page.start + 3, page.end - 2, page.end}) {
        std::vector<Item> some = items;
        for (std::uint32_t at = first; at < first + 5; ++at) some[sorted[at].number].hidden = true;
        ASSERT_EQ(listed(some, page), plain_model(some, page)) << kind << " " << first;
      }
    }
  }
}

// What is kept follows the page, not the records; and hidden ones take no more than their head.
TEST(RecordList, NoOrderOfKeysKeepsMoreThanTwiceThePage) {
  std::mt19937 random(3);
  for (const PageRange page : {PageRange{0, 20}, PageRange{1000, 2000}}) {
    const std::uint32_t most = std::max(4096U, 2 * page.end);
    for (int kind = 0; kind < 6; ++kind) {
      RecordList list(page, is_hidden);
      for (const Item& item : items_of(kind, 50000, random)) {
        append(list, item);
        ASSERT_LT(list.size(), most);
      }
      EXPECT_EQ(list.count(), 50000U);
    }
  }
}

std::uint32_t times_asked = 0;
bool count_and_hide(std::span<const char> record) {
  ++times_asked;
  return is_hidden(record);
}

// As it arrives, and again when the list is cut, which has doubled since the last time.
TEST(RecordList, ARecordIsAskedAboutThreeTimesAtMostOnAverage) {
  std::mt19937 random(4);
  for (const int order : {0, 1, 2}) {
    std::vector<Item> items = items_of(order, 50000, random);
    for (Item& item : items) item.hidden = random() % 4 != 0;
    times_asked = 0;
    RecordList list({10, 5000}, count_and_hide);
    for (const Item& item : items) append(list, item);
    EXPECT_GT(times_asked, 0U);
    EXPECT_LE(times_asked, 3 * 50000U);
    EXPECT_EQ(page_of(list), plain_model(items, {10, 5000}));
  }
}

// A list of 4096 is cut: its hidden records are found then, and those that follow as they arrive.
TEST(RecordList, HiddenRecordsLoseTheirBytes) {
  RecordList list({0, 2}, is_hidden);
  for (std::uint32_t i = 0; i < 5000; ++i) append(list, {i, i, i != 7, 100});
  list.sort();
  ASSERT_EQ(list.size(), 5000U);
  for (std::uint32_t at = 0; at < 5000; ++at) ASSERT_EQ(list[at].empty(), at != 4992) << at;
  EXPECT_EQ(number_of(list[4992]), 7U);
}

std::size_t bytes_now = 0;
std::size_t bytes_most = 0;
void* counting_take(std::size_t bytes, Pages pages) {
  bytes_now += bytes;
  bytes_most = std::max(bytes_most, bytes_now);
  return large_memory_allocate(bytes, pages);
}
void counting_give(void* piece, std::size_t bytes) {
  if (piece != nullptr) bytes_now -= bytes;
  large_memory_free(piece, bytes);
}

// 200000 records of 1005 bytes, each in front of all before it, for a page of 20: one chunk of 4
// MiB, and the keys. With everyone hidden, 4 bytes and a key for each.
TEST(RecordList, MemoryFollowsThePage) {
  constexpr LargeMemory kCounted{counting_take, counting_give};
  for (const bool hidden : {false, true}) {
    bytes_most = 0;
    {
      RecordList list(page_range(1, 20), is_hidden, kCounted);
      for (std::uint32_t i = 0; i < 200000; ++i) append(list, {i, i, hidden, 1000});
      EXPECT_EQ(list.count(), 200000U);
    }
    EXPECT_EQ(bytes_now, 0U);
    EXPECT_LE(bytes_most, (std::size_t{9} << 20) + (hidden ? std::size_t{16} << 18 : 0));
  }
}

constexpr LargeMemory kScarce{ScarceMemory::allocate};

TEST(RecordList, RecordsAreDroppedSilentlyWithoutMemory) {
  for (int takes = 0; takes < 2; ++takes) {  // keys, the chunk
    ScarceMemory::allow(takes);
    RecordList list(kAll, nullptr, kScarce);
    append(list, {1, 1});
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(list.count(), 0U);
  }
  ScarceMemory::allow(2);
  RecordList list(kAll, nullptr, kScarce);
  for (std::uint32_t i = 0; i < 5000; ++i) append(list, {i, i});
  EXPECT_EQ(list.size(), 4096U);  // the keys could not be enlarged
  ScarceMemory::allow(1);
  for (std::uint32_t i = 5000; i < 6000; ++i) append(list, {i, i});
  EXPECT_EQ(list.count(), 5096U);
  ScarceMemory::allow(0);  // sorts in place
  const Shown shown = page_of(list);
  EXPECT_EQ(shown.count, 5096U);
  EXPECT_EQ(shown.numbers.front(), 5999U);
  EXPECT_EQ(shown.numbers[999], 5000U);
  EXPECT_EQ(shown.numbers[1000], 4095U);
  EXPECT_EQ(shown.numbers.back(), 0U);
}

TEST(RecordList, DropsInPlaceWhenASecondCopyDoesNotFit) {
  std::mt19937 random(5);
  const std::vector<Item> items = items_of(0, 9000, random);
  ScarceMemory::allow(2);
  RecordList list({300, 500}, nullptr, kScarce);
  for (const Item& item : items) append(list, item);
  EXPECT_EQ(page_of(list), plain_model(items, {300, 500}));
}

}  // namespace
}  // namespace qsvmon
