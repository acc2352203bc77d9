#pragma once

#include <algorithm>
#include <cstdint>

#include "commands/listing/row_order.h"
#include "commands/tcpreset/stat_query.h"
#include "format/printer.h"

namespace qsvmon {

/// Prints the JSON document around the rows: those whose place among the rows that pass, counted
/// from 1, lies in `range`, with commas between them, and the number of all that pass.
/// `rows[number]` is a row, `print_row(row)` prints it and `passes(row)` says whether the filter
/// lets it through. Rows outside the page cost nothing when there is no filter.
template <class Rows, class PrintRow, class Passes>
void print_page(Printer& out, const Rows& rows, const RowOrder& order, RowRange range,
                bool filtered, PrintRow&& print_row, Passes&& passes) {
  constexpr std::uint32_t kAhead = 16;  // rows whose memory is on its way
  out.put("{\"data\":[");
  // Without a filter a row's place is known beforehand.
  const std::uint32_t before = range.first > 0 ? range.first - 1 : 0;
  const std::uint32_t begin = filtered ? 0 : std::min(before, order.size());
  const std::uint32_t end = filtered ? order.size() : std::min(range.last, order.size());
  std::uint32_t row = begin;
  bool comma = false;
  for (std::uint32_t place = begin; place < end; ++place) {
    if (place + kAhead < end) prefetch_entry(rows[order[place + kAhead]]);
    const auto& stat = rows[order[place]];
    if (filtered && !passes(stat)) continue;
    ++row;
    if (row < range.first || row > range.last) continue;
    if (comma) out.put(',');
    comma = true;
    print_row(stat);
  }
  out.put("],\"total\":", filtered ? row : order.size(), '}');
}

}  // namespace qsvmon
