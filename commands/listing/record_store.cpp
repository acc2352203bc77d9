#include "commands/listing/record_store.h"

#include <cstring>

namespace qsvmon {

RecordStore::~RecordStore() {
  for (std::uint32_t i = 0; i < chunk_count_; ++i) memory_.free(chunks_[i], kChunkBytes);
  memory_.free(chunks_, kMaxChunks * sizeof *chunks_);
}

/// Where a record of `units` goes: behind the last one, or at the start of the next chunk.
std::uint64_t RecordStore::next_place(std::uint32_t units) const {
  const std::uint64_t left = kChunkUnits - end_ % kChunkUnits;
  return units <= left ? end_ : end_ + left;
}

bool RecordStore::add_chunk() {
  if (chunk_count_ == kMaxChunks) return false;
  if (chunks_ == nullptr) {
    chunks_ = static_cast<char**>(memory_.allocate(kMaxChunks * sizeof *chunks_, Pages::kOnTouch));
    if (chunks_ == nullptr) return false;
  }
  // The first is all that most lists need, and they do not fill it.
  void* const chunk =
      memory_.allocate(kChunkBytes, chunk_count_ == 0 ? Pages::kOnTouch : Pages::kWhole);
  if (chunk == nullptr) return false;
  chunks_[chunk_count_++] = static_cast<char*>(chunk);
  return true;
}

bool RecordStore::add(std::span<const char> record, std::uint32_t& place) {
  const std::uint32_t units = units_of(record.size());
  const std::uint64_t next = next_place(units);
  if (next / kChunkUnits == chunk_count_ && !add_chunk()) return false;
  end_ = next + units;
  place = static_cast<std::uint32_t>(next);
  Head* const head = at(place);
  *head = {static_cast<std::uint16_t>(record.size()), 0};
  if (!record.empty()) std::memcpy(head + 1, record.data(), record.size());
  return true;
}

std::uint32_t RecordStore::move(std::uint32_t place) {
  const Head* const from = at(place);
  const std::uint32_t units = units_of(from->bytes);
  const std::uint64_t next = next_place(units);
  end_ = next + units;
  const auto to = static_cast<std::uint32_t>(next);
  std::memmove(at(to), from, units * kUnit);
  return to;
}

}  // namespace qsvmon
