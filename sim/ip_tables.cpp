#include "sim/ip_tables.h"

#include <algorithm>
#include <cstdlib>

#include "sim/text.h"

namespace qsvmon::sim {
namespace {

constexpr std::uint32_t kMaxRange = 65536;  // addresses in one entry

bool is_number(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Sorted, with adjacent and overlapping entries merged.
std::vector<IpEntry> merged(std::vector<IpEntry> entries) {
  std::sort(entries.begin(), entries.end(),
            [](const IpEntry& a, const IpEntry& b) { return a.low < b.low; });
  std::vector<IpEntry> out;
  for (const IpEntry& entry : entries) {
    if (!out.empty() && (out.back().high == 0xffffffffU || entry.low <= out.back().high + 1)) {
      out.back().high = std::max(out.back().high, entry.high);
    } else {
      out.push_back(entry);
    }
  }
  return out;
}

std::string range_text(std::uint32_t low, std::uint32_t high) {
  if (low == 0 && high == 0xffffffffU) return "any";
  return high == low ? address_text(low) : address_text(low) + "-" + address_text(high);
}

// A command that prints nothing on success.
void reply_nothing(Call& call) {
  begin_text(call);
  end_text(call);
}

}  // namespace

bool IpTable::contains(std::uint32_t ip) const {
  return std::any_of(entries.begin(), entries.end(),
                     [ip](const IpEntry& e) { return e.low <= ip && ip <= e.high; });
}

std::vector<std::uint32_t> IpTable::addresses() const {
  std::vector<std::uint32_t> all;
  for (const IpEntry& entry : entries) {
    for (std::uint32_t n = 0; n <= entry.high - entry.low; ++n) all.push_back(entry.low + n);
  }
  return all;
}

std::string table_of(const Words& words) {
  for (const char* key : {"tid", "table"}) {
    if (std::string value = word_value(words, key); !value.empty()) return value;
  }
  for (const std::string& word : words) {
    if (word.find('=') == std::string::npos) return word;
  }
  return "";
}

void IpTables::create(unsigned long id, const std::string& name) {
  tables_.emplace(id, IpTable{id, name, {}});
}

void IpTables::set_tables(const std::vector<Item>& items) {
  std::map<unsigned long, IpTable> tables;
  for (const Item& item : items) {
    const std::string name = word_value(item.words, "name");
    const auto old = tables_.find(item.id);
    IpTable table = old != tables_.end() ? std::move(old->second) : IpTable{item.id, "", {}};
    table.name = name.empty() ? std::to_string(item.id) : name;
    tables.emplace(item.id, std::move(table));
  }
  tables_ = std::move(tables);
}

IpTable* IpTables::find(const std::string& id_or_name) {
  for (auto& [id, table] : tables_) {
    if (std::to_string(id) == id_or_name || table.name == id_or_name) return &table;
  }
  return nullptr;
}

IpTable* IpTables::find_or_fail(Call& call, const std::string& id_or_name) {
  IpTable* table = id_or_name.empty() ? nullptr : find(id_or_name);
  if (table == nullptr) call.fail("NO_TABLE");
  return table;
}

const char* IpTables::add_entry(IpTable& table, const std::string& range, const std::string& info) {
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  if (!parse_range(range, low, high)) return "INV_IP";
  if (high - low >= kMaxRange) return "RANGE_TOO_LARGE";
  const auto same = [&](const IpEntry& e) { return e.low == low && e.high == high; };
  const auto old = std::find_if(table.entries.begin(), table.entries.end(), same);
  if (old != table.entries.end()) {
    old->info = info;
  } else {
    table.entries.push_back({low, high, info});
  }
  return nullptr;
}

bool IpTables::seed(const std::string& table, const std::string& range, const std::string& info) {
  IpTable* found = find(table);
  return found != nullptr && add_entry(*found, range, info) == nullptr;
}

void IpTables::add(Call& call) {
  const std::string name = table_of(call.words);
  if (is_number(name)) create(std::strtoul(name.c_str(), nullptr, 10), name);
  IpTable* table = find_or_fail(call, name);
  if (table == nullptr) return;
  const char* error =
      add_entry(*table, word_value(call.words, "ip"), word_value(call.words, "info"));
  if (error != nullptr) return call.fail(error);
  reply_nothing(call);
}

void IpTables::remove(Call& call) {
  IpTable* table = find_or_fail(call, table_of(call.words));
  if (table == nullptr) return;
  const std::string range = word_value(call.words, "ip");
  if (range.empty()) return clear(call, std::to_string(table->id));
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  if (!parse_range(range, low, high)) return call.fail("INV_IP");
  const auto gone =
      std::remove_if(table->entries.begin(), table->entries.end(),
                     [&](const IpEntry& e) { return e.low == low && e.high == high; });
  if (gone == table->entries.end()) return call.fail("NOT_FOUND");
  table->entries.erase(gone, table->entries.end());
  reply_nothing(call);
}

void IpTables::clear(Call& call, const std::string& name) {
  IpTable* table = find_or_fail(call, name);
  if (table == nullptr) return;
  table->entries.clear();
  reply_nothing(call);
}

void IpTables::load(Call& call) {
  const std::string name = table_of(call.words);
  if (is_number(name)) create(std::strtoul(name.c_str(), nullptr, 10), name);
  IpTable* table = find_or_fail(call, name);
  if (table == nullptr) return;
  // The file is the word behind the table, or "file=".
  Words file_words;
  for (const std::string& word : call.words) {
    if (word != name) file_words.push_back(word);
  }
  std::vector<std::string> lines;
  if (!read_lines(file_words, lines)) return call.fail("NO_FILE");
  int loaded = 0;
  for (const std::string& line : lines) {
    const std::size_t blank = line.find_first_of(" \t");
    const std::string info = blank == std::string::npos ? "" : line.substr(blank + 1);
    if (add_entry(*table, line.substr(0, blank), info) == nullptr) ++loaded;
  }
  begin_text(call);
  call.request.result = loaded;
  append(call.out, "loaded=%d\n", loaded);
  end_text(call);
}

void IpTables::compiled(Call& call, const std::string& name) {
  const IpTable* table = find_or_fail(call, name);
  if (table == nullptr) return;
  begin_text(call);
  for (const IpEntry& entry : merged(table->entries)) {
    append(call.out, "%s\n", range_text(entry.low, entry.high).c_str());
  }
  end_text(call);
}

void IpTables::match(Call& call, const std::string& name, const std::string& ip) {
  const IpTable* table = find_or_fail(call, name);
  if (table == nullptr) return;
  std::uint32_t address = 0;
  if (!parse_address(ip, address)) return call.fail("INV_IP");
  const bool found = table->contains(address);
  call.request.result = found ? 1 : 0;
  begin_text(call);
  append(call.out, "%s %s %s", found ? "match" : "no match", table->name.c_str(),
         address_text(address).c_str());
  end_text(call);
}

}  // namespace qsvmon::sim
