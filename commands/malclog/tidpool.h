#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "commands/malclog/malc_query.h"
#include "commands/malclog/malc_record.h"
#include "platform/read_once.h"

namespace qsvmon {

/// The signature table of one run, with the query's two signature filters worked out against it
/// once, so that a record passes or fails by a mask. Unfilled and all zero until `take`.
class TidPool {
 public:
  /// Allocates the table; returns null when there is no memory. Tests give their own.
  using Allocate = SignatureTable* (*)();

  explicit TidPool(const MalcQuery& query, Allocate allocate = &TidPool::new_table);

  /// True once `take` succeeded: the first chunk was seen.
  bool taken() const { return table_ != nullptr; }

  /// Makes the table from the first chunk. Its bytes count only when the chunk `has_records`
  /// (otherwise every slot stays zero); where the chunk is shorter than the table, the rest is
  /// zero. Returns false when the table cannot be allocated.
  bool take(std::span<const char> chunk, bool has_records);

  /// The signature in `slot` (0..63). REQUIRES: taken().
  const MalcTid& slot(int slot) const { return (*table_)[static_cast<std::size_t>(slot)]; }

  /// The slot that the query's signature id and type name, -1 when none does.
  int resolved_slot() const { return resolved_slot_; }

  /// The signature filter: false when the query names a signature that no slot holds, or one whose
  /// bit `bitmap` lacks.
  /// KEEP: a signature in slot 0 filters nothing; such queries list every event.
  bool tid_match(std::uint64_t bitmap) const { return (bitmap & tid_mask_) == tid_need_; }

  /// The category filter: the bits of `bitmap` whose signatures belong to the query's category.
  std::uint64_t passing(std::uint64_t bitmap) const { return bitmap & category_mask_; }

  /// The slots in which an event is counted: the one that the query names, else those that pass the
  /// category filter. REQUIRES: tid_match(bitmap).
  std::uint64_t counted(std::uint64_t bitmap) const {
    return (bitmap & counted_mask_) | counted_always_;
  }

  /// The bits whose signatures appear in a detail row: under their own name or their category's.
  std::uint64_t own_name_slots() const { return own_name_slots_; }
  std::uint64_t category_slots() const { return category_slots_; }

  /// The category under which `slot` is listed: the query's, else its signature's. Not bounded by
  /// the category pool. REQUIRES: taken().
  int category_of(int slot) const {
    return itlgc_id_ >= 0 ? itlgc_id_ : static_cast<int>(this->slot(slot).itlgc);
  }

  /// The slots in which an address or host listing counts `event`: none for an empty record, for
  /// one that the signature filter rejects and for one of which the category filter leaves no bit.
  std::uint64_t counted_of(const MalcEvent& event) const {
    const std::uint64_t bitmap = read_once(event.bitmap);
    if (event.time_secs == 0 || !tid_match(bitmap) || passing(bitmap) == 0) return 0;
    return counted(bitmap);
  }

  static SignatureTable* new_table();

 private:
  void resolve_slot();
  void make_masks();

  std::unique_ptr<SignatureTable> table_;
  Allocate allocate_;
  int tid_;
  int type_;
  int itlgc_id_;
  int resolved_slot_ = -1;
  std::uint64_t tid_mask_ = 0;
  std::uint64_t tid_need_ = 0;
  std::uint64_t category_mask_ = 0;
  std::uint64_t counted_mask_ = 0;
  std::uint64_t counted_always_ = 0;
  std::uint64_t own_name_slots_ = 0;
  std::uint64_t category_slots_ = 0;
};

}  // namespace qsvmon
