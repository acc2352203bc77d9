#include "commands/malclog/malc_ip_agg.h"

namespace qsvmon {

FoldStep<std::uint32_t> MalcIpAgg::step_of(const MalcEvent& event) {
  if (!tids_.counts(event) || !blocks_.ready_for(tids_.counted(event.bitmap))) return {};
  return {Placement::kFind, side_ == Side::kSource ? event.src_net : event.dst_net};
}

void MalcIpAgg::add(std::span<const MalcEvent> events) {
  rows_.fold(
      events, [this](const MalcEvent& event) { return step_of(event); },
      [this](Row& row, const MalcEvent& event) {
        if (blocks_.count(row.tally, tids_.counted(event.bitmap))) ++row.total;
      });
}

}  // namespace qsvmon
