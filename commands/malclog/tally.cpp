#include "commands/malclog/tally.h"

#include <cstring>

namespace qsvmon {

// Makes room for the slots of `all`, a superset of the tally's.
bool TallyBlocks::widen(Tally& tally, std::uint64_t all) {
  if (std::popcount(all) > Tally::kFew) {
    Block* const block = blocks_.add();
    if (!block) return false;
    int from = 0;
    for (std::uint64_t rest = tally.slots; rest != 0; rest &= rest - 1) {
      block->counts[std::countr_zero(rest)] = tally.few[from++];
    }
    tally.block = blocks_.size() - 1;
  } else {
    std::uint16_t few[Tally::kFew] = {};
    int from = 0;
    int to = 0;
    for (std::uint64_t rest = all; rest != 0; rest &= rest - 1, ++to) {
      if (tally.slots & rest & (~rest + 1)) few[to] = tally.few[from++];
    }
    std::memcpy(tally.few, few, sizeof few);
  }
  tally.slots = all;
  return true;
}

bool TallyBlocks::count_more(Tally& tally, std::uint64_t slots) {
  const std::uint64_t all = tally.slots | slots;
  if (!tally.has_block()) {
    if (!widen(tally, all)) return false;
    if (!tally.has_block()) return count(tally, slots);
  }
  tally.slots = all;
  Block& block = blocks_[tally.block];
  for (; slots != 0; slots &= slots - 1) ++block.counts[std::countr_zero(slots)];
  return true;
}

}  // namespace qsvmon
