#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "commands/listing/entry_chunks.h"
#include "commands/listing/fold_table.h"
#include "commands/malclog/malc_record.h"

namespace qsvmon {

/// A per-signature histogram: how many events of one row (an address, a host, an application)
/// matched the signature of each slot. A count is 16 bits wide and wraps.
///
/// The invariant: with at most kFew bits in `slots`, the counts lie in the tally itself, in slot
/// order; with more, in a block of 64 counts that a `TallyBlocks` owns. Nearly every row has a
/// handful of signatures and no block, which makes a row 16 bytes of counts instead of 128. Zero
/// bytes are an empty tally. Copy one only to move it: two copies would share a block.
struct Tally {
  static constexpr int kFew = 4;
  using Counts = std::uint16_t[kSlots];

  /// True when `slots` has more than kFew bits. Not std::popcount: the oldest processors that this
  /// is built for have no instruction for it, and each record would cost several calls.
  static bool is_many(std::uint64_t slots) {
    for (int i = 0; i < kFew; ++i) slots &= slots - 1;
    return slots != 0;
  }

  std::uint64_t slots;  ///< slots that were ever counted
  union {
    std::uint16_t few[kFew];  ///< up to kFew slots: their counts, then undefined values
    Counts* block;            ///< more slots: the counts of all
  };

  bool has_block() const { return is_many(slots); }

  /// Calls `use(slot, count)` for every slot that was ever counted, in order; a count that wrapped
  /// may be 0.
  template <class Use>
  void for_each(Use&& use) const {
    const bool in_block = has_block();
    const std::uint16_t* next = few;
    for (std::uint64_t rest = slots; rest != 0; rest &= rest - 1) {
      const int slot = std::countr_zero(rest);
      use(slot, in_block ? (*block)[slot] : *next++);
    }
  }
};
static_assert(sizeof(Tally) == 16 && std::is_trivially_copyable_v<Tally>);

/// The blocks of the tallies of one table.
class TallyBlocks {
 public:
  explicit TallyBlocks(LargeMemory memory = {}) : blocks_(memory) {}

  /// Allocates ahead for one group of a fold table: true when each of kFoldGroup records can be
  /// counted in `slots`, false without memory. Asked before a row is made, so that no row is made
  /// for an event that cannot be counted.
  bool ready_for(std::uint64_t slots) {
    return blocks_.has_room_for(kFoldGroup) || !Tally::is_many(slots) ||
           blocks_.reserve(kFoldGroup);
  }

  /// Adds 1 to every slot of `slots` in `tally`. Returns false, with the tally as it was, when
  /// there is no memory.
  bool count(Tally& tally, std::uint64_t slots) {
    if (slots == 0) return true;
    const std::uint64_t all = tally.slots | slots;
    if (Tally::is_many(all)) {
      if (tally.slots != all && !add_slots(tally, all)) return false;
      for (; slots != 0; slots &= slots - 1) ++(*tally.block)[std::countr_zero(slots)];
      return true;
    }
    if (tally.slots == 0) tally.slots = slots;  // an empty tally's counts are 0
    if (tally.slots != slots) {
      count_some(tally, slots);
    } else {
      // Adding to all four, used or not, takes one instruction and no branch.
      for (std::uint16_t& few : tally.few) ++few;
    }
    return true;
  }

 private:
  void count_some(Tally& tally, std::uint64_t slots);
  bool add_slots(Tally& tally, std::uint64_t all);

  EntryChunks<Tally::Counts> blocks_;
};

}  // namespace qsvmon
