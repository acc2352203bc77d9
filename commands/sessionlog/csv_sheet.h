#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>

#include "format/printer.h"

/// The small writer of the files that the session lists offer for download. Nothing is quoted or
/// escaped: a comma or line end inside a cell breaks the layout.
namespace qsvmon {

/// An open file with the row and column that come next. Closed by its end at the latest.
struct CsvSheet {
  CsvSheet() = default;
  CsvSheet(const CsvSheet&) = delete;
  CsvSheet& operator=(const CsvSheet&) = delete;
  ~CsvSheet();

  std::unique_ptr<FilePrinter> out;  ///< null when closed
  int fd = -1;
  std::uint32_t row = 0;  ///< 0 is the header row
  std::uint32_t col = 0;
};

/// Buffer size for a file's name.
constexpr std::size_t kCsvNameBytes = 128;

/// Writes "20240305070809.csv" for the local time `now` into `name`, NUL-terminated and cut to
/// `namecap` - 2 characters.
void csv_file_name(std::time_t now, char* name, std::size_t namecap);

/// Creates the file named by the current local time in the download folder, or empties the one of
/// that name (a second download within the same second replaces the first). The name without the
/// folder is left in `name`. Returns 0 with the sheet at row 0, column 0; or -1, also when
/// something else than a regular file has that name: a link, whatever it leads to, a FIFO, a
/// device.
int csv_open(CsvSheet& sheet, char* name, std::size_t namecap);

/// Goes to the first column of the next row.
inline void csv_next_row(CsvSheet& sheet) {
  ++sheet.row;
  sheet.col = 0;
}

/// Writes one cell, whose text the `parts` make as in Printer::put. Nothing when the sheet is
/// closed. KEEP: every row, the header row included, begins with its line end, so that the file
/// begins with an empty line and ends without one.
template <class... Parts>
void csv_text(CsvSheet& sheet, const Parts&... parts) {
  if (sheet.out == nullptr) return;
  sheet.out->put(sheet.col == 0 ? '\n' : ',', parts...);
  ++sheet.col;
}

/// Writes a cell that is a number.
inline void csv_number(CsvSheet& sheet, std::uint64_t value) {
  csv_text(sheet, value);
}

/// Writes what is buffered and closes the file; write errors are not reported. Harmless when
/// closed.
void csv_close(CsvSheet& sheet);

}  // namespace qsvmon
