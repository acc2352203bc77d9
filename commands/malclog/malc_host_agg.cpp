#include "commands/malclog/malc_host_agg.h"

#include "platform/read_once.h"

namespace qsvmon {

KeyUse MalcHostAgg::key_of(const MalcEvent& event, Name& key) {
  const std::size_t length = read_once(event.host_len);
  if (length == 0 || length == kMaxName + 1) return KeyUse::kSkip;
  if (!tids_.counts(event) || !blocks_.ready_for(tids_.counted(event.bitmap))) return KeyUse::kSkip;
  key = Name::of(event.host, length <= kMaxName ? length : kMaxName);
  return length <= kMaxName ? KeyUse::kInsert : KeyUse::kReplace;
}

void MalcHostAgg::add(std::span<const MalcEvent> events) {
  rows_.fold(
      events, [this](const MalcEvent& event, Name& key) { return key_of(event, key); },
      [this](Row& row, const MalcEvent& event) {
        if (blocks_.count(row.tally, tids_.counted(event.bitmap))) ++row.total;
      });
}

}  // namespace qsvmon
