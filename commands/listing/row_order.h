#pragma once

#include <cstddef>
#include <cstdint>

#include "commands/listing/radix_sort.h"
#include "platform/large_memory.h"

namespace qsvmon {

/// How the rows of a listing are sorted by a counter.
enum class Direction : std::uint8_t { kFirstSeen, kLargestFirst, kSmallestFirst };

/// The order in which a listing shows its rows, numbered from 0 as first seen. Rows with equal
/// counters stay in that order.
class RowOrder {
 public:
  static constexpr std::uint32_t kAllRows = 0xffffffff;

  /// `count` rows as first seen; allocates nothing.
  explicit RowOrder(std::uint32_t count, LargeMemory memory = {}) : count_(count), items_(memory) {}

  /// `rows` by a counter of theirs, as `sort` does; it may be null where `direction` is kFirstSeen.
  template <class Rows, class Stat>
  RowOrder(const Rows& rows, std::uint32_t Stat::*counter, Direction direction,
           std::uint32_t most = kAllRows)
      : RowOrder(rows.size()) {
    sort([&](std::uint32_t number) { return rows[number].*counter; }, direction, most);
  }

  /// Sorts by `counter_of(number)`, a u32 that is asked once for each row, as far as the first
  /// `most` places; there are none behind them then. Time is linear in the rows. Without
  /// memory the order stays as it is.
  template <class CounterOf>
  void sort(CounterOf&& counter_of, Direction direction, std::uint32_t most = kAllRows) {
    if (direction == Direction::kFirstSeen || count_ < 2) return;
    const std::uint32_t room = most <= kFewItems && count_ > kSome ? kSome : count_;
    is_sorted_ = items_.reserve(room);
    if (!is_sorted_) return;
    const std::uint32_t flip = direction == Direction::kLargestFirst ? 0xffffffff : 0;
    std::uint64_t last = ~std::uint64_t{0};  // no item behind this one is needed
    std::uint32_t used = 0;
    for (std::uint32_t number = 0; number < count_; ++number) {
      const std::uint32_t counter = counter_of(number);
      const std::uint64_t item = std::uint64_t{counter ^ flip} << 32 | number;
      if (item > last) continue;
      items_[used++] = item;
      if (used == room && room < count_) {
        items_.sort(used);
        used = most;
        last = most == 0 ? 0 : items_[most - 1];
      }
    }
    items_.sort(used);
  }

  std::uint32_t size() const { return count_; }
  /// The number of the row at `place`, below size() and below the `most` that was sorted for.
  std::uint32_t operator[](std::uint32_t place) const {
    return is_sorted_ ? static_cast<std::uint32_t>(items_[place]) : place;
  }

 private:
  /// A page of few rows, as many as are sorted without a second array, needs no array of all: of
  /// 100,000 rows the first 20 take 0.1 ms, and all of them 0.7 ms. In the worst case, when each
  /// row comes before those that are kept, 0.8 ms.
  static constexpr std::uint32_t kSome = 4096;

  std::uint32_t count_;
  bool is_sorted_ = false;
  SortItems items_;  ///< counter in the upper half, number in the lower
};

}  // namespace qsvmon
