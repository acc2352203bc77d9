#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "commands/malclog/malc_record.h"
#include "commands/malclog/tally.h"
#include "commands/malclog/tidpool.h"

namespace qsvmon {

/// What one application was hit by.
struct MalcAppRow {
  std::uint16_t apid;   ///< 0 in a row that no event made, and in that of application 0
  std::uint32_t total;  ///< events counted
  Tally tally;
};

/// Folds events by application id, directly indexed. Events of ids from 1000 on are dropped.
class MalcAppAgg {
 public:
  static constexpr std::size_t kApps = 1000;

  /// `tids` must outlive this and be taken before the first `add`.
  explicit MalcAppAgg(const TidPool& tids, FoldMemory memory = {}) : tids_(tids), blocks_(memory) {}

  void add(std::span<const MalcEvent> events);

  /// All rows, by application id.
  std::span<const MalcAppRow, kApps> rows() const { return rows_; }
  const TallyBlocks& blocks() const { return blocks_; }

  /// The rows' numbers by total, largest first; rows of the same total by application id.
  std::array<std::uint16_t, kApps> sorted() const;

 private:
  const TidPool& tids_;
  std::array<MalcAppRow, kApps> rows_{};
  TallyBlocks blocks_;
};

}  // namespace qsvmon
