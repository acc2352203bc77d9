#include "commands/malclog/malc_tid_agg.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace qsvmon {

void MalcTidAgg::add(std::span<const MalcEvent> events) {
  for (const MalcEvent& event : events) {
    if (event.time_secs == 0) continue;
    made_ = true;
    for (std::uint64_t slots = tids_.passing(event.bitmap); slots != 0; slots &= slots - 1) {
      ++counts_[static_cast<std::size_t>(std::countr_zero(slots))];
    }
  }
}

std::array<std::uint8_t, kSlots> MalcTidAgg::sorted() const {
  std::array<std::uint8_t, kSlots> order;
  std::iota(order.begin(), order.end(), std::uint8_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [this](std::uint8_t a, std::uint8_t b) { return counts_[a] > counts_[b]; });
  return order;
}

}  // namespace qsvmon
