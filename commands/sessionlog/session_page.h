#pragma once

#include <cstdint>
#include <limits>

#include "commands/listing/page.h"
#include "commands/listing/record_list.h"
#include "commands/sessionlog/csv_sheet.h"
#include "format/printer.h"

/// The page loop of the session lists. A `Row` is a list's own: load(record) prepares it and says
/// whether the record is shown at all, print(out) and write(sheet) show it.
namespace qsvmon {

/// Calls `show(row)` for each record on the page, largest key first. Returns the list's "count".
/// KEEP: a hidden record is not counted and takes no place on the page, and only those that come up
/// on the page are found to be hidden; so the count depends on the page.
template <class Row, class Show>
std::uint32_t show_page(RecordList<typename Row::Record>& list, PageRange page, Row& row,
                        Show&& show) {
  const bool shows_any = page.start < page.end;
  SortedRecords<typename Row::Record> sorted(list, shows_any ? page.start : list.size());
  std::uint32_t shown = 0;
  for (std::uint32_t at = 0; at < sorted.size(); ++at) {
    if (page.contains(shown)) {
      if (!row.load(sorted.at(at))) continue;
      show(row);
    }
    ++shown;
  }
  return shown;
}

/// Prints one page of `list` as a JSON object, without a newline.
template <class Row>
void print_page(Printer& out, RecordList<typename Row::Record>& list, PageRange page, Row& row) {
  std::string_view comma;
  out.put("{\"data\":[");
  const std::uint32_t count = show_page(list, page, row, [&](Row& loaded) {
    out.put(comma);
    comma = ",";
    loaded.print(out);
  });
  out.put("],\"count\":", count, '}');
}

/// Writes the header row and all of `list` to `sheet`.
template <class Row>
void write_sheet(CsvSheet& sheet, RecordList<typename Row::Record>& list, Row& row) {
  Row::write_header(sheet);
  show_page(list, {0, list.size()}, row, [&](const Row& loaded) {
    csv_next_row(sheet);
    loaded.write(sheet);
  });
}

}  // namespace qsvmon
