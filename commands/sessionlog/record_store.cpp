#include "commands/sessionlog/record_store.h"

#include <cstring>

namespace qsvmon {

RecordStore::~RecordStore() {
  for (std::uint32_t i = 0; i < chunk_count_; ++i) memory_.free(chunks_[i], kChunkBytes);
}

bool RecordStore::add_chunk() {
  if (chunk_count_ == kMaxChunks) return false;
  // The first is all that most lists need, and they do not fill it.
  void* const chunk =
      memory_.allocate(kChunkBytes, chunk_count_ == 0 ? Pages::kOnTouch : Pages::kWhole);
  if (chunk == nullptr) return false;
  chunks_[chunk_count_++] = static_cast<Unit*>(chunk);
  return true;
}

std::uint32_t RecordStore::move(std::uint32_t place) {
  const Unit* const from = head(place);
  const std::uint32_t units = units_of(*from);
  const std::uint64_t next = next_place(units);
  end_ = next + units;
  const auto to = static_cast<std::uint32_t>(next);
  std::memmove(head(to), from, units * sizeof *from);
  return to;
}

}  // namespace qsvmon
