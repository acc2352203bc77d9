#pragma once

#include <emmintrin.h>

#include <array>
#include <bit>
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
constexpr std::uint32_t kFoldGroup = 64;

/// Entries by key, numbered in the order they were first seen. `Keys` says how keys are hashed and
/// kept (fold_keys.h). Open addressing: a slot is 8 bytes, a keyed hash and an entry's number. The
/// hash names the key's home slot. The key lies there or elsewhere in that cache line of slots, or
/// in the next line with a free one where all are used. At most half of the slots are used, so
/// that a look-up rarely needs a second line, whatever the keys are.
///
/// Without memory for an entry a record is dropped, and all entries stay as they were. Where the
/// slots cannot be doubled, the table accepts keys until three quarters are used, which keeps a
/// look-up below two lines on average, and drops further ones; records of the keys that it has
/// still find their entries. Entries never move.
template <class Keys>
class FoldTable {
 public:
  using Entry = typename Keys::Entry;
  using Key = typename Keys::Key;
  static constexpr std::uint32_t kFirstSlots = 1024;
  static constexpr std::size_t kReadAhead = 2048;  ///< bytes

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
  /// its first update. A listing of 4 M addresses takes 40 ns a record so, and 71 one by one; of as
  /// many hosts 58 and 104.
  template <class Note, class Record, class KeyOf, class Update>
  void fold(std::span<const Record> records, KeyOf&& key_of, Update&& update) {
    if (records.empty() || !begin()) return;
    for (std::size_t at = 0; at < records.size(); at += kFoldGroup) {
      const std::size_t left = records.size() - at;
      fold_group<Note>(records.subspan(at, left < kFoldGroup ? left : kFoldGroup), key_of, update);
    }
  }

  /// For tests: the slots there are, and how many lines of them a look-up of `key` looks at.
  std::uint32_t slot_count() const { return slots_ == nullptr ? 0 : last_slot_ + 1; }
  std::uint32_t lines_probed(const Key& key) {
    const std::uint32_t hash = Keys::hash(key, secret_);
    const auto found = static_cast<std::uint32_t>(probe(key, hash) - slots_);
    return ((found - home_line(hash)) & last_slot_) / kLineSlots + 1;
  }

 private:
  /// `number` is the entry's number + 1, or 0 in a free slot.
  struct Slot {
    std::uint32_t hash;
    std::uint32_t number;
  };
  static constexpr std::uint32_t kLineSlots = 64 / sizeof(Slot);
  static constexpr std::size_t kSlotsAhead = kReadAhead / sizeof(Slot);

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
      __builtin_prefetch(&slots_[hashes[i] & last_slot_], 1);
    }
    for (std::size_t i = 0; i < group.size(); ++i) {
      entries[i] = uses[i] == KeyUse::kSkip ? nullptr : entry_for(uses[i], keys[i], hashes[i]);
    }
    for (std::size_t i = 0; i < group.size(); ++i) {
      if (entries[i] != nullptr) update(*entries[i], group[i], notes[i]);
    }
  }

  std::uint32_t home_line(std::uint32_t hash) const {
    return hash & last_slot_ & ~(kLineSlots - 1);
  }

  /// The entry of `key`; null where it has none and there is no memory. Of few keys nearly all lie
  /// in their home slots: a listing of a million of 100 names takes 13 ms so, and 16 where every
  /// key is searched for.
  Entry* entry_for(KeyUse use, const Key& key, std::uint32_t hash) {
    const Slot& home = slots_[hash & last_slot_];
    if (home.hash == hash && home.number != 0 && use == KeyUse::kInsert) {
      Entry& entry = entries_[home.number - 1];
      prefetch_entry(entry);
      if (Keys::same(entry, key)) return &entry;
    }
    return search(use, key, hash);
  }

  /// Not inlined: the loop over known keys is shorter without it.
  [[gnu::noinline]] Entry* search(KeyUse use, const Key& key, std::uint32_t hash) {
    Slot* const slot = probe(key, hash);
    const bool is_free = slot->number == 0;
    if (!is_free && use == KeyUse::kInsert) {
      Entry& entry = entries_[slot->number - 1];
      prefetch_entry(entry);  // a new one lies behind the last, where the processor reads ahead
      return &entry;
    }
    if ((is_free && used_ == grow_at_) || !entries_.has_room_for(1)) {
      return search_with_room(is_free, use, key, hash);
    }
    Entry& entry = entries_.add();
    Keys::begin(entry, key);
    used_ += is_free;
    *slot = {hash, entries_.size()};
    return &entry;
  }
  /// The same where there is no room for an entry or in the slots. Apart from the other, which
  /// saves no registers so: a listing of 4 M names takes 0.95 of the time.
  [[gnu::noinline]] Entry* search_with_room(bool in_free_slot, KeyUse use, const Key& key,
                                            std::uint32_t hash) {
    if (in_free_slot && used_ == grow_at_ && !make_room()) return nullptr;
    return entries_.reserve(1) ? search(use, key, hash) : nullptr;
  }

  /// The slot of `key`, or the free one where it belongs. There is always a free slot.
  Slot* probe(const Key& key, std::uint32_t hash) {
    for (std::uint32_t line = home_line(hash);; line = (line + kLineSlots) & last_slot_) {
      Slot* const slots = &slots_[line];
      const unsigned seen = compare_line(slots, hash);
      const unsigned free = seen & kFreeBits;
      for (unsigned same = seen & ~(free >> 1) & ~kFreeBits; same != 0; same &= same - 1) {
        Slot& slot = slots[std::countr_zero(same) / 2];
        if (Keys::same(entries_[slot.number - 1], key)) return &slot;
      }
      const unsigned home = free & (2u << 2 * (hash % kLineSlots));
      if (free != 0) return &slots[std::countr_zero(home != 0 ? home : free) / 2];
    }
  }

  /// Two bits for each slot of a line: the lower is set where it has `hash`, the upper where it is
  /// free. All slots at once with SSE2, which every amd64 processor has, and without a branch for
  /// each, which would go either way: a listing of 4 M keys takes 0.8 to 0.9 of the time so.
  static unsigned compare_line(const Slot* line, std::uint32_t hash) {
    const __m128i wanted = _mm_set1_epi64x(hash);  // the number of a free slot is 0
    const auto equal = [&](int pair) {
      return _mm_cmpeq_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(line) + pair), wanted);
    };
    const __m128i first_half = _mm_packs_epi32(equal(0), equal(1));
    const __m128i second_half = _mm_packs_epi32(equal(2), equal(3));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(first_half, second_half)));
  }
  static constexpr unsigned kFreeBits = 0xaaaa;

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
    if (old != nullptr) rehash(old, old_count);
    memory_.free(old, old_count * sizeof(Slot));
    return true;
  }

  /// Copies the keys of `old`, which has a free slot, into the new slots, all free. A key in its
  /// home line keeps its place within the line, which is no other key's; the line's others are put
  /// behind them. Begins behind a line with a free slot, which no key went past: the lines done so
  /// far had slots for all their keys, so none goes into a line whose own are still to come.
  void rehash(const Slot* old, std::uint32_t old_count) {
    std::uint32_t free = 0;
    while (old[free].number != 0) ++free;
    const std::uint32_t first_line = free / kLineSlots * kLineSlots + kLineSlots;
    const std::uint32_t new_bits = slot_count() - old_count;
    for (std::uint32_t done = 0; done < old_count; done += kLineSlots) {
      const std::uint32_t line = (first_line + done) & (old_count - 1);
      // A listing of 4 M keys takes 0.93 to 0.98 of the time with these.
      __builtin_prefetch(&old[line] + kSlotsAhead);
      __builtin_prefetch(&slots_[line] + kSlotsAhead, 1);
      __builtin_prefetch(&slots_[line + old_count] + kSlotsAhead, 1);
      std::array<Slot, kLineSlots> strays;
      std::uint32_t stray_count = 0;
      for (std::uint32_t at = line; at < line + kLineSlots; ++at) {
        const Slot slot = old[at];
        const std::uint32_t away = (slot.hash ^ at) & (old_count - kLineSlots);
        // A product, as a branch for every free slot would go either way: 10 ns a key instead of 5.
        if (std::uint64_t{away} * slot.number != 0) {
          strays[stray_count++] = slot;
        } else {
          slots_[at | (slot.hash & new_bits)] = slot;
        }
      }
      for (std::uint32_t i = 0; i < stray_count; ++i) {
        std::uint32_t at = home_line(strays[i].hash);
        while (slots_[at].number != 0) at = (at + 1) & last_slot_;
        slots_[at] = strays[i];
      }
    }
  }

  /// Makes the first slots. False without memory.
  bool begin() {
    if (slots_ != nullptr) return true;
    secret_ = new_key_secret();
    return grow(kFirstSlots);
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
