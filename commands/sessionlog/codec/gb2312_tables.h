#pragma once

#include <array>
#include <cstdint>

// The GB 2312-80 mapping in the form the converters read: one look-up for each character, without a
// search, and tables of about the same size for both directions. The compiler makes them from
// gb2312_cells.h.
namespace qsvmon {

/// The code point of a character by `gb_index` of its EUC-CN bytes; 0 for no character.
extern const std::array<std::uint16_t, 1 << 14> kGbCodePoints;

/// Where the character of two bytes is in kGbCodePoints. Their high bits do not count.
constexpr unsigned gb_index(unsigned char first, unsigned char second) {
  return (first & 0x7FU) << 7 | (second & 0x7FU);
}

/// Where the 64 code points that differ in their low 6 bits alone begin in kGbCodes. Most of these
/// pages hold nothing and are the first one.
extern const std::array<std::uint16_t, 1 << 10> kGbPages;

/// The EUC-CN bytes of each code point of a page, the first in the low byte; 0 when GB2312 lacks
/// it.
constexpr unsigned kGbUsedPages = 346;
extern const std::array<std::uint16_t, kGbUsedPages << 6> kGbCodes;

}  // namespace qsvmon
