#include "commands/malclog/malc_app_agg.h"

#include <algorithm>
#include <numeric>

namespace qsvmon {

void MalcAppAgg::add(std::span<const MalcEvent> events) {
  for (const MalcEvent& event : events) {
    if (event.time_secs == 0 || event.apid >= kApps) continue;
    const std::uint64_t bitmap = event.bitmap;
    if (!tids_.tid_match(bitmap)) continue;
    MalcAppRow& row = rows_[event.apid];
    // The row exists from here on, with total 0 when the category filter leaves nothing to count.
    row.apid = event.apid;
    const std::uint64_t slots = tids_.counted(bitmap);
    if (slots != 0 && blocks_.count(row.tally, slots)) ++row.total;
  }
}

std::array<std::uint16_t, MalcAppAgg::kApps> MalcAppAgg::sorted() const {
  std::array<std::uint16_t, kApps> order;
  std::iota(order.begin(), order.end(), std::uint16_t{0});
  std::stable_sort(order.begin(), order.end(), [this](std::uint16_t a, std::uint16_t b) {
    return rows_[a].total > rows_[b].total;
  });
  return order;
}

}  // namespace qsvmon
