#include "commands/malclog/tidpool.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace qsvmon {

TidPool::TidPool(const MalcQuery& query, Allocate allocate)
    : allocate_(allocate), tid_(query.tid), type_(query.type), itlgc_id_(query.itlgc_id) {}

SignatureTable* TidPool::new_table() {
  return new (std::nothrow) SignatureTable();
}

bool TidPool::fill(std::span<const char> batch, bool has_records) {
  table_.reset(allocate_());
  if (!table_) return false;
  std::memset(table_->data(), 0, sizeof(SignatureTable));
  const std::size_t bytes = std::min(batch.size(), sizeof(SignatureTable));
  if (has_records && bytes != 0) std::memcpy(table_->data(), batch.data(), bytes);
  resolve_slot();
  make_masks();
  return true;
}

// The table never changes after the first batch, so one search answers for every record.
void TidPool::resolve_slot() {
  resolved_slot_ = -1;
  if (tid_ < 1) return;
  for (int n = 0; n < kSlots; ++n) {
    if (slot(n).tid == tid_ && slot(n).type == type_) {
      resolved_slot_ = n;
      return;
    }
  }
}

void TidPool::make_masks() {
  for (int n = 0; n < kSlots; ++n) {
    const MalcTid& signature = slot(n);
    const std::uint64_t bit = std::uint64_t{1} << n;
    if (itlgc_id_ < 0 || signature.itlgc == itlgc_id_) category_mask_ |= bit;
    if (signature.mkmode == kModeOwnName) own_name_slots_ |= bit;
    if (signature.mkmode == kModeCategory) category_slots_ |= bit;
  }
  counted_mask_ = category_mask_;
  if (tid_ < 1) return;
  counted_mask_ = 0;
  if (resolved_slot_ < 0) {
    tid_need_ = 1;  // no bitmap masked with 0 gives 1: nothing matches
    return;
  }
  counted_always_ = std::uint64_t{1} << resolved_slot_;
  if (resolved_slot_ >= 1) tid_mask_ = tid_need_ = counted_always_;
}

}  // namespace qsvmon
