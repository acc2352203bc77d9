#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "sim/call.h"
#include "sim/modules.h"

namespace qsvmon::sim {

/// One entry of an IP table: a single address (low == high) or a range, host order.
struct IpEntry {
  std::uint32_t low;
  std::uint32_t high;
  std::string info;
};

struct IpTable {
  unsigned long id;
  std::string name;
  std::vector<IpEntry> entries;  ///< in the order they were added

  bool contains(std::uint32_t ip) const;
  /// Every single address, range by range.
  std::vector<std::uint32_t> addresses() const;
};

/// The IP tables of one daemon. A table is named by its number or its name; adding an
/// address to a number without a table creates the table.
class IpTables {
 public:
  void create(unsigned long id, const std::string& name);
  IpTable* find(const std::string& id_or_name);
  /// Makes the tables those of `items`: creates the missing ones, removes the others.
  void set_tables(const std::vector<Item>& items);

  /// The commands, on the words "tid=" or "table=" (or a bare first word) and "ip=". Each fails
  /// with "NO_TABLE", "INV_IP", "RANGE_TOO_LARGE", "NOT_FOUND" or "NO_FILE".
  void add(Call& call);
  void remove(Call& call);  ///< one entry; without an address every entry of the table
  void load(Call& call);    ///< a file with an address or a range, and a label, on each line
  /// The table's compiled form: addresses sorted and merged, one "a" or "a-b" a line.
  void compiled(Call& call, const std::string& table);
  void clear(Call& call, const std::string& table);
  /// Whether an address is in a table: "match <table> <ip>" or "no match".
  void match(Call& call, const std::string& table, const std::string& ip);
  /// Adds an entry without a call, when the appliance starts. False when `range` is no address.
  bool seed(const std::string& table, const std::string& range, const std::string& info);

 private:
  IpTable* find_or_fail(Call& call, const std::string& id_or_name);
  const char* add_entry(IpTable& table, const std::string& range, const std::string& info);

  std::map<unsigned long, IpTable> tables_;
};

/// The table that the words name: "tid=", "table=" or the first word without "=".
std::string table_of(const Words& words);

}  // namespace qsvmon::sim
