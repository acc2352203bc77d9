#include "commands/malclog/malc_ip_agg.h"

namespace qsvmon {

KeyUse MalcIpAgg::key_of(const MalcEvent& event, std::uint32_t& key) {
  if (!tids_.counts(event) || !blocks_.ready_for(tids_.counted(event.bitmap))) return KeyUse::kSkip;
  key = side_ == Side::kSource ? event.src_net : event.dst_net;
  return KeyUse::kInsert;
}

void MalcIpAgg::add(std::span<const MalcEvent> events) {
  rows_.fold(
      events, [this](const MalcEvent& event, std::uint32_t& key) { return key_of(event, key); },
      [this](Row& row, const MalcEvent& event) {
        if (blocks_.count(row.tally, tids_.counted(event.bitmap))) ++row.total;
      });
}

}  // namespace qsvmon
