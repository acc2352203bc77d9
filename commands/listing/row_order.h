#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "commands/listing/entry_chunks.h"

namespace qsvmon {

/// How the rows of a listing are sorted by a counter.
enum class Direction : std::uint8_t { kFirstSeen, kLargestFirst, kSmallestFirst };

/// The order in which a listing shows its rows, numbered from 0 as first seen. Rows with equal
/// counters stay in that order.
class RowOrder {
 public:
  static constexpr std::uint32_t kAllRows = 0xffffffff;

  /// `count` rows as first seen; allocates nothing.
  explicit RowOrder(std::uint32_t count, FoldMemory memory = {}) : count_(count), memory_(memory) {}
  RowOrder(RowOrder&& other) noexcept
      : count_(other.count_),
        room_(other.room_),
        memory_(other.memory_),
        items_(std::exchange(other.items_, nullptr)) {}
  RowOrder& operator=(RowOrder&&) = delete;
  ~RowOrder() { memory_.free(items_, bytes()); }

  /// Sorts by `counter_of(number)`, a u32 that is asked once for each row, as far as the first
  /// `most` places; what stands behind them is undefined. Time is linear in the rows. Without
  /// memory the order stays as it is.
  template <class CounterOf>
  void sort(CounterOf&& counter_of, Direction direction, std::uint32_t most = kAllRows) {
    if (direction == Direction::kFirstSeen || count_ < 2 || !allocate_items(most)) return;
    const std::uint32_t flip = direction == Direction::kLargestFirst ? 0xffffffff : 0;
    for (std::uint32_t number = 0; number < count_; ++number) {
      const std::uint32_t counter = counter_of(number);
      const std::uint64_t item = std::uint64_t{counter ^ flip} << 32 | number;
      if (item > last_) continue;  // behind the first `most` of those before it
      items_[used_++] = item;
      if (used_ == room_ && room_ < count_) keep_first(most);
    }
    sort_items();
  }

  std::uint32_t size() const { return count_; }
  /// The number of the row at `place` (0 <= place < size()).
  std::uint32_t operator[](std::uint32_t place) const {
    return items_ == nullptr ? place : static_cast<std::uint32_t>(items_[place]);
  }

 private:
  std::size_t bytes() const { return std::size_t{room_} * sizeof *items_; }
  bool allocate_items(std::uint32_t most);
  void keep_first(std::uint32_t most);
  void sort_items();

  std::uint32_t count_;
  std::uint32_t room_ = 0;  ///< of `items_`: for all rows, or for some if a page needs but few
  std::uint32_t used_ = 0;
  FoldMemory memory_;
  std::uint64_t* items_ = nullptr;  ///< counter in the upper half, number in the lower
  std::uint64_t last_ = 0;          ///< no item behind this one is needed
};

/// The order of `rows` by a counter of theirs, as far as `most`. The counter may be null where
/// `direction` is kFirstSeen.
template <class Rows, class Stat>
RowOrder sorted_rows(const Rows& rows, std::uint32_t Stat::*counter, Direction direction,
                     std::uint32_t most = RowOrder::kAllRows) {
  RowOrder order(rows.size());
  order.sort([&](std::uint32_t number) { return rows[number].*counter; }, direction, most);
  return order;
}

}  // namespace qsvmon
