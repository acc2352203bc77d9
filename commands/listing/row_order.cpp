#include "commands/listing/row_order.h"

#include <utility>

#include "commands/listing/radix_sort.h"

namespace qsvmon {

bool RowOrder::allocate_items() {
  if (items_ != nullptr) return true;
  items_ = static_cast<std::uint64_t*>(memory_.allocate(bytes(), Pages::kWhole));
  return items_ != nullptr;
}

void RowOrder::sort_items() {
  std::uint64_t* spare = nullptr;
  if (count_ > kFewItems) {
    spare = static_cast<std::uint64_t*>(memory_.allocate(bytes(), Pages::kWhole));
  }
  // Without a second copy it takes longer and gives the same order: the row's number in the lower
  // half tells rows with equal counters apart.
  if (spare == nullptr) {
    sort_in_place({items_, count_});
    return;
  }
  const RadixSorted sorted = radix_sort(items_, spare, count_);
  if (sorted.items == spare) std::swap(items_, spare);
  memory_.free(spare, bytes());
}

}  // namespace qsvmon
