#include "commands/sessionlog/codec/gb2312_tables.h"

#include <cstddef>

#include "commands/sessionlog/codec/gb2312_cells.h"

namespace qsvmon {
namespace {

constexpr std::uint32_t utf8_word(std::uint32_t cp) {
  const std::uint32_t last = 0x80U | (cp & 0x3FU);
  if (cp < 0x800) return 0x02000000U | last << 8 | 0xC0U | cp >> 6;
  return 0x03000000U | last << 16 | (0x80U | (cp >> 6 & 0x3FU)) << 8 | 0xE0U | cp >> 12;
}

/// Calls `take(first, second, code point)` for every character, with its EUC-CN bytes.
template <class Take>
constexpr void for_each_character(Take take) {
  for (unsigned cell = 0; cell < kGbRows * kGbColumns; ++cell) {
    if (kGbCells[cell] == kGbUnassigned) continue;
    take(static_cast<unsigned char>(0xA1 + cell / kGbColumns),
         static_cast<unsigned char>(0xA1 + cell % kGbColumns), kGbCells[cell]);
  }
}

constexpr auto make_utf8() {
  std::array<std::uint32_t, kGbUtf8.size()> utf8{};
  for_each_character([&](unsigned char first, unsigned char second, std::uint16_t cp) {
    utf8[gb_index(first, second)] = utf8_word(cp);
  });
  return utf8;
}

struct Reverse {
  std::array<std::uint16_t, kGbPages.size()> pages;
  std::array<std::uint16_t, kGbCodes.size()> codes;
  unsigned used_pages;
};

constexpr Reverse make_reverse() {
  Reverse made{{}, {}, 1};
  for_each_character([&](unsigned char first, unsigned char second, std::uint16_t cp) {
    std::uint16_t& page = made.pages[cp >> 6];
    if (page == 0) page = static_cast<std::uint16_t>(made.used_pages++ << 6);
    made.codes[page + (cp & 0x3FU)] = static_cast<std::uint16_t>(second << 8 | first);
  });
  return made;
}

constexpr Reverse kReverse = make_reverse();
static_assert(kReverse.used_pages == kGbUsedPages);

}  // namespace

constinit const std::array<std::uint32_t, 1 << 14> kGbUtf8 = make_utf8();
constinit const std::array<std::uint16_t, 1 << 10> kGbPages = kReverse.pages;
constinit const std::array<std::uint16_t, kGbUsedPages << 6> kGbCodes = kReverse.codes;

}  // namespace qsvmon
