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

/// What one host was hit by. One cache line.
struct MalcHostRow {
  NameKey<6> name;      ///< at most 42 bytes, so NUL-terminated; may hold NULs before its end
  std::uint32_t total;  ///< events counted
  Tally tally;
};
static_assert(sizeof(MalcHostRow) == 72);

/// Folds events by host. An event counts when it has a host and `tid_match` and the category filter
/// let it pass; without memory it is dropped.
///
/// KEEP: a row has room for 42 bytes of host, and what the appliance makes of longer ones is part
/// of its listing:
/// - An event of more than 43 bytes always makes a row of its own, under the first 42. A host of
///   exactly those 42 bytes joins the newest of these rows, and makes one if there is none.
/// - The row of an event of exactly 43 bytes can neither be found again nor shown or counted as a
///   row; nothing of it is ever seen, so none is made here.
class MalcHostAgg {
 public:
  using Row = MalcHostRow;
  using Name = decltype(Row::name);
  static constexpr std::size_t kMaxName = 42;

  /// `tids` must outlive this and be taken before the first `add`.
  explicit MalcHostAgg(const TidPool& tids, FoldMemory memory = {})
      : tids_(tids), rows_(memory), blocks_(memory) {}

  void add(std::span<const MalcEvent> events);

  /// The rows in the order of their first events.
  std::uint32_t size() const { return rows_.size(); }
  const Row& operator[](std::uint32_t row) const { return rows_[row]; }
  const TallyBlocks& blocks() const { return blocks_; }

 private:
  KeyUse key_of(const MalcEvent& event, Name& key);

  const TidPool& tids_;
  FoldTable<NameKeys<Row>> rows_;
  TallyBlocks blocks_;
};

}  // namespace qsvmon
