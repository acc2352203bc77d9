#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "commands/malclog/malc_query.h"
#include "commands/malclog/malc_record.h"
#include "platform/read_once.h"

namespace qsvmon {

/// The signature table of one run ("tid" is a signature's id; not one of the pools of pools/), and
/// the query's filters as masks. An event carries a bitmap of
/// the signatures that it matched, one bit for each of the table's 64 slots, so `fill` turns the
/// query's signature (`tid`, `type`) and its category (`itlgc_id`) into filter masks once, and an
/// event costs a few logical operations.
class TidPool {
 public:
  /// Allocates the table; returns null when there is no memory. Tests pass one that fails.
  using Allocate = SignatureTable* (*)();

  explicit TidPool(const MalcQuery& query, Allocate allocate = &TidPool::new_table);

  /// True once `fill` succeeded, which needs the first batch.
  bool filled() const { return table_ != nullptr; }

  /// Fills the table from the first batch of the reply. All slots are zero when the daemon claims
  /// no records for it (`has_records` false); slots behind the end of `batch` are zero, too.
  /// Returns false when the table cannot be allocated.
  bool fill(std::span<const char> batch, bool has_records);

  /// The signature in `slot` (0..63). REQUIRES: filled().
  const MalcTid& slot(int slot) const { return (*table_)[static_cast<std::size_t>(slot)]; }

  /// The slot that the query's signature id and type name, -1 when none does.
  int resolved_slot() const { return resolved_slot_; }

  /// The signature filter: true when the query names no signature, or one whose bit is set in
  /// `bitmap`; false for every event when no slot holds the named one.
  /// KEEP: a signature in slot 0 filters nothing; such queries list every event.
  bool tid_match(std::uint64_t bitmap) const { return (bitmap & tid_mask_) == tid_need_; }

  /// The category filter: the bits of `bitmap` whose signatures belong to the query's category.
  std::uint64_t passing(std::uint64_t bitmap) const { return bitmap & category_mask_; }

  /// The slots in which an event is counted: of a query that names a signature its slot alone, else
  /// those that pass the category filter. REQUIRES: tid_match(bitmap).
  std::uint64_t counted(std::uint64_t bitmap) const {
    return (bitmap & counted_mask_) | counted_always_;
  }

  /// The slots whose signatures a detail row lists under their own name, and under their
  /// category's.
  std::uint64_t own_name_slots() const { return own_name_slots_; }
  std::uint64_t category_slots() const { return category_slots_; }

  /// The category under which `slot` is listed: the query's, else its signature's. It may lie
  /// beyond the category pool. REQUIRES: filled().
  int category_of(int slot) const {
    return itlgc_id_ >= 0 ? itlgc_id_ : static_cast<int>(this->slot(slot).itlgc);
  }

  /// The slots in which an address or host listing counts `event`; 0 when it is not counted: an
  /// empty record, one that the signature filter rejects, or one without a signature of the
  /// category.
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
