#include "commands/malclog/tally.h"

#include <cstring>

namespace qsvmon {

// Neither the tally nor the event has more than a few slots; together they may.
bool TallyBlocks::count_some(Tally& tally, std::uint64_t slots) {
  const std::uint64_t all = tally.slots | slots;
  if (Tally::is_many(all)) return count_many(tally, slots);
  std::uint16_t few[Tally::kFew] = {};
  int from = 0;
  int to = 0;
  for (std::uint64_t rest = all; rest != 0; rest &= rest - 1, ++to) {
    const std::uint64_t bit = rest & (~rest + 1);
    if (tally.slots & bit) few[to] = tally.few[from++];
    if (slots & bit) ++few[to];
  }
  std::memcpy(tally.few, few, sizeof few);
  tally.slots = all;
  return true;
}

bool TallyBlocks::count_many(Tally& tally, std::uint64_t slots) {
  if (!tally.has_block() && !move_to_block(tally)) return false;
  tally.slots |= slots;
  Block& block = blocks_[tally.block];
  for (; slots != 0; slots &= slots - 1) ++block.counts[std::countr_zero(slots)];
  return true;
}

// Leaves a tally that says where its block is but not yet that it has one.
bool TallyBlocks::move_to_block(Tally& tally) {
  Block* const block = blocks_.add();
  if (!block) return false;
  int from = 0;
  for (std::uint64_t rest = tally.slots; rest != 0; rest &= rest - 1) {
    block->counts[std::countr_zero(rest)] = tally.few[from++];
  }
  tally.block = blocks_.size() - 1;
  return true;
}

}  // namespace qsvmon
