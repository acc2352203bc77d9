#include "commands/sessionlog/codec/gb2312_tables.h"

#include <cstddef>

#include "commands/sessionlog/codec/gb2312_cells.h"

namespace qsvmon {
namespace {

/// Calls `use(first, second, code point)` for every character, with its EUC-CN bytes.
template <class Use>
constexpr void for_each_character(Use use) {
  for (unsigned cell = 0; cell < kGbRows * kGbColumns; ++cell) {
    if (kGbCells[cell] == kGbUnassigned) continue;
    use(static_cast<unsigned char>(0xA1 + cell / kGbColumns),
        static_cast<unsigned char>(0xA1 + cell % kGbColumns), kGbCells[cell]);
  }
}

constexpr auto make_code_points() {
  std::array<std::uint16_t, kGbCodePoints.size()> code_points{};
  for_each_character([&](unsigned char first, unsigned char second, std::uint16_t cp) {
    code_points[gb_index(first, second)] = cp;
  });
  return code_points;
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

constinit const std::array<std::uint16_t, 1 << 14> kGbCodePoints = make_code_points();
constinit const std::array<std::uint16_t, 1 << 10> kGbPages = kReverse.pages;
constinit const std::array<std::uint16_t, kGbUsedPages << 6> kGbCodes = kReverse.codes;

}  // namespace qsvmon
