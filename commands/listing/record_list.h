#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "commands/listing/page.h"
#include "commands/listing/record_store.h"

namespace qsvmon {

/// The records of a listing that is sorted by a key: larger keys first, equal ones as they came. It
/// keeps what one page can need, however many records come: of the records so far in their order,
/// those before the page, then those up to the last one that the page shows. What lies behind can
/// never come back in front when more arrive; it is dropped whenever as many again have gathered as
/// the page needs, and from then on whatever would lie behind is only counted. A record takes as
/// many bytes as it has (rounded up to 4), 4 more, 8 to be sorted and 8 while that is done; one
/// that is hidden may keep its place without its bytes.
class RecordList {
 public:
  /// Whether a record that comes up on the page is left out of it and of the count. Asked once at
  /// most for each record.
  using IsHidden = bool (*)(std::span<const char> record);

  /// With a null `is_hidden` none is.
  explicit RecordList(PageRange page, IsHidden is_hidden = nullptr, FoldMemory memory = {});
  RecordList(const RecordList&) = delete;
  RecordList& operator=(const RecordList&) = delete;
  ~RecordList();

  /// Whether a record of this key will never be needed, whatever else comes.
  bool lies_behind(std::uint32_t key) const {
    return has_last_key_ && key <= last_key_;  // of equal keys those that came first are in front
  }

  /// Takes a record in, 1 to RecordStore::kMaxRecordBytes bytes; of one that lies behind they may
  /// be left out. KEEP: dropped without a word, and not counted, when there is no memory for it.
  void append(std::uint32_t key, std::span<const char> record) {
    if (lies_behind(key)) {
      ++count_;
    } else {
      keep(key, record);
    }
  }

  /// Puts the records in their order, once all have come.
  void sort();

  PageRange page() const { return page_; }
  /// All records so far, also those that are not kept.
  std::uint32_t count() const { return count_; }
  /// The records that are kept: at least those that the page needs.
  std::uint32_t size() const { return size_; }

  /// The record at `position` (below size()) of the sorted list. Empty for one that was found to be
  /// hidden while the records came in.
  std::span<const char> operator[](std::uint32_t position) const {
    return records_[place_of(items_[position])];
  }

 private:
  static std::uint32_t place_of(std::uint64_t item) { return static_cast<std::uint32_t>(item); }

  void keep(std::uint32_t key, std::span<const char> record);
  bool grow_items();
  std::uint32_t needed();
  bool hides(std::uint32_t place);
  void drop_what_lies_behind();
  void drop_from(std::uint32_t position);

  PageRange page_;
  IsHidden is_hidden_;
  FoldMemory memory_;
  RecordStore records_;
  /// The key inverted in the upper half, the record's place in the lower: ascending is the order.
  std::uint64_t* items_ = nullptr;
  std::uint64_t* spare_ = nullptr;  ///< to sort them, once that was done; as large
  std::size_t room_ = 0;
  std::uint32_t size_ = 0;
  std::uint32_t count_ = 0;
  std::uint64_t drop_at_;      ///< the size at which to look for what lies behind
  bool asks_at_once_ = false;  ///< whether a record is hidden, not only when it is on the page
  bool has_last_key_ = false;  ///< what comes behind last_key_ lies behind the page
  std::uint32_t last_key_ = 0;
};

}  // namespace qsvmon
