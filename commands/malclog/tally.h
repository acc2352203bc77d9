#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "commands/listing/entry_chunks.h"
#include "commands/listing/fold_table.h"
#include "commands/malclog/malc_record.h"

namespace qsvmon {

/// How often one key was hit by each signature slot. A slot's count is 16 bits wide and wraps
/// without a trace.
///
/// Nearly every key is hit by a handful of signatures, so the counts of up to four slots lie in the
/// tally itself, in slot order; a fifth slot moves them to a block with room for all 64. Zero bytes
/// are an empty tally; copying one is moving it. Its block belongs to a `TallyBlocks`.
struct Tally {
  static constexpr int kFew = 4;

  /// True when `slots` has more than kFew bits. For the oldest processors that this is built for,
  /// std::popcount is a call, which every record would pay several times.
  static bool is_many(std::uint64_t slots) {
    for (int i = 0; i < kFew; ++i) slots &= slots - 1;
    return slots != 0;
  }

  std::uint64_t slots;  ///< slots that were ever counted
  union {
    std::uint16_t few[kFew];  ///< behind the last slot: anything
    std::uint32_t block;      ///< its number, once more than kFew slots were counted
  };

  bool has_block() const { return is_many(slots); }
};
static_assert(sizeof(Tally) == 16 && std::is_trivially_copyable_v<Tally>);

/// The blocks of the tallies of one table.
class TallyBlocks {
 public:
  explicit TallyBlocks(FoldMemory memory = {}) : blocks_(memory) {}

  /// True when a group of the fold table's records can be counted in `slots` each, also in empty
  /// tallies; asked before a row is made, so that none is made that cannot be counted. False
  /// without memory.
  bool ready_for(std::uint64_t slots) {
    return !Tally::is_many(slots) || blocks_.reserve(kFoldGroup);
  }

  /// Adds 1 to every slot of `slots` in `tally`. Returns false, with the tally as it was, when
  /// there is no memory.
  bool count(Tally& tally, std::uint64_t slots) {
    if (slots == 0) return true;
    if (Tally::is_many(tally.slots | slots)) return count_many(tally, slots);
    if (tally.slots == 0) tally.slots = slots;  // the counts are 0 already
    if (tally.slots != slots) return count_some(tally, slots);
    // Those in no use count along: adding to all of them takes one instruction and no branch.
    for (std::uint16_t& count : tally.few) ++count;
    return true;
  }

  /// The count of `slot` in `tally`; 0 when it was never counted, or wrapped.
  std::uint16_t count_of(const Tally& tally, int slot) const {
    const std::uint64_t bit = std::uint64_t{1} << slot;
    if (!(tally.slots & bit)) return 0;
    if (tally.has_block()) return blocks_[tally.block].counts[slot];
    return tally.few[std::popcount(tally.slots & (bit - 1))];
  }

 private:
  struct Block {
    std::uint16_t counts[kSlots];
  };

  bool count_some(Tally& tally, std::uint64_t slots);
  bool count_many(Tally& tally, std::uint64_t slots);
  bool move_to_block(Tally& tally);

  EntryChunks<Block> blocks_;
};

}  // namespace qsvmon
