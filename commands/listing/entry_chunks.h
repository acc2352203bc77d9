#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "platform/large_memory.h"

namespace qsvmon {

/// Has the cache lines of an entry fetched that will be needed soon. Inlined by force: a compiler
/// may drop the call of a function that only prefetches as one without effect.
template <class Entry>
[[gnu::always_inline]] inline void prefetch_entry(const Entry& entry) {
  const char* first = reinterpret_cast<const char*>(&entry);
  for (std::size_t at = 0; at < sizeof(Entry); at += 64) __builtin_prefetch(first + at);
  __builtin_prefetch(first + sizeof(Entry) - 1);
}

/// The entries of a fold, zeroed when they are added and numbered from 0 in that order. They
/// lie in chunks, the first of them of 32 KiB at most and each of the others twice as large as the
/// one before, so few entries need little memory and many entries few chunks. An entry never moves:
/// pointers to it are valid as long as the object.
template <class Entry>
class EntryChunks {
  static_assert(std::is_trivially_copyable_v<Entry> && std::is_trivially_destructible_v<Entry>);

 public:
  explicit EntryChunks(LargeMemory memory) : memory_(memory) {}
  EntryChunks(const EntryChunks&) = delete;
  EntryChunks& operator=(const EntryChunks&) = delete;
  ~EntryChunks() {
    for (unsigned chunk = 0; chunk < used_; ++chunk) memory_.free(chunks_[chunk], bytes_of(chunk));
  }

  std::uint32_t size() const { return size_; }
  Entry& operator[](std::uint32_t number) { return *at(number); }
  const Entry& operator[](std::uint32_t number) const { return *at(number); }

  /// Whether `more` entries can be added without allocating.
  bool has_room_for(std::uint32_t more) const { return capacity_ - size_ >= more; }
  /// Allocates until at least `more` entries can be added without it. False without memory.
  bool reserve(std::uint32_t more) {
    while (!has_room_for(more)) {
      if (!add_chunk()) return false;
    }
    return true;
  }

  /// The next zeroed entry, or null when there is no memory for it; `size` then stays.
  Entry* add() { return size_ < capacity_ || add_chunk() ? at(size_++) : nullptr; }

 private:
  /// A power of two: entry n lies at (n + kFirst) of an array of which chunk c is the part from
  /// kFirst << c on, and the top bit of that place says which chunk that is.
  static constexpr std::uint32_t kFirst = std::bit_floor((std::size_t{32} << 10) / sizeof(Entry));
  static constexpr unsigned kFirstBits = std::countr_zero(kFirst);
  /// As many as leave all places in 32 bits.
  static constexpr unsigned kMaxChunks = 32 - kFirstBits;

  /// A large chunk is a whole number of large pages, so that none of it is left in small ones.
  static std::size_t bytes_of(unsigned chunk) {
    const std::size_t bytes = (sizeof(Entry) * kFirst) << chunk;
    return bytes < kLargePageBytes ? bytes : (bytes + kLargePageBytes - 1) & ~(kLargePageBytes - 1);
  }

  Entry* at(std::uint32_t number) const {
    const std::uint32_t place = number + kFirst;
    // Not by pointers, as an origin lies outside its chunk.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<Entry*>(origins_[top_bit(place)] + place * sizeof(Entry));
  }

  /// The number of the highest bit of `place`, which is not 0. The instruction waits for the
  /// register that its result goes to, which compilers do not free: of names that waits for the one
  /// compared before, and a listing of a million of 100 takes 17 ms instead of 13.
  static std::uint32_t top_bit(std::uint32_t place) {
    std::uint32_t top = 0;
    asm("bsr %1, %0" : "+r"(top) : "r"(place) : "cc");
    return top;
  }

  bool add_chunk() {
    if (used_ == kMaxChunks) return false;
    void* const memory = memory_.allocate(bytes_of(used_), Pages::kWhole);
    if (memory == nullptr) return false;
    chunks_[used_] = memory;
    const std::uint32_t first = kFirst << used_;
    origins_[kFirstBits + used_] = reinterpret_cast<std::uintptr_t>(memory) - first * sizeof(Entry);
    ++used_;
    capacity_ = ((std::uint32_t{1} << used_) - 1) << kFirstBits;
    return true;
  }

  LargeMemory memory_;
  void* chunks_[kMaxChunks] = {};
  /// By the top bit of a place: where its chunk would begin if it began with place 0.
  std::uintptr_t origins_[32] = {};
  unsigned used_ = 0;
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 0;  ///< entries in all chunks
};

}  // namespace qsvmon
