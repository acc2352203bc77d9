#include "commands/tcpreset/ip_fold.h"

namespace qsvmon {

namespace {

void count_app(IpStat& stat, const ResetRecord& record) {
  count_flow(stat, record);
  const std::uint32_t id = record.app_id();
  stat.slots.put(id % 8, static_cast<std::uint16_t>(id));
}

void count_port(IpStat& stat, const ResetRecord& record) {
  count_flow(stat, record);
  put_port(stat.slots, record);
}

}  // namespace

void IpFold::add(std::span<const ResetRecord> records) {
  if (side_ == IpSide::kSrc) {
    table_.fold(
        records,
        [](const ResetRecord& r, std::uint32_t& key) {
          key = r.src_net;
          return KeyUse::kInsert;
        },
        [](IpStat& stat, const ResetRecord& r) { count_app(stat, r); });
  } else {
    table_.fold(
        records,
        [](const ResetRecord& r, std::uint32_t& key) {
          key = r.dst_net;
          return KeyUse::kInsert;
        },
        [](IpStat& stat, const ResetRecord& r) { count_port(stat, r); });
  }
}

}  // namespace qsvmon
