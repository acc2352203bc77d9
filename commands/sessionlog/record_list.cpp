#include "commands/sessionlog/record_list.h"

#include <algorithm>

namespace qsvmon {
namespace {

/// No list gets that long: records of 4 bytes would fill the store before.
constexpr std::uint32_t kNeverReached = std::uint32_t{1} << 31;

std::uint64_t swap_halves(std::uint64_t item) {
  return item << 32 | item >> 32;
}

}  // namespace

RecordList::RecordList(PageRange page, IsHidden is_hidden, LargeMemory memory)
    : page_(page),
      is_hidden_(is_hidden),
      records_(memory),
      items_(memory),
      drop_at_(doubled(page.end)) {
  const bool shows_nothing = page.start >= page.end || page.start >= kNeverReached;
  if (shows_nothing) least_key_ = std::uint64_t{1} << 32;  // above all keys
}

/// Whether the record is left out of the page. The answer never changes, and a record that is not
/// before the page now never will be: the bytes of a hidden one are not needed any more.
bool RecordList::hides(std::uint32_t place) {
  if (is_hidden_ == nullptr) return false;
  if (!records_[place].empty() && is_hidden_(records_[place])) records_.empty(place);
  return records_[place].empty();
}

/// How many of the sorted records the page needs: those before it, and from there on up to the last
/// that it shows. Where that one is found, whatever sorts behind it is never shown.
std::uint32_t RecordList::needed() {
  std::uint32_t to_show = page_.end - page_.start;
  std::uint32_t position = std::min(page_.start, size_);
  for (; position < size_; ++position) {
    if (!hides(place_of(items_[position])) && --to_show == 0) {
      const auto key = ~static_cast<std::uint32_t>(items_[position] >> 32);
      least_key_ = std::uint64_t{key} + 1;  // of equal keys those that came first are in front
      return position + 1;
    }
  }
  // The page is not full: if most of what arrives is hidden, its bytes must not fill the memory.
  asks_at_once_ = is_hidden_ != nullptr;
  return size_;
}

/// Sorting takes linear time and the list has doubled since the last cut: constant time a record.
void RecordList::drop_what_lies_behind() {
  items_.sort(size_);
  drop_from(needed());
  drop_at_ = doubled(size_);
}

/// Moves the records before `position` together. Those are visited by their place in the store,
/// which is their order of arrival, so that none is overwritten before it is moved.
void RecordList::drop_from(std::uint32_t position) {
  size_ = position;
  for (std::uint32_t i = 0; i < size_; ++i) items_[i] = swap_halves(items_[i]);
  items_.sort(size_);
  records_.rewind();
  for (std::uint32_t i = 0; i < size_; ++i) {
    const std::uint64_t item = swap_halves(items_[i]);
    items_[i] = (item & ~std::uint64_t{0xFFFFFFFF}) | records_.move(place_of(item));
  }
}

}  // namespace qsvmon
