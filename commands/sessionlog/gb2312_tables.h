#pragma once

#include <cstdint>

// The GB 2312-80 mapping as generated data (tools/gb2312_tables.py). A GB code is a row in the high
// byte and a column in the low one, both 0x21 to 0x7E.
namespace qsvmon {

/// A cell of the grid that holds no character.
constexpr std::uint16_t kGbUnassigned = 0xFFFD;

/// Code points of the 94 x 94 grid, flattened: cell 94 x (row - 0x21) + (column - 0x21). Rows 0x21
/// to 0x29 and, from their own cell 0 on, rows 0x30 to 0x77; the rows between hold nothing.
constexpr unsigned kGbColumns = 94;
constexpr unsigned kGbLowCells = 831;
constexpr unsigned kGbHighFirstCell = 1410;
constexpr unsigned kGbHighCells = 6768;
extern const std::uint16_t kGbRows21To29[kGbLowCells];
extern const std::uint16_t kGbRows30To77[kGbHighCells];

/// 16 code points that differ in their low 4 bits alone.
struct GbBlock {
  std::uint16_t first;  ///< index in kGbCodes of the block's first mapped code point
  std::uint16_t mask;   ///< bit k: the code point with low bits k is mapped
};

/// The blocks of U+0000-045F, U+2000-264F, U+3000-322F, U+4E00-9CEF, U+9E00-9FAF and U+FF00-FFEF.
extern const GbBlock kGbPage0[70];
extern const GbBlock kGbPage1[101];
extern const GbBlock kGbPage2[35];
extern const GbBlock kGbPage3[1263];
extern const GbBlock kGbPage4[27];
extern const GbBlock kGbPage5[15];

/// The GB codes of all mapped code points, in code-point order.
constexpr unsigned kGbCharacters = 7445;
extern const std::uint16_t kGbCodes[kGbCharacters];

}  // namespace qsvmon
