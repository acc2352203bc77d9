#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "commands/listing/fold_keys.h"
#include "commands/listing/fold_table.h"
#include "commands/malclog/malc_record.h"
#include "commands/malclog/tally.h"
#include "commands/malclog/tidpool.h"

namespace qsvmon {

/// What one address was hit by.
struct MalcIpRow {
  std::uint32_t ip;     ///< network order
  std::uint32_t total;  ///< events counted
  Tally tally;
};

/// Folds events by destination or source address. An event counts when `tid_match` and the category
/// filter let it pass; without memory it is dropped.
class MalcIpAgg {
 public:
  using Row = MalcIpRow;
  enum class Side { kSource, kDestination };

  /// `tids` must outlive this and be taken before the first `add`.
  MalcIpAgg(const TidPool& tids, Side side, FoldMemory memory = {})
      : tids_(tids), side_(side), rows_(memory), blocks_(memory) {}

  void add(std::span<const MalcEvent> events);

  /// The rows in the order of their first events.
  std::uint32_t size() const { return rows_.size(); }
  const Row& operator[](std::uint32_t row) const { return rows_[row]; }
  const TallyBlocks& blocks() const { return blocks_; }

 private:
  KeyUse key_of(const MalcEvent& event, std::uint32_t& key);

  const TidPool& tids_;
  Side side_;
  FoldTable<AddressKeys<Row>> rows_;
  TallyBlocks blocks_;
};

}  // namespace qsvmon
