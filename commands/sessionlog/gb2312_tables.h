#pragma once

#include <cstdint>

// The GB 2312-80 mapping as generated data (tools/gb2312_tables.py). A GB code is a row in the high
// byte and a column in the low one, both 0x21 to 0x7E.
namespace qsvmon {

/// A cell of the grid that holds no character.
constexpr std::uint16_t kGbUnassigned = 0xFFFD;

/// Code points of the 94 x 94 grid, flattened: cell 94 x (row - 0x21) + (column - 0x21). Rows 0x2A
/// to 0x2F hold nothing; nor do those behind 0x77, which are left out.
constexpr unsigned kGbColumns = 94;
constexpr unsigned kGbRows = 87;
extern const std::uint16_t kGbCells[kGbRows * kGbColumns];

/// 16 code points that differ in their low 4 bits alone.
struct GbBlock {
  std::uint16_t first;  ///< index in kGbCodes of the block's first mapped code point
  std::uint16_t mask;   ///< bit k: the code point with low bits k is mapped
};

/// The block of each 16 code points below U+10000. Most hold nothing and are never touched; having
/// them spares every look-up the search for its range.
extern const GbBlock kGbBlocks[4096];

/// The GB codes of all mapped code points, in code-point order.
constexpr unsigned kGbCharacters = 7445;
extern const std::uint16_t kGbCodes[kGbCharacters];

}  // namespace qsvmon
