#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/large_memory.h"

namespace qsvmon {

/// Records of different lengths, one behind the other in chunks of memory, none across two of them.
/// A record is found by its place, a number that grows with each record; up to 16 GiB of them. The
/// object has 32 KiB itself.
class RecordStore {
 public:
  static constexpr std::size_t kMaxRecordBytes = 0xFFFF;

  // cppcheck-suppress uninitMemberVar
  explicit RecordStore(LargeMemory memory) : memory_(memory) {}
  RecordStore(const RecordStore&) = delete;
  RecordStore& operator=(const RecordStore&) = delete;
  ~RecordStore();

  /// Room behind the others for a record of at most `most` bytes (up to kMaxRecordBytes), which is
  /// written into it and then added. Valid until the next call; null without memory.
  char* room(std::size_t most) {
    end_ = next_place(units_of(most));
    if (end_ / kChunkUnits == chunk_count_ && !add_chunk()) return nullptr;
    return reinterpret_cast<char*>(head(static_cast<std::uint32_t>(end_)) + 1);
  }

  /// Adds the record that the first `bytes` bytes of the last `room` are, and returns its place.
  std::uint32_t add(std::size_t bytes) {
    const auto place = static_cast<std::uint32_t>(end_);
    *head(place) = static_cast<std::uint32_t>(bytes);
    end_ += units_of(bytes);
    return place;
  }

  std::span<const char> operator[](std::uint32_t place) const {
    return {reinterpret_cast<const char*>(head(place) + 1), *head(place)};
  }

  /// Drops a record's bytes. Their memory is reused after the next `rewind`.
  void empty(std::uint32_t place) { *head(place) = 0; }

  /// Compaction, which frees no memory: `rewind`, then `move` for each record that stays, in the
  /// order of their places; the others are dropped. `move` returns the new place, which is never
  /// behind the old one.
  void rewind() { end_ = 0; }
  std::uint32_t move(std::uint32_t place);

 private:
  /// What places count. A record is one unit, the number of its bytes, and those bytes behind it.
  using Unit = std::uint32_t;

  static constexpr std::size_t kChunkBytes = std::size_t{4} << 20;  ///< two large pages
  static constexpr std::uint32_t kChunkUnits = kChunkBytes / sizeof(Unit);
  static constexpr std::uint32_t kMaxChunks = 4096;  ///< 2^32 units

  static std::uint32_t units_of(std::size_t bytes) {
    return static_cast<std::uint32_t>(1 + (bytes + sizeof(Unit) - 1) / sizeof(Unit));
  }
  Unit* head(std::uint32_t place) const {
    return chunks_[place / kChunkUnits] + place % kChunkUnits;
  }
  /// Where a record of `units` goes: behind the last one, or at the start of the next chunk.
  std::uint64_t next_place(std::uint32_t units) const {
    const std::uint64_t left = kChunkUnits - end_ % kChunkUnits;
    return units <= left ? end_ : end_ + left;
  }
  bool add_chunk();

  LargeMemory memory_;
  std::uint64_t end_ = 0;  ///< behind the last record, in units
  std::uint32_t chunk_count_ = 0;
  Unit* chunks_[kMaxChunks];  ///< the first `chunk_count_` are set, the others are never touched
};

}  // namespace qsvmon
