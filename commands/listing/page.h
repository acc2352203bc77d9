#pragma once

#include <cstdint>

namespace qsvmon {

/// One page of a listing, all of it if nothing else is said: a half-open range of positions that
/// are counted from 0, `start` up to but not including `end`. An `end` below `start` is a page that
/// shows nothing.
struct PageRange {
  std::uint32_t start = 0;
  std::uint32_t end = 0xFFFFFFFF;

  /// True when position `k` lies on the page, compared as unsigned numbers.
  bool contains(std::uint32_t k) const { return start <= k && k < end; }

  /// The same compared as signed numbers: a page before the first begins at a negative position and
  /// may reach into the listing's first rows.
  bool contains_signed(std::int32_t k) const {
    return static_cast<std::int32_t>(start) <= k && k < static_cast<std::int32_t>(end);
  }
};

/// The range of page `page` (counted from 1) of `limit` rows, as the words "page=" and "limit=" ask
/// for it. All arithmetic is 32-bit and wraps, so that any number in a word has a meaning.
constexpr PageRange page_range(std::int32_t page, std::int32_t limit) {
  const std::uint32_t rows = static_cast<std::uint32_t>(limit);
  const std::uint32_t start = (static_cast<std::uint32_t>(page) - 1U) * rows;
  return {start, start + rows};
}

}  // namespace qsvmon
