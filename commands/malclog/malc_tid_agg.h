#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "commands/malclog/malc_record.h"
#include "commands/malclog/tidpool.h"

namespace qsvmon {

/// Counts events by signature slot. An event adds 1 to each slot that it matched and that passes
/// the category filter; a signature that the query names does not filter here.
class MalcTidAgg {
 public:
  /// `tids` must outlive this and be taken before the first `add`.
  explicit MalcTidAgg(const TidPool& tids) : tids_(tids) {}

  void add(std::span<const MalcEvent> events);

  /// True once a record came: then every signature has a row, also those that nothing hit.
  bool made() const { return made_; }
  std::uint32_t count(int slot) const { return counts_[static_cast<std::size_t>(slot)]; }
  const TidPool& tids() const { return tids_; }

  /// The slots by count, largest first; slots of the same count in slot order.
  std::array<std::uint8_t, kSlots> sorted() const;

 private:
  const TidPool& tids_;
  std::array<std::uint32_t, kSlots> counts_{};
  bool made_ = false;
};

}  // namespace qsvmon
