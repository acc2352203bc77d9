#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "commands/listing/page.h"
#include "commands/listing/radix_sort.h"
#include "commands/sessionlog/record_store.h"

namespace qsvmon {

/// The records of a listing that is sorted by a key: larger keys first, equal ones in order of
/// arrival. A bounded top-k: however many records arrive, it stores those that its page can need.
///
/// The invariant: of all records appended so far, every one is stored that is before the page or on
/// it (none for a page that shows nothing). A record behind the page can be dropped, as later ones
/// only move it further back. The list grows to twice what the page needs (4,096 records at least),
/// is then sorted and cut, and from then on a record that sorts behind the last one of the page is
/// counted and not stored.
///
/// A stored record costs its bytes (rounded up to 4) and 4 more, 8 for its sort item, and 8 while
/// the items are sorted. A hidden record may be stored without its bytes.
class RecordList {
 public:
  /// Whether a record is left out of the page and of its count. Called when its turn on the page
  /// comes, or earlier: three times a stored record at most, on average.
  using IsHidden = bool (*)(std::span<const char> record);

  /// With a null `is_hidden` none is.
  explicit RecordList(PageRange page, IsHidden is_hidden = nullptr, LargeMemory memory = {});
  RecordList(const RecordList&) = delete;
  RecordList& operator=(const RecordList&) = delete;

  /// Appends a record: `write(room)` writes at most `most` bytes (up to
  /// RecordStore::kMaxRecordBytes) and returns how many, above 0. A record whose key says that it
  /// will never be needed, whatever else comes, is counted alone.
  /// KEEP: without memory the record is dropped, silently and uncounted.
  template <class Write>
  void append(std::uint32_t key, std::size_t most, Write&& write) {
    if (key < least_key_) return count_behind(1);
    if (size_ == items_.room() && !items_.reserve(doubled(size_))) return;
    char* const room = records_.room(most);
    if (room == nullptr) return;
    std::size_t bytes = write(room);
    if (asks_at_once_ && is_hidden_({room, bytes})) bytes = 0;
    items_[size_++] = std::uint64_t{~key} << 32 | records_.add(bytes);
    ++count_;
    if (size_ == drop_at_) drop_what_lies_behind();
  }

  /// Counts records that lie behind the page, for which nothing is appended.
  void count_behind(std::uint32_t records) { count_ += records; }

  /// Sorts the stored records. Call it once, when all have been appended.
  void sort() { items_.sort(size_); }

  PageRange page() const { return page_; }
  /// All records appended so far, also those that are not stored.
  std::uint32_t count() const { return count_; }
  /// The records that are stored: at least those that the page needs.
  std::uint32_t size() const { return size_; }

  /// The record at `position` (below size()) of the sorted list. Empty for one that was found to be
  /// hidden while records were appended.
  std::span<const char> operator[](std::uint32_t position) const {
    return records_[place_of(items_[position])];
  }

 private:
  /// Twice as many records, or 4,096: to cut a shorter list would cost more than the memory is
  /// worth.
  static std::size_t doubled(std::uint32_t records) {
    return std::max(std::size_t{4096}, std::size_t{records} * 2);
  }
  static std::uint32_t place_of(std::uint64_t item) { return static_cast<std::uint32_t>(item); }

  std::uint32_t needed();
  bool hides(std::uint32_t place);
  void drop_what_lies_behind();
  void drop_from(std::uint32_t position);

  PageRange page_;
  IsHidden is_hidden_;
  RecordStore records_;
  /// The key inverted in the upper half, the record's place in the lower: ascending is the order.
  SortItems items_;
  std::uint32_t size_ = 0;
  std::uint32_t count_ = 0;
  std::size_t drop_at_;          ///< the size at which the list is cut
  bool asks_at_once_ = false;    ///< `is_hidden` is called for every record that arrives
  std::uint64_t least_key_ = 0;  ///< a record of a smaller key lies behind the page
};

}  // namespace qsvmon
