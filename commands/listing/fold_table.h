#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "commands/listing/entry_chunks.h"
#include "commands/listing/fold_keys.h"

namespace qsvmon {

/// What a record does to a FoldTable.
enum class KeyUse : std::uint8_t {
  kSkip,     ///< nothing, it is left out
  kInsert,   ///< counts in the entry of its key, which is made when there is none
  kReplace,  ///< makes an entry, which later records with this key find instead of any earlier one
};

/// For folds whose records are counted as they are.
struct NoNote {};

/// Records that `FoldTable::fold` works on side by side.
constexpr std::uint32_t kFoldGroup = 32;

/// Entries by key, numbered in the order they were first seen. `Keys` says how keys are hashed and
/// kept (fold_keys.h). Open addressing: a slot is 8 bytes, a keyed hash and an entry's number, and
/// a key lies in the first free slot of the cache line that its hash names, or of the lines behind.
/// At most half of the slots are used, so that a look-up probes two of them whatever the keys are.
///
/// Without memory for an entry a record is dropped and the table stays as it was. Where the slots
/// cannot be doubled, the table accepts keys until three quarters are used, which keeps a look-up
/// below nine slots on average, and drops further ones; records of the keys that it has still find
/// their entries. Entries never move.
template <class Keys>
class FoldTable {
 public:
  using Entry = typename Keys::Entry;
  using Key = typename Keys::Key;
  static constexpr std::uint32_t kFirstSlots = 1024;
  static constexpr std::size_t kReadAhead = 2048;  ///< bytes
  static constexpr std::uint32_t kMoveGroup = 256;
  static_assert(kFirstSlots % kMoveGroup == 0);

  explicit FoldTable(LargeMemory memory = {}) : memory_(memory), entries_(memory) {}
  FoldTable(const FoldTable&) = delete;
  FoldTable& operator=(const FoldTable&) = delete;
  ~FoldTable() { memory_.free(slots_, slot_count() * sizeof(Slot)); }

  std::uint32_t size() const { return entries_.size(); }
  Entry& operator[](std::uint32_t number) { return entries_[number]; }
  const Entry& operator[](std::uint32_t number) const { return entries_[number]; }

  /// Folds records in order. `key_of(const Record&, Key&, Note&)` sets the key of one, says what it
  /// is for, and may note what it read of the record for `update(Entry&, const Record&, Note)`,
  /// which counts it in: what lies in the shared area is read once. Works in groups, so that the
  /// cache lines of a group are fetched side by side: `key_of` is called for a whole group before
  /// its first update. A listing of a million addresses takes 42 ns a record so, and 55 one by one;
  /// of a million hosts 60 and 92.
  template <class Note, class Record, class KeyOf, class Update>
  void fold(std::span<const Record> records, KeyOf&& key_of, Update&& update) {
    if (records.empty() || !begin()) return;
    for (std::size_t at = 0; at < records.size(); at += kFoldGroup) {
      const std::size_t left = records.size() - at;
      fold_group<Note>(records.subspan(at, left < kFoldGroup ? left : kFoldGroup), key_of, update);
    }
  }

  /// For tests: the slots there are, and how many of them a look-up of `key` looks at.
  std::uint32_t slot_count() const { return slots_ == nullptr ? 0 : last_slot_ + 1; }
  std::uint32_t probe_length(const Key& key) {
    const std::uint32_t hash = Keys::hash(key, secret_);
    const Slot* const found = probe(key, hash);
    std::uint32_t probes = 0;
    while (&slot_at(first_slot(hash), probes) != found) ++probes;
    return probes + 1;
  }

 private:
  /// `number` is the entry's number + 1, or 0 in a free slot.
  struct Slot {
    std::uint32_t hash;
    std::uint32_t number;
  };
  static constexpr std::uint32_t kLineSlots = 64 / sizeof(Slot);

  template <class Note, class Record, class KeyOf, class Update>
  void fold_group(std::span<const Record> group, KeyOf& key_of, Update& update) {
    std::array<KeyUse, kFoldGroup> uses;
    std::array<Note, kFoldGroup> notes;
    std::array<Key, kFoldGroup> keys;
    std::array<std::uint32_t, kFoldGroup> hashes;
    std::array<Entry*, kFoldGroup> entries;
    for (std::size_t i = 0; i < group.size(); ++i) {
      // The processor does not read ahead across pages: a million records of 100 addresses take
      // 0.87 of the time so.
      __builtin_prefetch(reinterpret_cast<const char*>(&group[i]) + kReadAhead);
      uses[i] = key_of(group[i], keys[i], notes[i]);
      if (uses[i] == KeyUse::kSkip) continue;
      hashes[i] = Keys::hash(keys[i], secret_);
      __builtin_prefetch(&slots_[first_slot(hashes[i])], 1);
    }
    for (std::size_t i = 0; i < group.size(); ++i) {
      entries[i] = nullptr;
      if (uses[i] == KeyUse::kSkip) continue;
      entries[i] = entry_for(uses[i], keys[i], hashes[i]);
    }
    for (std::size_t i = 0; i < group.size(); ++i) {
      if (entries[i] != nullptr) update(*entries[i], group[i], notes[i]);
    }
  }

  std::uint32_t first_slot(std::uint32_t hash) const { return hash & last_slot_; }

  /// The slot that is probed behind `probes` others, from `first` on: the slots of its cache line,
  /// then those of the lines behind. Only that line was prefetched: a listing of 4 M names or
  /// addresses takes 0.93 to 0.97 of the time that it takes with linear probing.
  Slot& slot_at(std::uint32_t first, std::uint32_t probes) {
    return slots_[((first ^ probes % kLineSlots) + (probes & ~(kLineSlots - 1))) & last_slot_];
  }

  Entry* entry_for(KeyUse use, const Key& key, std::uint32_t hash) {
    Slot* const slot = probe(key, hash);
    if (slot->number == 0 || use != KeyUse::kInsert) return new_entry(slot, key, hash);
    Entry& entry = entries_[slot->number - 1];
    prefetch_entry(entry);  // a new one lies behind the last, where the processor reads ahead
    return &entry;
  }

  /// `slot` is the key's. Not inlined: the loop over known keys is shorter without it.
  [[gnu::noinline]] Entry* new_entry(Slot* slot, const Key& key, std::uint32_t hash) {
    const bool is_free = slot->number == 0;
    if ((is_free && used_ == grow_at_) || !entries_.has_room_for(1)) {
      return new_entry_with_room(is_free, key, hash);
    }
    Entry& entry = entries_.add();
    Keys::begin(entry, key);
    used_ += is_free;
    *slot = {hash, entries_.size()};
    return &entry;
  }
  /// The same where there is no room for an entry or in the slots. Apart from the other, which
  /// saves no registers so: a listing of 100,000 addresses or names takes 0.88 of the time.
  [[gnu::noinline]] Entry* new_entry_with_room(bool in_free_slot, const Key& key,
                                               std::uint32_t hash) {
    if (in_free_slot && used_ == grow_at_ && !make_room()) return nullptr;
    return entries_.reserve(1) ? new_entry(probe(key, hash), key, hash) : nullptr;
  }

  /// The slot of `key`, or the free one where it belongs. There is always a free slot.
  Slot* probe(const Key& key, std::uint32_t hash) {
    const std::uint32_t first = first_slot(hash);
    for (std::uint32_t probes = 0;; ++probes) {
      Slot& slot = slot_at(first, probes);
      if (slot.number == 0) return &slot;
      if (slot.hash == hash && Keys::same(entries_[slot.number - 1], key)) return &slot;
    }
  }

  /// Makes room for one more key: more slots, or else a fuller table. The first two times there are
  /// sixteen times as many, up to a large page: a page out of 100,000 addresses takes 0.9 of the
  /// time that it takes with fourfold.
  bool make_room() {
    const std::uint32_t slots = slot_count();
    if (slots * sizeof(Slot) < kLargePageBytes && grow(slots * 16)) return true;
    if (slots <= std::uint32_t{1} << 30 && grow(slots * 2)) return true;
    const std::uint32_t most = slots / 4 * 3;
    if (used_ == most) return false;
    grow_at_ = most;
    return true;
  }

  /// Moves to `count` slots. False without memory: the table stays as it is.
  bool grow(std::uint32_t count) {
    const std::uint32_t old_count = slot_count();
    void* const memory = memory_.allocate(count * sizeof(Slot), Pages::kWhole);
    if (memory == nullptr) return false;
    Slot* const old = std::exchange(slots_, static_cast<Slot*>(memory));
    last_slot_ = count - 1;
    grow_at_ = count / 2;
    for (std::uint32_t i = 0; i < old_count; i += kMoveGroup) move_used(old + i);
    memory_.free(old, old_count * sizeof(Slot));
    return true;
  }

  /// Moves those of kMoveGroup slots that are used. They are collected first, without a branch for
  /// each, which would go either way as often: a listing of 4 M addresses takes 176 ms so, and 190.
  void move_used(const Slot* from) {
    std::array<Slot, kMoveGroup> used;
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < kMoveGroup; ++i) {
      used[count] = from[i];
      count += from[i].number != 0;
    }
    for (std::uint32_t i = 0; i < count; ++i) *free_slot(used[i].hash) = used[i];
  }

  /// Makes the first slots. False without memory.
  bool begin() {
    if (slots_ != nullptr) return true;
    secret_ = new_key_secret();
    return grow(kFirstSlots);
  }

  Slot* free_slot(std::uint32_t hash) {
    const std::uint32_t first = first_slot(hash);
    std::uint32_t probes = 0;
    while (slot_at(first, probes).number != 0) ++probes;
    return &slot_at(first, probes);
  }

  LargeMemory memory_;
  EntryChunks<Entry> entries_;
  Slot* slots_ = nullptr;
  std::uint32_t last_slot_ = 0;  ///< a power of two of slots, less one
  std::uint32_t used_ = 0;
  std::uint32_t grow_at_ = 0;
  KeySecret secret_{};
};

}  // namespace qsvmon
