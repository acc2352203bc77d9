#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qsvmon::sim {

/// A table read from a CSV file (RFC 4180 quoting, first line names the columns; empty lines and
/// lines that begin with "#" are skipped).
class CsvTable {
 public:
  /// Throws std::runtime_error, naming the file and the line, when the file cannot be opened or a
  /// row has not as many cells as the header.
  static CsvTable read(const std::string& path);

  /// The rows' number in the file, for messages, and their cells.
  struct Row {
    const CsvTable* table;
    std::size_t line;
    std::vector<std::string> cells;

    /// The cell of column `name`. Throws when there is no such column.
    const std::string& text(std::string_view name) const;
    /// The cell as an unsigned number up to `max`; empty counts as 0. Throws on anything else.
    unsigned long number(std::string_view name, unsigned long max) const;
    /// Throws std::runtime_error "<file>:<line>: <why>".
    [[noreturn]] void fail(const std::string& why) const;
  };

  CsvTable() = default;
  CsvTable(const CsvTable&) = delete;
  CsvTable& operator=(const CsvTable&) = delete;
  CsvTable(CsvTable&& other) noexcept;

  const std::vector<Row>& rows() const { return rows_; }

 private:
  std::size_t column(std::string_view name) const;

  std::string path_;
  std::vector<std::string> header_;
  std::vector<Row> rows_;
};

}  // namespace qsvmon::sim
