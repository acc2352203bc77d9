#pragma once

#include <cstdint>
#include <span>

#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/record_list.h"
#include "format/json_rows.h"
#include "format/printer.h"

/// The page loop of the session lists. A `Row` is a list's own, named by the caller: load(record)
/// prepares it and says whether the record is shown at all, print(out) and write(sheet) show it.
namespace qsvmon {

/// Calls `show(row)` for each record on the sorted list's page. Returns the list's "count".
/// KEEP: a hidden record is not counted and has no place on the page. But a record is only looked
/// at when its turn on the page comes; hidden ones elsewhere are counted, so that the count depends
/// on the page.
template <class Row, class Show>
std::uint32_t show_page(const RecordList& list, Show&& show) {
  const PageRange page = list.page();
  std::uint32_t count = list.count();
  std::uint32_t shown = page.start;
  Row row;
  for (std::uint32_t at = page.start; page.contains(shown) && at < list.size(); ++at) {
    const std::span<const char> record = list[at];
    if (record.empty() || !row.load(record)) {
      --count;
    } else {
      show(row);
      ++shown;
    }
  }
  return count;
}

/// Prints the page of `list` as a JSON object, without a newline. Rows of counters have print_page
/// (commands/listing/row_page.h), which knows nothing of hidden records.
template <class Row>
void print_record_page(Printer& out, const RecordList& list) {
  JsonRows document(out);
  const std::uint32_t count = show_page<Row>(list, [&](const Row& row) {
    document.next_row();
    row.print(out);
  });
  document.finish("count", count);
}

/// Writes the header row and the page of `list`, which holds all records, to `sheet`.
template <class Row>
void write_sheet(CsvSheet& sheet, const RecordList& list) {
  Row::write_header(sheet);
  show_page<Row>(list, [&](const Row& row) {
    csv_next_row(sheet);
    row.write(sheet);
  });
}

}  // namespace qsvmon
