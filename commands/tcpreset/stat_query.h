#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "commands/listing/row_order.h"
#include "format/status.h"
#include "rpc/words.h"

namespace qsvmon {

/// The rows to show, counted from 1, both ends included.
struct RowRange {
  std::uint32_t first = 0;
  std::uint32_t last = 0xffffffff;
};

/// What the address and the name listing are asked for alike. `Stat` is a row's type.
template <class Stat>
struct StatQuery {
  RowRange rows;
  const char* filter = nullptr;            ///< text that a row's key contains; null for all
  std::uint32_t Stat::*counter = nullptr;  ///< what to sort by; null as first seen
  Direction direction = Direction::kFirstSeen;

  /// Without a counter or without a direction all rows are equal.
  Direction sorting() const { return counter == nullptr ? Direction::kFirstSeen : direction; }
};

template <class Stat>
struct SortKey {
  std::string_view word;
  std::uint32_t Stat::*counter;
};

/// What "order=asc" and "order=desc" mean to a listing; the two listings differ.
struct OrderWords {
  Direction asc;
  Direction desc;
};

/// Reads the numbers of "row=": "first-last" as sscanf's "%u-%u" takes it (blanks before a number,
/// a sign and text behind pass). INVALID_ROW when there are fewer than two.
Status parse_row_range(const char* text, RowRange& rows);

/// The direction of "order=", or `present` for an unknown word.
Direction parse_order(std::string_view text, const OrderWords& words, Direction present);

/// Takes one of the words "row=", "filter=", "order=" and "sort="; others are left to the daemon,
/// and so are unknown directions and keys.
template <class Stat>
Status parse_stat_word(const char* word, std::span<const SortKey<Stat>> keys,
                       const OrderWords& orders, StatQuery<Stat>& query) {
  if (const char* text = after_prefix(word, "row=")) return parse_row_range(text, query.rows);
  if (const char* text = after_prefix(word, "filter=")) {
    query.filter = text;
  } else if (const char* order = after_prefix(word, "order=")) {
    query.direction = parse_order(order, orders, query.direction);
  } else if (const char* sort = after_prefix(word, "sort=")) {
    for (const SortKey<Stat>& key : keys) {
      if (key.word == sort) query.counter = key.counter;
    }
  }
  return Status::good();
}

}  // namespace qsvmon
