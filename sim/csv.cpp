#include "sim/csv.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qsvmon::sim {
namespace {

// The byte-order mark, which some programs put in front of UTF-8.
constexpr std::string_view kMark = "\xef\xbb\xbf";

// Reads the cells of one row from `text` at `at`, which moves behind the row's line end. `quoted`
// is set when the text ends within quotes.
std::vector<std::string> read_row(const std::string& text, std::size_t& at, std::size_t& line,
                                  bool& quoted) {
  std::vector<std::string> cells(1);
  quoted = false;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '\n') ++line;
    if (quoted) {
      if (c != '"') {
        cells.back() += c;
      } else if (at + 1 < text.size() && text[at + 1] == '"') {
        cells.back() += '"';
        ++at;
      } else {
        quoted = false;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',') {
      cells.emplace_back();
    } else if (c == '\n') {
      ++at;
      break;
    } else if (c != '\r') {
      cells.back() += c;
    }
  }
  return cells;
}

}  // namespace

CsvTable::CsvTable(CsvTable&& other) noexcept
    : path_(std::move(other.path_)),
      header_(std::move(other.header_)),
      rows_(std::move(other.rows_)) {
  for (Row& row : rows_) row.table = this;
}

CsvTable CsvTable::read(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot open " + path);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  CsvTable table;
  table.path_ = path;
  std::size_t line = 1;
  for (std::size_t at = text.rfind(kMark, 0) == 0 ? kMark.size() : 0; at < text.size();) {
    const std::size_t row_line = line;
    if (text[at] == '#') {  // quotes have no meaning in a comment
      at = std::min(text.find('\n', at), text.size() - 1) + 1;
      ++line;
      continue;
    }
    bool quoted = false;
    Row row{&table, row_line, read_row(text, at, line, quoted)};
    if (quoted) row.fail("a quote that is not closed");
    if (row.cells.size() == 1 && row.cells[0].empty()) continue;
    if (table.header_.empty()) {
      table.header_ = std::move(row.cells);
      continue;
    }
    if (row.cells.size() != table.header_.size()) {
      row.fail(std::to_string(row.cells.size()) + " cells, expected " +
               std::to_string(table.header_.size()));
    }
    table.rows_.push_back(std::move(row));
  }
  return table;
}

std::size_t CsvTable::column(std::string_view name) const {
  const auto it = std::find(header_.begin(), header_.end(), name);
  if (it == header_.end()) throw std::runtime_error(path_ + ": no column " + std::string(name));
  return static_cast<std::size_t>(it - header_.begin());
}

const std::string& CsvTable::Row::text(std::string_view name) const {
  return cells[table->column(name)];
}

unsigned long CsvTable::Row::number(std::string_view name, unsigned long max) const {
  const std::string& cell = text(name);
  if (cell.empty()) return 0;
  unsigned long value = 0;
  const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
  if (error != std::errc() || end != cell.data() + cell.size() || value > max) {
    fail(std::string(name) + " is not a number up to " + std::to_string(max) + ": " + cell);
  }
  return value;
}

void CsvTable::Row::fail(const std::string& why) const {
  throw std::runtime_error(table->path_ + ":" + std::to_string(line) + ": " + why);
}

}  // namespace qsvmon::sim
