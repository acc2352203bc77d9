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

  /// Sorts `rows` by a u32 counter of theirs, which is read once of each, as far as the first
  /// `most` places; there are none behind them then. Time is linear in the rows. For kFirstSeen
  /// `counter` may be null, and nothing is allocated; without memory the order is that, too.
  template <class Rows, class Stat>
  RowOrder(const Rows& rows, std::uint32_t Stat::*counter, Direction direction,
           std::uint32_t most = kAllRows, LargeMemory memory = {})
      : count_(rows.size()), items_(memory) {
    if (direction == Direction::kFirstSeen || count_ < 2 || most == 0) return;
    const std::uint32_t room = most <= kFewItems && count_ > kSome ? kSome : count_;
    if (!items_.reserve(room)) return;
    const std::uint32_t flip = direction == Direction::kLargestFirst ? 0xffffffff : 0;
    std::uint64_t last = ~std::uint64_t{0};  // no item behind this one is needed
    std::uint32_t used = 0;
    for (std::uint32_t number = 0; number < count_; ++number) {
      const std::uint64_t item = std::uint64_t{rows[number].*counter ^ flip} << 32 | number;
      if (item > last) continue;
      items_[used++] = item;
      if (used == room && room < count_) {
        items_.sort(used);
        used = most;
        last = items_[most - 1];
      }
    }
    items_.sort(used);
  }

  std::uint32_t size() const { return count_; }
  /// The number of the row at `place`, below size() and below the `most` that was sorted for.
  std::uint32_t operator[](std::uint32_t place) const {
    return items_.room() != 0 ? static_cast<std::uint32_t>(items_[place]) : place;
  }

 private:
  /// A page of few rows, as many as are sorted without a second array, needs no array of all: of
  /// 100,000 rows the first 20 take 0.1 ms, and all of them 0.7 ms. In the worst case, when each
  /// row comes before those that are kept, 0.8 ms.
  static constexpr std::uint32_t kSome = 4096;

  std::uint32_t count_;
  SortItems items_;  ///< counter in the upper half, number in the lower; no room where not sorted
};

}  // namespace qsvmon
