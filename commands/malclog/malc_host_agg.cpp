#include "commands/malclog/malc_host_agg.h"

namespace qsvmon {

FoldStep<std::string_view> MalcHostAgg::step_of(const MalcEvent& event) {
  const std::size_t length = event.host_len;
  if (length == 0 || length == kMaxName + 1) return {};
  if (!tids_.counts(event) || !blocks_.ready_for(tids_.counted(event.bitmap))) return {};
  if (length <= kMaxName) return {Placement::kFind, {event.host, length}};
  return {Placement::kReplace, {event.host, kMaxName}};
}

void MalcHostAgg::add(std::span<const MalcEvent> events) {
  rows_.fold(
      events, [this](const MalcEvent& event) { return step_of(event); },
      [this](Row& row, const MalcEvent& event) {
        if (blocks_.count(row.tally, tids_.counted(event.bitmap))) ++row.total;
      });
}

}  // namespace qsvmon
