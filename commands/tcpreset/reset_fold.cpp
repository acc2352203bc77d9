#include "commands/tcpreset/reset_fold.h"

#include "format/byte_order.h"

namespace qsvmon {
namespace {

/// Updates every counter of `stat`; `slots` is left to the caller.
/// KEEP: a `mintime` of 0 counts as unset, so that the record behind a session of time 0 replaces
/// it.
inline void count_flow(FlowStat& stat, const ResetRecord& record) {
  const std::uint32_t time = record.time_secs;
  stat.flowcnt += 1;
  if (time > stat.maxtime) stat.maxtime = time;
  if (time < stat.mintime || stat.mintime == 0) stat.mintime = time;
  const std::uint32_t traffic = record.traffic_class();
  stat.http += traffic == kClassHttp;
  stat.https += traffic == kClassHttps;
}

/// KEEP: the place is computed from the port in network order, while the value is the port in host
/// order; which ports a row shows, and in which sequence, depends on it.
inline void count_port(FlowStat& stat, const ResetRecord& record) {
  count_flow(stat, record);
  const std::uint16_t raw = record.dport_net;
  stat.slots.put(raw % 8u, from_net16(raw));
}

inline void count_app(FlowStat& stat, const ResetRecord& record) {
  count_flow(stat, record);
  const std::uint32_t id = record.app_id();
  stat.slots.put(id % 8, static_cast<std::uint16_t>(id));
}

/// By the hundreds of an HTTP status, which has 10 bits. Those below 200 have none: they add 0 to
/// one.
constexpr std::uint32_t DnsStat::*kStatusCounters[] = {
    &DnsStat::http20x, &DnsStat::http20x, &DnsStat::http20x, &DnsStat::http30x,
    &DnsStat::http40x, &DnsStat::http50x, &DnsStat::http50x, &DnsStat::http50x,
    &DnsStat::http50x, &DnsStat::http50x, &DnsStat::http50x};

inline void count_name(DnsStat& stat, const ResetRecord& record) {
  count_port(stat, record);
  const std::uint32_t status = record.http_status();
  stat.*kStatusCounters[status / 100] += status >= 200;
}

}  // namespace

void IpFold::add(std::span<const ResetRecord> records) {
  const auto by_dst = [](const ResetRecord& record, std::uint32_t& key, NoNote&) {
    key = record.dst_net;
    return KeyUse::kInsert;
  };
  const auto by_src = [](const ResetRecord& record, std::uint32_t& key, NoNote&) {
    key = record.src_net;
    return KeyUse::kInsert;
  };
  if (side_ == IpSide::kDst) {
    table_.fold<NoNote>(records, by_dst,
                        [](IpStat& s, const ResetRecord& r, NoNote) { count_port(s, r); });
  } else {
    table_.fold<NoNote>(records, by_src,
                        [](IpStat& s, const ResetRecord& r, NoNote) { count_app(s, r); });
  }
}

void DnsFold::add(std::span<const ResetRecord> records) {
  const auto by_name = [](const ResetRecord& record, NameKey<32>& key, NoNote&) {
    key = NameKey<32>::up_to_nul(record.name);
    return key.length() == 0 ? KeyUse::kSkip : KeyUse::kInsert;
  };
  table_.fold<NoNote>(records, by_name,
                      [](DnsStat& s, const ResetRecord& r, NoNote) { count_name(s, r); });
}

}  // namespace qsvmon
