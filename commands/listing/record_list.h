#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "commands/listing/entry_blocks.h"

namespace qsvmon {

/// The records of a listing that must be sorted: each kept once, and 8 bytes to sort. Records are
/// numbered in the order they came and never move.
template <class Record>
class RecordList {
 public:
  explicit RecordList(FoldMemory memory = FoldMemory{}) : memory_(memory), records_(memory) {}
  RecordList(const RecordList&) = delete;
  RecordList& operator=(const RecordList&) = delete;
  ~RecordList() { memory_.give(order_, room_ * sizeof(std::uint64_t)); }

  std::uint32_t size() const { return size_; }
  Record& operator[](std::uint32_t number) { return records_[number]; }

  /// Where the next record goes, so that a filter can work on the list's own copy: fill it and
  /// `commit` it, or leave it to be used again. Null when there is no memory for one more, and the
  /// record is dropped.
  Record* slot() {
    if (size_ == room_ && !grow_order()) return nullptr;
    if (slot_ == nullptr) slot_ = records_.add();
    return slot_;
  }

  /// Takes the record in `slot()` into the list; lists show larger keys first.
  void commit(std::uint32_t key) {
    order_[size_] = std::uint64_t{~key} << 32 | size_;
    ++size_;
    slot_ = nullptr;
  }

  /// Copies `record` to the end of the list. KEEP: dropped without a word when there is no memory.
  void append(const Record& record, std::uint32_t key) {
    if (Record* at = slot(); at != nullptr) {
      std::memcpy(static_cast<void*>(at), &record, sizeof record);
      commit(key);
    }
  }

 private:
  template <class>
  friend class SortedRecords;

  bool grow_order() {
    const std::size_t room = room_ == 0 ? kFirstRoom : room_ * 2;
    auto* grown =
        static_cast<std::uint64_t*>(memory_.take(room * sizeof(std::uint64_t), Pages::kOnTouch));
    if (grown == nullptr) return false;
    if (size_ != 0) std::memcpy(grown, order_, size_ * sizeof(std::uint64_t));
    memory_.give(order_, room_ * sizeof(std::uint64_t));
    order_ = grown;
    room_ = room;
    return true;
  }

  static constexpr std::size_t kFirstRoom = 4096;

  FoldMemory memory_;
  EntryBlocks<Record> records_;
  Record* slot_ = nullptr;
  std::uint64_t* order_ = nullptr;  ///< the key inverted, then the number: ascending is the order
  std::size_t room_ = 0;
  std::uint32_t size_ = 0;
};

/// A list's records by position, largest key first and equal keys in the order they came. Only what
/// is asked for gets sorted: a page of a long list costs one pass over the keys.
/// The list must outlive this object and not be appended to.
template <class Record>
class SortedRecords {
 public:
  /// `start` is the first position that will be asked for.
  explicit SortedRecords(RecordList<Record>& list, std::uint32_t start = 0)
      : list_(list), sorted_from_(std::min(start, list.size_)), sorted_to_(sorted_from_) {
    std::uint64_t* const keys = list.order_;
    if (sorted_from_ > 0 && sorted_from_ < list.size_) {
      std::nth_element(keys, keys + sorted_from_, keys + list.size_);
    }
  }

  std::uint32_t size() const { return list_.size_; }

  /// The record at `position`. REQUIRES: start <= position < size, and positions are asked for in
  /// ascending order.
  Record& at(std::uint32_t position) {
    if (position >= sorted_to_) sort_up_to(position);
    // Records lie in the order they came: ask for one that will be wanted soon.
    if (sorted_to_ - position > kAhead) prefetch(*record(position + kAhead));
    return *record(position);
  }

 private:
  Record* record(std::uint32_t position) {
    return &list_[static_cast<std::uint32_t>(list_.order_[position])];
  }

  /// Asks for the first cache lines of a record, and the last.
  static void prefetch(const Record& record) {
    constexpr std::size_t kLine = 64;
    const auto* bytes = reinterpret_cast<const char*>(&record);
    for (std::size_t byte = 0; byte < std::min(sizeof record, 3 * kLine); byte += kLine) {
      __builtin_prefetch(bytes + byte);
    }
    __builtin_prefetch(bytes + sizeof record - 1);
  }

  /// Sorts the next positions, `position` among them: few at first, then ever more, so that all of
  /// them together cost what one sort would.
  void sort_up_to(std::uint32_t position) {
    std::uint64_t* const keys = list_.order_;
    const std::uint64_t wanted = std::max<std::uint64_t>(
        {std::uint64_t{position} + 1, sorted_to_ + std::uint64_t{kFirstChunk},
         sorted_to_ + std::uint64_t{sorted_to_ - sorted_from_} * 3});
    const auto to = static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, list_.size_));
    if (to < list_.size_) std::nth_element(keys + sorted_to_, keys + to, keys + list_.size_);
    std::sort(keys + sorted_to_, keys + to);
    sorted_to_ = to;
  }

  static constexpr std::uint32_t kFirstChunk = 256;
  static constexpr std::uint32_t kAhead = 6;

  RecordList<Record>& list_;
  std::uint32_t sorted_from_;
  std::uint32_t sorted_to_;
};

}  // namespace qsvmon
