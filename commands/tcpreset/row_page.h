#pragma once

#include <algorithm>
#include <cstdint>

#include "commands/listing/row_order.h"
#include "commands/tcpreset/stat_query.h"
#include "format/printer.h"

namespace qsvmon {

/// Prints the JSON document around the rows: those whose place among the rows that pass, counted
/// from 1, lies in `range`, with commas between them, and the number of all that pass.
/// `print_row(number)` prints one row, `passes(number)` says whether the filter lets it through and
/// `prefetch(number)` has a row's memory fetched soon. Rows outside the page cost nothing when
/// there is no filter.
template <class PrintRow, class Passes, class Prefetch>
void print_page(Printer& out, const RowOrder& order, RowRange range, bool filtered,
                PrintRow&& print_row, Passes&& passes, Prefetch&& prefetch) {
  constexpr std::uint32_t kAhead = 16;
  out.put("{\"data\":[");
  const std::uint32_t first = std::max(range.first, 1u);
  // Without a filter a row's place is known beforehand.
  const std::uint32_t begin = filtered ? 0 : std::min(first - 1, order.size());
  const std::uint32_t end = filtered ? order.size() : std::min(range.last, order.size());
  std::uint32_t row = begin;
  bool comma = false;
  for (std::uint32_t place = begin; place < end; ++place) {
    if (place + kAhead < end) prefetch(order[place + kAhead]);
    const std::uint32_t number = order[place];
    if (filtered && !passes(number)) continue;
    ++row;
    if (row < range.first || row > range.last) continue;
    if (comma) out.put(',');
    comma = true;
    print_row(number);
  }
  out.put("],\"total\":", filtered ? row : order.size(), '}');
}

}  // namespace qsvmon
