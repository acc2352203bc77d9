#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "platform/large_memory.h"

namespace qsvmon {

/// Where a fold takes its memory; tests hand in one that runs out.
struct FoldMemory {
  void* (*take)(std::size_t bytes, Pages pages) = large_memory_take;  ///< zeroes, or null
  void (*give)(void* piece, std::size_t bytes) = large_memory_give;
};

/// Has the cache lines of an entry fetched that will be needed soon. Inlined by force: a compiler
/// may drop the call of a function that only prefetches as one without effect.
template <class Entry>
[[gnu::always_inline]] inline void prefetch_entry(const Entry& entry) {
  const char* first = reinterpret_cast<const char*>(&entry);
  for (std::size_t at = 0; at < sizeof(Entry); at += 64) __builtin_prefetch(first + at);
  __builtin_prefetch(first + sizeof(Entry) - 1);
}

/// The entries of a fold, numbered from 0 in the order they were made and handed out zeroed. They
/// become usable in blocks of 256, the last of each piece of a few megabytes shorter. An entry
/// never moves: pointers to it are valid as long as the object.
template <class Entry>
class EntryBlocks {
  static_assert(std::is_trivially_copyable_v<Entry> && std::is_trivially_destructible_v<Entry>);

 public:
  static constexpr std::uint32_t kBlockEntries = 256;

  explicit EntryBlocks(FoldMemory memory) : memory_(memory) {}
  EntryBlocks(const EntryBlocks&) = delete;
  EntryBlocks& operator=(const EntryBlocks&) = delete;
  ~EntryBlocks() {
    for (std::uint32_t i = 0; i < pieces_used_; ++i) memory_.give(pieces_[i], kPieceBytes);
    memory_.give(pieces_, pieces_room_ * sizeof(Entry*));
  }

  std::uint32_t size() const { return size_; }
  Entry& operator[](std::uint32_t number) {
    return pieces_[number / kPieceEntries][number % kPieceEntries];
  }
  const Entry& operator[](std::uint32_t number) const {
    return pieces_[number / kPieceEntries][number % kPieceEntries];
  }

  /// Takes memory until at least `more` entries can be added without any. False without it.
  bool reserve(std::uint32_t more) {
    while (capacity_ - size_ < more) {
      if (!add_block()) return false;
    }
    return true;
  }

  /// The next zeroed entry, or null when there is no memory for it; `size` then stays.
  Entry* add() {
    if (size_ == capacity_ && !add_block()) return nullptr;
    return &(*this)[size_++];
  }

 private:
  /// A whole number of large pages, so that none is left in small ones; entries fill all of it.
  static constexpr std::size_t kPieceBytes = std::size_t{4} << 20;
  static constexpr std::uint32_t kPieceEntries = kPieceBytes / sizeof(Entry);
  static_assert(kPieceEntries >= kBlockEntries);

  bool add_block() {
    if (capacity_ > std::numeric_limits<std::uint32_t>::max() - kBlockEntries) return false;
    const std::uint32_t in_piece = capacity_ % kPieceEntries;
    if (in_piece == 0 && !add_piece()) return false;
    capacity_ += std::min(kBlockEntries, kPieceEntries - in_piece);
    return true;
  }

  bool add_piece() {
    if (pieces_used_ == pieces_room_ && !grow_pieces()) return false;
    void* piece = memory_.take(kPieceBytes, pieces_used_ == 0 ? Pages::kOnTouch : Pages::kWhole);
    if (piece == nullptr) return false;
    pieces_[pieces_used_++] = static_cast<Entry*>(piece);
    return true;
  }

  bool grow_pieces() {
    const std::size_t room = pieces_room_ == 0 ? 512 : pieces_room_ * 2;
    Entry** grown = static_cast<Entry**>(memory_.take(room * sizeof(Entry*), Pages::kOnTouch));
    if (grown == nullptr) return false;
    if (pieces_used_ != 0) std::memcpy(grown, pieces_, pieces_used_ * sizeof(Entry*));
    memory_.give(pieces_, pieces_room_ * sizeof(Entry*));
    pieces_ = grown;
    pieces_room_ = room;
    return true;
  }

  FoldMemory memory_;
  Entry** pieces_ = nullptr;
  std::size_t pieces_room_ = 0;
  std::uint32_t pieces_used_ = 0;
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 0;
};

}  // namespace qsvmon
