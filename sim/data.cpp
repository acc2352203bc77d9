#include "sim/data.h"

#include <algorithm>
#include <stdexcept>

#include "sim/csv.h"
#include "sim/generated_records.h"
#include "sim/stored_records.h"

namespace qsvmon::sim {
namespace {

std::vector<DictEntry> read_entries(const std::string& path, std::size_t capacity) {
  const CsvTable csv = CsvTable::read(path);
  std::vector<DictEntry> entries;
  for (const CsvTable::Row& row : csv.rows()) {
    DictEntry entry{};
    entry.id = static_cast<std::uint16_t>(row.number("id", 16383));
    entry.group = static_cast<std::uint16_t>(row.number("group", 65535));
    const std::string& name = row.text("name");
    const std::string& display = row.text("display_name");
    if (name.size() >= sizeof entry.name) row.fail("name too long");
    if (display.size() >= sizeof entry.display_name) row.fail("display_name too long");
    name.copy(entry.name, name.size());
    display.copy(entry.display_name, display.size());
    entries.push_back(entry);
  }
  if (entries.size() > capacity) throw std::runtime_error(path + ": too many rows");
  entries.resize(capacity);
  return entries;
}

void append(std::vector<char>& bytes, const std::vector<DictEntry>& entries) {
  const char* from = reinterpret_cast<const char*>(entries.data());
  bytes.insert(bytes.end(), from, from + entries.size() * sizeof(DictEntry));
}

}  // namespace

std::uint16_t Dictionary::id(const std::string& name) const {
  if (name.empty()) return 0;
  if (name.find_first_not_of("0123456789") == std::string::npos) {
    const unsigned long number = name.size() > 5 ? 65536 : std::stoul(name);
    if (number > 65535) throw std::runtime_error("not an application's number: " + name);
    return static_cast<std::uint16_t>(number);
  }
  const auto found = id_by_name.find(name);
  if (found == id_by_name.end()) throw std::runtime_error("unknown application: " + name);
  return found->second;
}

Dictionary read_dictionary(const std::string& folder) {
  Dictionary dictionary;
  for (const BuiltinApp& app : kBuiltinApps) dictionary.id_by_name[app.name] = app.id;
  const std::vector<DictEntry> apps = read_entries(folder + "/user_apps.csv", kUserApps);
  for (const DictEntry& app : apps) {
    if (app.name[0] != '\0') dictionary.id_by_name[app.name] = app.id;
  }
  append(dictionary.tables, apps);
  append(dictionary.tables, read_entries(folder + "/user_groups.csv", kUserGroups));
  return dictionary;
}

std::map<std::string, RecordSource> read_listings(const DataOptions& options,
                                                  const Dictionary& dictionary) {
  std::map<std::string, RecordSource> listings;
  if (options.records == 0) {
    const StoredRecords stored(options.folder, dictionary);
    listings.emplace("tcpreset", stored.reset_sessions());
    listings.emplace("qsvmalicious", stored.malicious_events());
    listings.emplace("emaillog", stored.mails());
    listings.emplace("ftplog", stored.ftp_operations());
    listings.emplace("telnetlog", stored.telnet_commands());
  } else {
    const GeneratedRecords generated(options.records, options.distinct, options.seed);
    listings.emplace("tcpreset", generated.reset_sessions());
    listings.emplace("qsvmalicious", generated.malicious_events());
    listings.emplace("emaillog", generated.mails());
    listings.emplace("ftplog", generated.ftp_operations());
    listings.emplace("telnetlog", generated.telnet_commands());
  }
  // The signatures are the same either way: generated events match the slots of the file.
  listings["qsvmalicious"].head = read_signature_table(options.folder);
  return listings;
}

}  // namespace qsvmon::sim
