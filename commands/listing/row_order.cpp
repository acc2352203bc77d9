#include "commands/listing/row_order.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qsvmon {

namespace {

constexpr unsigned kDigitBits = 8;
constexpr std::size_t kDigitValues = std::size_t{1} << kDigitBits;
constexpr std::size_t kDigits = 32 / kDigitBits;
constexpr std::uint32_t kFewRows = 512;  ///< comparing is quicker than counting digits

using DigitCounts = std::array<std::array<std::uint32_t, kDigitValues>, kDigits>;

std::size_t digit_of(std::uint64_t item, std::size_t digit) {
  return item >> (32 + digit * kDigitBits) & (kDigitValues - 1);
}

DigitCounts count_digits(const std::uint64_t* items, std::size_t count) {
  DigitCounts counts{};
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t digit = 0; digit < kDigits; ++digit)
      ++counts[digit][digit_of(items[i], digit)];
  }
  return counts;
}

/// Moves the items to `to`, by one digit, equal digits in their order.
void scatter(const std::uint64_t* from, std::uint64_t* to, std::size_t count, std::size_t digit,
             std::array<std::uint32_t, kDigitValues>& places) {
  std::uint32_t before = 0;
  for (std::uint32_t& place : places) before += std::exchange(place, before);
  for (std::size_t i = 0; i < count; ++i) to[places[digit_of(from[i], digit)]++] = from[i];
}

}  // namespace

bool RowOrder::take_items() {
  if (items_ != nullptr) return true;
  items_ = static_cast<std::uint64_t*>(memory_.take(bytes(), Pages::kWhole));
  return items_ != nullptr;
}

void RowOrder::sort_items() {
  std::uint64_t* spare = nullptr;
  if (count_ > kFewRows) {
    spare = static_cast<std::uint64_t*>(memory_.take(bytes(), Pages::kWhole));
  }
  if (spare == nullptr) {  // the row's number in the lower half keeps equal counters in order
    std::sort(items_, items_ + count_);
    return;
  }
  DigitCounts counts = count_digits(items_, count_);
  for (std::size_t digit = 0; digit < kDigits; ++digit) {
    if (counts[digit][digit_of(items_[0], digit)] == count_) continue;  // all the same
    scatter(items_, spare, count_, digit, counts[digit]);
    std::swap(items_, spare);
  }
  memory_.give(spare, bytes());
}

}  // namespace qsvmon
