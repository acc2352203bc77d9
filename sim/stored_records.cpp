#include "sim/stored_records.h"

#include <cstdlib>

#include "commands/malclog/malc_record.h"
#include "commands/tcpreset/reset_record.h"
#include "sim/csv.h"
#include "sim/row_fields.h"

namespace qsvmon::sim {
namespace {

using Row = CsvTable::Row;

constexpr std::uint16_t kMaxResetApp = 0x3fff;  // the record has 14 bits for it

// "12.80" as 1280; at most 20 bits.
std::uint64_t hundredths(const Row& row, const char* column) {
  const std::string& text = row.text(column);
  if (text.empty()) return 0;
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end) * 100 + 0.5;
  const bool fits = value >= 0.5 && value < 0x100000;  // false for a NaN as well
  if (!fits || *end != '\0') row.fail("not within 0 and 10485.75: " + text);
  return static_cast<std::uint64_t>(value);
}

std::uint32_t class_of(const Row& row) {
  const std::string& name = row.text("class");
  if (name == "http") return kClassHttp;
  if (name == "https") return kClassHttps;
  if (name != "other") row.fail("class is not http, https or other");
  return 1;
}

ResetRecord reset_record(const Row& row, const Dictionary& dictionary) {
  ResetRecord record{};
  record.time_secs = time_of(row, "time");
  record.src_net = ip_net(row, "src");
  record.dst_net = ip_net(row, "dst");
  record.sport_net = port_net(row, "sport");
  record.dport_net = port_net(row, "dport");
  record.metrics =
      hundredths(row, "m1") << 20 | hundredths(row, "m2") << 40 | hundredths(row, "m3");
  record.val1 = static_cast<std::uint16_t>(row.number("val1", 65535));
  record.val2 = static_cast<std::uint16_t>(row.number("val2", 65535));
  record.val3 = static_cast<std::uint8_t>(row.number("val3", 255));
  record.appword = app_of(row, dictionary, kMaxResetApp) |
                   static_cast<std::uint32_t>(row.number("status", 1023)) << 14 |
                   class_of(row) << 26;
  copy_field(row, row.text("name"), record.name);
  return record;
}

std::uint8_t protocol(const Row& row) {
  const std::string& name = row.text("proto");
  if (name == "tcp") return 6;
  if (name == "udp") return 17;
  return static_cast<std::uint8_t>(row.number("proto", 255));
}

MalcEvent malc_event(const Row& row, const Dictionary& dictionary) {
  MalcEvent event{};
  event.time_secs = time_of(row, "time");
  event.src_net = ip_net(row, "src");
  event.dst_net = ip_net(row, "dst");
  event.sport_net = port_net(row, "sport");
  event.dport_net = port_net(row, "dport");
  std::uint64_t bitmap = 0;
  for (const std::string& slot : split_words(row.text("slots"))) {
    const bool digits = slot.find_first_not_of("0123456789") == std::string::npos;
    if (!digits || slot.size() > 2 || std::stoul(slot) >= kSlots) row.fail("no slot " + slot);
    bitmap |= std::uint64_t{1} << std::stoul(slot);
  }
  event.bitmap = bitmap;
  event.apid = app_of(row, dictionary, 65535);
  copy_mac(row, event.mac);
  event.proto = protocol(row);
  event.sign = static_cast<std::uint8_t>(row.number("sign", 15));
  copy_field(row, row.text("host"), event.host);
  event.host_len = static_cast<std::uint8_t>(row.text("host").size());
  return event;
}

MalcTid signature(const Row& row) {
  MalcTid entry{};
  entry.tid = static_cast<std::uint16_t>(row.number("tid", 65535));
  entry.vid = static_cast<std::uint16_t>(row.number("vid", 65535));
  entry.type = row.text("type") == "dns" ? 1 : 0;
  entry.disabled = static_cast<std::uint8_t>(row.number("disabled", 1));
  entry.itlgc = static_cast<std::uint8_t>(row.number("category", 31));
  entry.mkmode = static_cast<std::uint8_t>(row.number("mkmode", 255));
  copy_field(row, row.text("name"), entry.name);
  return entry;
}

}  // namespace

RecordSource StoredRecords::reset_sessions() const {
  return stored_records(read_rows(folder_ + "/reset_sessions.csv", [this](const Row& row) {
    return reset_record(row, dictionary_);
  }));
}

RecordSource StoredRecords::malicious_events() const {
  return stored_records(read_rows(folder_ + "/malicious_events.csv",
                                  [this](const Row& row) { return malc_event(row, dictionary_); }));
}

std::vector<char> read_signature_table(const std::string& folder) {
  const CsvTable csv = CsvTable::read(folder + "/signatures.csv");
  SignatureTable table{};
  for (const Row& row : csv.rows()) table[row.number("slot", kSlots - 1)] = signature(row);
  const char* from = reinterpret_cast<const char*>(table.data());
  return {from, from + sizeof table};
}

}  // namespace qsvmon::sim
