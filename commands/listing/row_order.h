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
  /// `count` rows as first seen; allocates nothing.
  explicit RowOrder(std::uint32_t count, FoldMemory memory = {}) : count_(count), memory_(memory) {}
  RowOrder(RowOrder&& other) noexcept
      : count_(other.count_),
        memory_(other.memory_),
        items_(std::exchange(other.items_, nullptr)) {}
  RowOrder& operator=(RowOrder&&) = delete;
  ~RowOrder() { memory_.free(items_, bytes()); }

  /// Sorts by `counter_of(number)`, a u32 that is asked once for each row. Time is linear in the
  /// rows. Without memory the order stays as it is.
  template <class CounterOf>
  void sort(CounterOf&& counter_of, Direction direction) {
    if (direction == Direction::kFirstSeen || count_ < 2 || !allocate_items()) return;
    const std::uint32_t flip = direction == Direction::kLargestFirst ? 0xffffffff : 0;
    for (std::uint32_t number = 0; number < count_; ++number) {
      const std::uint32_t counter = counter_of(number);
      items_[number] = std::uint64_t{counter ^ flip} << 32 | number;
    }
    sort_items();
  }

  std::uint32_t size() const { return count_; }
  /// The number of the row at `place` (0 <= place < size()).
  std::uint32_t operator[](std::uint32_t place) const {
    return items_ == nullptr ? place : static_cast<std::uint32_t>(items_[place]);
  }

 private:
  std::size_t bytes() const { return std::size_t{count_} * sizeof *items_; }
  bool allocate_items();
  void sort_items();

  std::uint32_t count_;
  FoldMemory memory_;
  std::uint64_t* items_ = nullptr;  ///< counter in the upper half, number in the lower
};

/// The order of `rows` by `counter_of(row)`.
template <class Rows, class CounterOf>
RowOrder sorted_rows(const Rows& rows, CounterOf&& counter_of, Direction direction) {
  RowOrder order(static_cast<std::uint32_t>(rows.size()));
  order.sort([&](std::uint32_t number) { return counter_of(rows[number]); }, direction);
  return order;
}

}  // namespace qsvmon
