#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "commands/listing/entry_chunks.h"
#include "commands/listing/row_order.h"
#include "format/json_rows.h"
#include "format/printer.h"

namespace qsvmon {

/// The rows that the word "row=" asks for: a closed range, `first` to `last`, counted from 1 among
/// the rows that pass the filter. The words "page=" and "limit=" ask for a PageRange (page.h)
/// instead, which is half-open and counted from 0.
struct RowRange {
  std::uint32_t first = 0;
  std::uint32_t last = 0xffffffff;
};

/// What `print_page` shows: a range of rows, and how the document around them is written.
struct RowPage {
  RowRange rows;
  std::string_view total;  ///< name of the member with the number of all rows that pass
  bool filtered = false;   ///< some rows may not pass
};

/// Prints the rows of `page`, and the number of all that pass. `rows[number]` is a row,
/// `print_row(row)` prints it and `passes(row)` says whether it counts at all. Without a filter
/// rows outside the page are not looked at.
template <class Rows, class PrintRow, class Passes>
void print_page(Printer& out, const Rows& rows, const RowOrder& order, const RowPage& page,
                PrintRow&& print_row, Passes&& passes) {
  // Rows being prefetched: in sorted order neighbouring rows lie anywhere in memory.
  constexpr std::uint32_t kAhead = 16;
  const auto [first, last] = page.rows;
  const std::uint32_t begin = page.filtered || first == 0 ? 0 : std::min(first - 1, order.size());
  const std::uint32_t end = page.filtered ? order.size() : std::min(last, order.size());
  std::uint32_t row = begin;
  JsonRows document(out);
  for (std::uint32_t place = begin; place < end; ++place) {
    if (place + kAhead < end) prefetch_entry(rows[order[place + kAhead]]);
    const auto& stat = rows[order[place]];
    if (page.filtered && !passes(stat)) continue;
    ++row;
    if (row < first || row > last) continue;
    document.next_row();
    print_row(stat);
  }
  document.finish(page.total, page.filtered ? row : order.size());
}

/// The same where every row passes.
template <class Rows, class PrintRow>
void print_page(Printer& out, const Rows& rows, const RowOrder& order, const RowPage& page,
                PrintRow&& print_row) {
  print_page(out, rows, order, page, print_row, [](const auto&) { return true; });
}

}  // namespace qsvmon
