#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "commands/listing/entry_chunks.h"
#include "commands/listing/page.h"
#include "commands/listing/row_order.h"
#include "format/json_rows.h"
#include "format/printer.h"

namespace qsvmon {

/// What `print_page` shows: a range of the rows that pass, and how the document around them is
/// written.
struct RowPage {
  PageRange rows;
  std::string_view total;  ///< name of the member with the number of all rows that pass
  bool filtered = false;   ///< some rows may not pass
};

inline constexpr auto kEveryRow = [](const auto&) { return true; };

/// Prints the rows of `page`, and the number of all that pass. `rows[number]` is a row,
/// `print_row(row)` prints it and `passes(row)` says whether it counts at all. Without a filter
/// rows outside the page are not looked at.
template <class Rows, class PrintRow, class Passes = decltype(kEveryRow)>
void print_page(Printer& out, const Rows& rows, const RowOrder& order, const RowPage& page,
                PrintRow&& print_row, const Passes& passes = kEveryRow) {
  // Rows being prefetched: in sorted order neighbouring rows lie anywhere in memory.
  constexpr std::uint32_t kAhead = 16;
  const std::uint32_t begin = page.filtered ? 0 : std::min(page.rows.start, order.size());
  const std::uint32_t end = page.filtered ? order.size() : std::min(page.rows.end, order.size());
  std::uint32_t passed = begin;
  JsonRows document(out);
  for (std::uint32_t place = begin; place < end; ++place) {
    if (place + kAhead < end) prefetch_entry(rows[order[place + kAhead]]);
    const auto& stat = rows[order[place]];
    if (page.filtered && !passes(stat)) continue;
    if (!page.rows.contains(passed++)) continue;
    document.next_row();
    print_row(stat);
  }
  document.finish(page.total, page.filtered ? passed : order.size());
}

}  // namespace qsvmon
