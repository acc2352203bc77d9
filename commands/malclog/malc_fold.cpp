#include "commands/malclog/malc_fold.h"

#include <bit>

#include "platform/read_once.h"

namespace qsvmon {
namespace {

/// Counts an event of the address and the host listing into its row.
struct CountEvent {
  TallyBlocks& blocks;

  template <class Row>
  void operator()(Row& row, const MalcEvent&, std::uint64_t slots) const {
    if (blocks.count(row.tally, slots)) ++row.total;
  }
};

/// True when an event counts, in `slots`, and there is memory to count it; asked before a row is
/// made for it.
inline bool can_count(const TidPool& tids, TallyBlocks& blocks, const MalcEvent& event,
                      std::uint64_t& slots) {
  slots = tids.counted_of(event);
  return slots != 0 && blocks.ready_for(slots);
}

}  // namespace

void MalcIpAgg::add(std::span<const MalcEvent> events) {
  const auto by_address = [this](const MalcEvent& event, std::uint32_t& key, std::uint64_t& slots) {
    key = side_ == IpSide::kSrc ? event.src_net : event.dst_net;
    return can_count(tids_, blocks_, event, slots) ? KeyUse::kInsert : KeyUse::kSkip;
  };
  rows_.fold<std::uint64_t>(events, by_address, CountEvent{blocks_});
}

void MalcHostAgg::add(std::span<const MalcEvent> events) {
  const auto by_host = [this](const MalcEvent& event, NameKey<48>& key, std::uint64_t& slots) {
    const std::size_t length = read_once(event.host_len);
    if (length == 0 || length == kMaxName + 1) return KeyUse::kSkip;
    if (!can_count(tids_, blocks_, event, slots)) return KeyUse::kSkip;
    key = NameKey<48>::of(event.host, length <= kMaxName ? length : kMaxName);
    return length <= kMaxName ? KeyUse::kInsert : KeyUse::kReplace;
  };
  rows_.fold<std::uint64_t>(events, by_host, CountEvent{blocks_});
}

void MalcAppAgg::add(std::span<const MalcEvent> events) {
  for (const MalcEvent& event : events) {
    const std::uint16_t apid = read_once(event.apid);
    if (event.time_secs == 0 || apid >= kApps) continue;
    const std::uint64_t bitmap = read_once(event.bitmap);
    if (!tids_.tid_match(bitmap)) continue;
    MalcAppStat& row = rows_[apid];
    // The row exists from here on, with total 0 when the category filter leaves nothing to count.
    row.apid = apid;
    const std::uint64_t slots = tids_.counted(bitmap);
    if (slots != 0 && blocks_.count(row.tally, slots)) ++row.total;
  }
}

void MalcTidAgg::add(std::span<const MalcEvent> events) {
  for (const MalcEvent& event : events) {
    if (event.time_secs == 0) continue;
    made_ = true;
    std::uint64_t slots = tids_.passing(read_once(event.bitmap));
    for (; slots != 0; slots &= slots - 1) {
      ++counts_[static_cast<std::size_t>(std::countr_zero(slots))];
    }
  }
}

MalcTidAgg::CategoryHits MalcTidAgg::category_hits() const {
  CategoryHits hits{};
  for (std::uint32_t n = 0; n < size(); ++n) {
    const auto [signature, total] = (*this)[n];
    if (signature.mkmode == kModeCategory && signature.itlgc < hits.size()) {
      hits[signature.itlgc] += total;
    }
  }
  return hits;
}

}  // namespace qsvmon
