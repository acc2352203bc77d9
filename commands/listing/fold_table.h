#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "commands/listing/entry_blocks.h"
#include "commands/listing/fold_keys.h"

namespace qsvmon {

/// What becomes of one record in `FoldTable::fold`.
enum class Placement : std::uint8_t {
  kSkip,     ///< the record is not taken
  kFind,     ///< the entry of the key, made when there is none
  kUnfound,  ///< a new entry that no later record finds
  kReplace,  ///< a new entry, which later records with this key find instead of any earlier one
};

/// Records that `FoldTable::fold` takes side by side.
constexpr std::uint32_t kFoldGroup = 32;

template <class Key>
struct FoldStep {
  Placement placement = Placement::kSkip;
  Key key{};
};

/// Entries by key, numbered in the order they were first seen. `Keys` says how keys are hashed and
/// kept (fold_keys.h); `kFirstBuckets`, a power of two, is where the table begins. A bucket is one
/// cache line that holds a few entries. When more than four a bucket are in use, or when keys crowd
/// around one bucket, the table doubles its buckets and spreads whole keys, so that the cost of a
/// record does not depend on how many keys there are or who chose them; the entries and their order
/// do not depend on it either.
///
/// Without memory for the buckets or an entry a record is dropped: every function that makes an
/// entry then returns null and leaves the table as it was. Entries never move.
template <class Keys, std::uint32_t kFirstBuckets>
class FoldTable {
  static_assert((kFirstBuckets & (kFirstBuckets - 1)) == 0);

 public:
  using Entry = typename Keys::Entry;
  using Key = typename Keys::Key;

  explicit FoldTable(FoldMemory memory = {}) : memory_(memory), entries_(memory) {}
  FoldTable(const FoldTable&) = delete;
  FoldTable& operator=(const FoldTable&) = delete;
  ~FoldTable() { memory_.give(buckets_, bucket_count_ * sizeof(Bucket)); }

  std::uint32_t size() const { return entries_.size(); }
  Entry& operator[](std::uint32_t number) { return entries_[number]; }
  const Entry& operator[](std::uint32_t number) const { return entries_[number]; }

  /// The entry of `key`; a new one is zeroed but for its key. Null without memory.
  Entry* find_or_add(Key key) { return place(Placement::kFind, key, tag_of(key)); }
  /// A new entry that is never found. Null without memory.
  Entry* add_unfound(Key key) { return place(Placement::kUnfound, key, 0); }
  /// A new entry that takes the place of the present one of `key`, if any; that one stays among the
  /// entries. Null without memory.
  Entry* add_replacing(Key key) { return place(Placement::kReplace, key, tag_of(key)); }

  /// Takes records in order. `step_of(const Record&)` gives the FoldStep of one and
  /// `update(Entry&, const Record&)` counts it in. Works in groups, so that the cache lines of a
  /// group are fetched side by side: all of a group's steps are asked before its first update.
  template <class Record, class StepOf, class Update>
  void fold(std::span<const Record> records, StepOf&& step_of, Update&& update) {
    for (std::size_t at = 0; at < records.size(); at += kFoldGroup) {
      const std::size_t left = records.size() - at;
      fold_group(records.subspan(at, left < kFoldGroup ? left : kFoldGroup), step_of, update);
    }
  }

  /// How many buckets there are now; for tests.
  std::uint32_t bucket_count() const { return bucket_count_; }

 private:
  static constexpr std::uint32_t kSlots = 8;
  static constexpr std::uint32_t kUsualSlots = 4;   ///< in use a bucket, on average, at most
  static constexpr std::uint32_t kCrowdedWalk = 4;  ///< full buckets passed in the first table

  /// Slots fill from the front; `number` is the entry's number + 1, or 0 for a free slot. An entry
  /// that finds its bucket full goes to the next one with room.
  struct alignas(64) Bucket {
    std::uint32_t tag[kSlots];
    std::uint32_t number[kSlots];

    /// The slots with this tag as bits; free slots have tag 0. Without branches: where a key lies
    /// in its bucket is anybody's guess.
    unsigned with_tag(std::uint32_t wanted) const { return equal_bits(tag, wanted); }
    /// The first free slot, or kSlots when there is none.
    std::uint32_t first_free() const {
      return static_cast<std::uint32_t>(std::countr_zero(equal_bits(number, 0) | 1u << kSlots));
    }
  };
  static_assert(sizeof(Bucket) == 64);

  static unsigned equal_bits(const std::uint32_t (&values)[kSlots], std::uint32_t wanted) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
      return (... | (static_cast<unsigned>(values[I] == wanted) << I));
    }
    (std::make_index_sequence<kSlots>());
  }

  struct Slot {
    Bucket* bucket;
    std::uint32_t at;
  };

  std::uint32_t tag_of(Key key) const {
    return spread_ ? Keys::whole_tag(key, secret_) : Keys::first_tag(key);
  }
  std::uint32_t bucket_of(std::uint32_t tag) const {
    // The upper bits, so that doubling keeps the order of the buckets and reads and writes in turn.
    return spread_ ? static_cast<std::uint32_t>(
                         (std::uint64_t{Keys::spread(tag, secret_)} * bucket_count_) >> 32)
                   : Keys::first_bucket(tag) & (kFirstBuckets - 1);
  }

  bool holds(std::uint32_t number, Key key) const {
    if constexpr (Keys::kTagIsKey) return true;
    return Keys::key_of(entries_[number - 1]) == key;
  }

  template <class Record, class StepOf, class Update>
  void fold_group(std::span<const Record> group, StepOf& step_of, Update& update) {
    std::array<FoldStep<Key>, kFoldGroup> steps;
    std::array<std::uint32_t, kFoldGroup> tags;
    std::array<Entry*, kFoldGroup> found;
    if (buckets_ == nullptr && !first_buckets()) return;
    const bool spread = spread_;
    for (std::size_t i = 0; i < group.size(); ++i) {
      steps[i] = step_of(group[i]);
      tags[i] = 0;
      if (steps[i].placement == Placement::kSkip) continue;
      tags[i] = tag_of(steps[i].key);
      __builtin_prefetch(&buckets_[bucket_of(tags[i])], 1);
    }
    for (std::size_t i = 0; i < group.size(); ++i) {
      found[i] = nullptr;
      if (steps[i].placement == Placement::kSkip) continue;
      if (spread != spread_) tags[i] = tag_of(steps[i].key);
      found[i] = place(steps[i].placement, steps[i].key, tags[i]);
      if (found[i] != nullptr) prefetch_entry(*found[i]);
    }
    for (std::size_t i = 0; i < group.size(); ++i) {
      if (found[i] != nullptr) update(*found[i], group[i]);
    }
  }

  Entry* place(Placement placement, Key key, std::uint32_t tag) {
    if (placement == Placement::kUnfound) return new_entry(key);
    if (buckets_ == nullptr && !first_buckets()) return nullptr;
    std::uint32_t walk = 0;
    Slot slot = look_up(key, tag, &walk);
    if (slot.bucket == nullptr) return nullptr;
    std::uint32_t& number = slot.bucket->number[slot.at];
    if (number != 0) {
      if (placement == Placement::kFind) return &entries_[number - 1];
      Entry* entry = new_entry(key);
      if (entry != nullptr) number = entries_.size();
      return entry;
    }
    Entry* entry = new_entry(key);
    if (entry == nullptr) return nullptr;
    slot.bucket->tag[slot.at] = tag;
    number = entries_.size();
    ++used_slots_;
    if (used_slots_ > std::uint64_t{bucket_count_} * kUsualSlots ||
        (!spread_ && walk > kCrowdedWalk)) {
      grow();
    }
    return entry;
  }

  Entry* new_entry(Key key) {
    Entry* entry = entries_.add();
    if (entry != nullptr) Keys::begin(*entry, key);
    return entry;
  }

  /// The slot of `key`, or the free one where it belongs; no bucket at all when every slot is full.
  Slot look_up(Key key, std::uint32_t tag, std::uint32_t* walk) {
    std::uint32_t at = bucket_of(tag);
    for (std::uint32_t passed = 0; passed < bucket_count_; ++passed) {
      Bucket& bucket = buckets_[at];
      for (unsigned bits = bucket.with_tag(tag); bits != 0; bits &= bits - 1) {
        const auto i = static_cast<std::uint32_t>(std::countr_zero(bits));
        if (bucket.number[i] != 0 && holds(bucket.number[i], key)) return {&bucket, i};
      }
      if (const std::uint32_t i = bucket.first_free(); i < kSlots) {
        *walk = passed;
        return {&bucket, i};
      }
      at = (at + 1) & (bucket_count_ - 1);
    }
    return {nullptr, 0};
  }

  bool first_buckets() {
    buckets_ = take_buckets(kFirstBuckets, Pages::kOnTouch);
    if (buckets_ == nullptr) return false;
    bucket_count_ = kFirstBuckets;
    return true;
  }

  Bucket* take_buckets(std::uint32_t count, Pages pages) {
    return static_cast<Bucket*>(memory_.take(std::size_t{count} * sizeof(Bucket), pages));
  }

  /// Doubles the buckets; without memory for it the table stays as it is and fills up.
  void grow() {
    if (bucket_count_ > (std::uint32_t{1} << 29)) return;
    Bucket* const old = buckets_;
    const std::uint32_t old_count = bucket_count_;
    Bucket* grown = take_buckets(old_count * 2, Pages::kWhole);
    if (grown == nullptr) return;
    buckets_ = grown;
    bucket_count_ = old_count * 2;
    const bool first = !spread_;
    if (first) {
      secret_ = new_key_secret();
      spread_ = true;
    }
    for (std::uint32_t b = 0; b < old_count; ++b) {
      for (std::uint32_t i = 0; i < kSlots && old[b].number[i] != 0; ++i) {
        const std::uint32_t number = old[b].number[i];
        put_free(number, first ? tag_of(Keys::key_of(entries_[number - 1])) : old[b].tag[i]);
      }
    }
    memory_.give(old, old_count * sizeof(Bucket));
  }

  /// Puts an entry whose key is not in the table into its first free slot.
  void put_free(std::uint32_t number, std::uint32_t tag) {
    for (std::uint32_t at = bucket_of(tag);; at = (at + 1) & (bucket_count_ - 1)) {
      Bucket& bucket = buckets_[at];
      if (const std::uint32_t i = bucket.first_free(); i < kSlots) {
        bucket.tag[i] = tag;
        bucket.number[i] = number;
        return;
      }
    }
  }

  FoldMemory memory_;
  EntryBlocks<Entry> entries_;
  Bucket* buckets_ = nullptr;
  std::uint32_t bucket_count_ = 0;
  bool spread_ = false;  ///< whole keys are hashed
  std::uint64_t used_slots_ = 0;
  KeySecret secret_{};
};

}  // namespace qsvmon
