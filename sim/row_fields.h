#pragma once

#include <arpa/inet.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "sim/csv.h"
#include "sim/data.h"
#include "sim/text.h"

// From the cells of a data file's row to the fields of a wire record. Each throws, naming file and
// line, for what does not fit.

namespace qsvmon::sim {

/// Copies `text` into a zeroed field; a text as long as the field has no NUL behind it.
template <std::size_t Width>
void copy_field(const CsvTable::Row& row, const std::string& text, char (&to)[Width]) {
  if (text.size() > Width) row.fail("longer than " + std::to_string(Width) + ": " + text);
  std::memcpy(to, text.data(), text.size());
}

inline std::uint32_t ip_net(const CsvTable::Row& row, const char* column) {
  std::uint32_t host = 0;
  if (!parse_address(row.text(column), host)) row.fail("not an address");
  return htonl(host);
}

inline std::uint16_t port_net(const CsvTable::Row& row, const char* column) {
  return htons(static_cast<std::uint16_t>(row.number(column, 65535)));
}

inline std::uint32_t time_of(const CsvTable::Row& row, const char* column) {
  return static_cast<std::uint32_t>(row.number(column, 0xffffffff));
}

/// The column "app": a name of the dictionary or a number up to `max`.
inline std::uint16_t app_of(const CsvTable::Row& row, const Dictionary& dictionary,
                            std::uint16_t max) {
  const std::string& name = row.text("app");
  try {
    const std::uint16_t id = dictionary.id(name);
    if (id <= max) return id;
  } catch (const std::runtime_error& error) {
    row.fail(error.what());
  }
  row.fail("not an application's number here: " + name);
}

/// The column "mac".
inline void copy_mac(const CsvTable::Row& row, std::uint8_t (&mac)[6]) {
  if (!parse_mac(row.text("mac"), mac)) row.fail("not a MAC address");
}

/// Makes a record of every row of a file.
template <class Make>
auto read_rows(const std::string& path, Make make) {
  const CsvTable csv = CsvTable::read(path);
  std::vector<decltype(make(csv.rows().front()))> records;
  for (const CsvTable::Row& row : csv.rows()) records.push_back(make(row));
  return records;
}

}  // namespace qsvmon::sim
