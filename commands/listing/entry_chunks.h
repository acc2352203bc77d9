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

/// The entries of a fold, zeroed when they are added and numbered from 0 in that order. They lie in
/// chunks: the first has 32 KiB at most, the second some hundreds of KiB, the third a few large
/// pages, and each of the others as much as all before it; so few entries need little memory, and
/// many entries few chunks and few small pages. An entry never moves: pointers to it are valid as
/// long as the object.
template <class Entry>
class EntryChunks {
  static_assert(std::is_trivially_copyable_v<Entry> && std::is_trivially_destructible_v<Entry>);

 public:
  explicit EntryChunks(LargeMemory memory) : memory_(memory) {}
  EntryChunks(const EntryChunks&) = delete;
  EntryChunks& operator=(const EntryChunks&) = delete;
  ~EntryChunks() {
    for (unsigned top = kFirstTop; top < end_; top = end_of_chunk(top)) {
      memory_.free(at((std::uint32_t{1} << top) - kFirst), bytes_of_chunk(top));
    }
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

  /// The next zeroed entry. REQUIRES: there is room for it.
  Entry& add() { return *at(size_++); }

 private:
  /// A power of two: entry n lies at place n + kFirst, and the top bit of a place says which chunk
  /// it is in. A chunk has the places of one top bit or of several.
  static constexpr std::uint32_t kFirst = std::bit_floor((std::size_t{32} << 10) / sizeof(Entry));
  static constexpr unsigned kFirstTop = std::countr_zero(kFirst);

  static std::size_t bytes_between(unsigned top, unsigned end) {
    return ((std::size_t{1} << end) - (std::size_t{1} << top)) * sizeof(Entry);
  }
  /// Behind the last top bit of the chunk that begins with `top`. Small pages cost more than large
  /// ones: a page out of 100,000 addresses takes 0.9 of the time that it takes where each chunk is
  /// twice the one before.
  static unsigned end_of_chunk(unsigned top) {
    const bool is_second = top == kFirstTop + 1;
    const std::size_t least = top == kFirstTop ? 0
                              : is_second      ? kLargePageBytes / 8
                                               : kLargePageBytes;
    unsigned end = top + 1;
    while (bytes_between(top, end) < least) ++end;
    return end;
  }
  /// Large ones are whole large pages, so that none of them is left in small ones.
  static std::size_t bytes_of_chunk(unsigned top) {
    const std::size_t bytes = bytes_between(top, end_of_chunk(top));
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
    if (end_ == 32) return false;  // a place has 32 bits
    void* const memory = memory_.allocate(bytes_of_chunk(end_), Pages::kWhole);
    if (memory == nullptr) return false;
    const std::size_t before = (std::size_t{1} << end_) * sizeof(Entry);
    for (const unsigned end = end_of_chunk(end_); end_ < end; ++end_) {
      origins_[end_] = reinterpret_cast<std::uintptr_t>(memory) - before;
    }
    capacity_ = static_cast<std::uint32_t>((std::size_t{1} << end_) - kFirst);
    return true;
  }

  LargeMemory memory_;
  /// By the top bit of a place: where its chunk would begin if it began with place 0.
  std::uintptr_t origins_[32] = {};
  unsigned end_ = kFirstTop;  ///< behind the last top bit that has a chunk
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 0;  ///< entries in all chunks
};

}  // namespace qsvmon
