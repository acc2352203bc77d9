#include "commands/malclog/tally.h"

#include <cstring>

namespace qsvmon {

/// For a tally and an event that have few slots each, and together.
void TallyBlocks::count_some(Tally& tally, std::uint64_t slots) {
  const std::uint64_t all = tally.slots | slots;
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
}

/// Adds slots that make them many, with counts of 0: moves the counts to a block if they are in
/// none.
bool TallyBlocks::add_slots(Tally& tally, std::uint64_t all) {
  if (!tally.has_block()) {
    if (!blocks_.reserve(1)) return false;
    Tally::Counts& block = blocks_.add();
    int from = 0;
    for (std::uint64_t rest = tally.slots; rest != 0; rest &= rest - 1) {
      block[std::countr_zero(rest)] = tally.few[from++];
    }
    tally.block = &block;
  }
  tally.slots = all;
  return true;
}

}  // namespace qsvmon
