#include "commands/tcpreset/dns_fold.h"

namespace qsvmon {

namespace {

void count_status(DnsStat& stat, std::uint32_t status) {
  stat.http50x += status >= 500;
  stat.http40x += status >= 400 && status < 500;
  stat.http30x += status >= 300 && status < 400;
  stat.http20x += status >= 200 && status < 300;
}

void count_name(DnsStat& stat, const ResetRecord& record) {
  count_flow(stat, record);
  put_port(stat.slots, record);
  count_status(stat, record.http_status());
}

}  // namespace

void DnsFold::add(std::span<const ResetRecord> records) {
  table_.fold(
      records,
      [](const ResetRecord& record, NameKey<4>& key) {
        key = NameKey<4>::up_to_nul(record.name);
        return key.length() == 0 ? KeyUse::kSkip : KeyUse::kInsert;
      },
      [](DnsStat& stat, const ResetRecord& record) { count_name(stat, record); });
}

}  // namespace qsvmon
