#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "commands/sessionlog/gb2312_tables.h"

// The converters' way for runs of characters of one kind; part of gb2312.cpp, where the conversion
// stays in registers.
namespace qsvmon {

/// A conversion under way: the input that is left, the output so far and the characters that may
/// still be taken.
struct GbConversion {
  const char* p;
  const char* end;
  char* at;
  char* limit;  ///< the NUL must lie below it
  unsigned codes;

  bool more() const { return p < end && codes > 0; }
  /// True when `bytes` and the NUL fit.
  bool fits(int bytes) const { return limit - at > bytes; }
  /// Steps over `count` characters of `from` bytes that became `to` bytes.
  void take(unsigned count, unsigned from, unsigned to) {
    p += std::size_t{count} * from;
    at += std::size_t{count} * to;
    codes -= count;
  }
};

namespace gb_bulk {

// Compilers' portable vectors: lanes of one machine word each, or as many as the machine has.
using U64x2 = std::uint64_t __attribute__((vector_size(16)));
using U32x4 = std::uint32_t __attribute__((vector_size(16)));
using I32x4 = std::int32_t __attribute__((vector_size(16)));
using F32x4 = float __attribute__((vector_size(16)));
using U16x8 = std::uint16_t __attribute__((vector_size(16)));
using I16x8 = std::int16_t __attribute__((vector_size(16)));

template <class Word>
Word load(const void* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

/// True when every bit of every lane is set.
inline bool all_set(U16x8 lanes) {
  const auto halves = reinterpret_cast<U64x2>(lanes);
  return (halves[0] & halves[1]) == ~std::uint64_t{0};
}

/// How many lanes have all bits set, before the first that has none.
inline unsigned leading_lanes(U16x8 lanes) {
  const auto halves = reinterpret_cast<U64x2>(~lanes);
  if (halves[0] != 0) return static_cast<unsigned>(__builtin_ctzll(halves[0])) / 16;
  if (halves[1] != 0) return static_cast<unsigned>(__builtin_ctzll(halves[1])) / 16 + 4;
  return 8;
}

/// All bits of the lanes from number `lane` on.
inline U16x8 from_lane(unsigned lane) {
  constexpr I16x8 kNumbers = {1, 2, 3, 4, 5, 6, 7, 8};
  return reinterpret_cast<U16x8>(kNumbers > static_cast<std::int16_t>(lane));
}

/// How many of eight pairs of bytes have both high bits set, before the first that has not.
inline unsigned leading_pairs(const char* p) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  const std::uint64_t low = ~load<std::uint64_t>(p) & kHighBits;
  if (low != 0) return static_cast<unsigned>(__builtin_ctzll(low)) / 16;
  const std::uint64_t high = ~load<std::uint64_t>(p + 8) & kHighBits;
  return high != 0 ? static_cast<unsigned>(__builtin_ctzll(high)) / 16 + 4 : 8;
}

/// 2 to the power of each lane, 0 to 15, by way of a float's exponent.
inline U32x4 power_of_two(U32x4 exponent) {
  const auto floats = reinterpret_cast<F32x4>((exponent << 23) + 0x3F800000U);
  return reinterpret_cast<U32x4>(__builtin_convertvector(floats, I32x4));
}

/// The number of set bits of each lane's low 16; the others are 0.
inline U32x4 count_bits16(U32x4 x) {
  x -= (x >> 1) & 0x5555U;
  x = (x & 0x3333U) + ((x >> 2) & 0x3333U);
  x = (x + (x >> 4)) & 0x0F0FU;
  return (x + (x >> 8)) & 0x1FU;
}

/// Four code points as three bytes each, in the low bytes of the lanes.
inline U32x4 encode_utf8(U32x4 cp) {
  return cp >> 12 | (cp & 0xFC0U) << 2 | (cp & 0x3FU) << 16 | 0x8080E0U;
}

/// A lane's value of at most 16 bits.
inline std::uint32_t lane(U32x4 lanes, int i) {
  return reinterpret_cast<U16x8>(lanes)[2 * i];
}

/// The EUC-CN bytes of the four characters of three bytes at `p`, of which 13 may be read, in `gb`.
/// Returns all bits of each that is such a character and that GB2312 has.
inline U32x4 look_up_gb(const char* p, std::uint64_t& gb) {
  constexpr std::uint64_t kLowBytes = 0x00FF00FF00FF00FFU;
  const U32x4 w = {load<std::uint32_t>(p), load<std::uint32_t>(p + 3), load<std::uint32_t>(p + 6),
                   load<std::uint32_t>(p + 9)};
  const U32x4 cp = (w & 0x0FU) << 12 | ((w >> 2) & 0xFC0U) | ((w >> 16) & 0x3FU);
  const U32x4 block = cp >> 4;
  const U32x4 found = {load<std::uint32_t>(&kGbBlocks[lane(block, 0)]),
                       load<std::uint32_t>(&kGbBlocks[lane(block, 1)]),
                       load<std::uint32_t>(&kGbBlocks[lane(block, 2)]),
                       load<std::uint32_t>(&kGbBlocks[lane(block, 3)])};
  const U32x4 mask = found >> 16;
  const U32x4 bit = power_of_two(cp & 15U);
  const auto good = reinterpret_cast<U32x4>(((w & 0xF0U) == 0xE0U) & ((mask & bit) != 0U));
  const U32x4 at = ((found & 0xFFFFU) + count_bits16(mask & (bit - 1U))) & good;
  const std::uint64_t codes =
      std::uint64_t{kGbCodes[lane(at, 0)]} | std::uint64_t{kGbCodes[lane(at, 1)]} << 16 |
      std::uint64_t{kGbCodes[lane(at, 2)]} << 32 | std::uint64_t{kGbCodes[lane(at, 3)]} << 48;
  gb = (codes >> 8 & kLowBytes) | (codes & kLowBytes) << 8 | 0x8080808080808080U;
  return good;
}

/// The code points of as many pairs of bytes, eight or four (the other lanes are then 0);
/// kGbUnassigned for what is no pair.
template <int kPairs>
U16x8 gb_code_points(U16x8 pairs) {
  constexpr std::uint16_t kNoCell = (0x2F - 0x21) * kGbColumns;  // in an empty row
  const U16x8 row = (pairs & 0x7FU) - 0x21U;
  const U16x8 column = ((pairs >> 8) & 0x7FU) - 0x21U;
  const auto good = reinterpret_cast<U16x8>((row < kGbRows) & (column < kGbColumns) &
                                            ((pairs & 0x8080U) == 0x8080U));
  const U16x8 cell = ((row * kGbColumns + column) & good) | (~good & kNoCell);
  if constexpr (kPairs == 4) {
    return U16x8{kGbCells[cell[0]], kGbCells[cell[1]], kGbCells[cell[2]], kGbCells[cell[3]]};
  } else {
    return U16x8{kGbCells[cell[0]], kGbCells[cell[1]], kGbCells[cell[2]], kGbCells[cell[3]],
                 kGbCells[cell[4]], kGbCells[cell[5]], kGbCells[cell[6]], kGbCells[cell[7]]};
  }
}

/// All bits of each code point that is a character of three bytes in UTF-8.
inline U16x8 are_triples(U16x8 cp) {
  return reinterpret_cast<U16x8>((cp != kGbUnassigned) & ((cp & 0xF800U) != 0U));
}

/// Stores the three bytes of the first code points; a byte behind them is overwritten.
template <int kPairs>
void store_utf8(char* at, U16x8 cps) {
  const auto pairs = reinterpret_cast<U32x4>(cps);
  const auto even = reinterpret_cast<U64x2>(encode_utf8(pairs & 0xFFFFU));
  const auto odd = reinterpret_cast<U64x2>(encode_utf8(pairs >> 16));
  for (int i = 0; i < kPairs / 2; ++i, at += 6) {
    const auto first = static_cast<std::uint32_t>(even[i / 2] >> (i % 2 * 32));
    const auto second = static_cast<std::uint32_t>(odd[i / 2] >> (i % 2 * 32));
    std::memcpy(at, &first, sizeof first);
    std::memcpy(at + 3, &second, sizeof second);
  }
}

// Each converts characters of one kind in groups and stops behind the last, or earlier where input
// or room run short. Bytes behind `at` but below `limit` may be overwritten. False when there was
// nothing to convert. A whole group is stepped over by constants, so that the next one need not
// wait for the count of this one.

/// Bytes 0x20 to 0x7F, which are the same in both encodings.
inline bool copy_ascii_groups(GbConversion& c) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  constexpr std::uint64_t kBlanks = 0x2020202020202020U;
  const char* const begin = c.p;
  while (c.end - c.p >= 8 && c.fits(8) && c.codes >= 8) {
    const auto word = load<std::uint64_t>(c.p);
    // A byte below 0x20 borrows and sets a high bit; one above 0x7F has it set.
    const std::uint64_t others = ((word - kBlanks) | word) & kHighBits;
    std::memcpy(c.at, &word, sizeof word);
    if (others != 0) {
      c.take(static_cast<unsigned>(__builtin_ctzll(others)) / 8, 1, 1);
      break;
    }
    c.take(8, 1, 1);
  }
  return c.p != begin;
}

/// UTF-8 characters of three bytes that GB2312 has.
inline bool convert_utf8_groups(GbConversion& c) {
  const char* const begin = c.p;
  while (c.end - c.p > 12 && c.fits(8) && c.codes >= 4) {
    if ((c.p[3] & 0xF0) != 0xE0) break;  // not worth a group
    std::uint64_t gb;
    const auto good = reinterpret_cast<U16x8>(look_up_gb(c.p, gb));
    std::memcpy(c.at, &gb, sizeof gb);
    if (!all_set(good)) {
      c.take(leading_lanes(good) / 2, 3, 2);
      break;
    }
    c.take(4, 3, 2);
  }
  return c.p != begin;
}

/// Converts the first `run` of a group's pairs, as far as they are three bytes in UTF-8. False when
/// that was not all of the group.
template <int kPairs>
bool convert_gb_group(GbConversion& c, U16x8 pairs, unsigned run) {
  const U16x8 cps = gb_code_points<kPairs>(pairs);
  store_utf8<kPairs>(c.at, cps);
  const U16x8 good = are_triples(cps);
  if (!all_set(good | from_lane(run))) run = leading_lanes(good);
  if (run < kPairs) {
    c.take(run, 2, 3);
    return false;
  }
  c.take(kPairs, 2, 3);
  return true;
}

/// GB2312 pairs that are three bytes in UTF-8.
inline bool convert_gb_groups(GbConversion& c) {
  const char* const begin = c.p;
  while (c.end - c.p >= 16 && c.fits(25) && c.codes >= 8) {
    if ((c.p[2] & c.p[4] & 0x80) == 0) break;  // not worth a group
    const unsigned run = leading_pairs(c.p);
    if (run > 4) {
      if (!convert_gb_group<8>(c, load<U16x8>(c.p), run)) break;
    } else {
      convert_gb_group<4>(c, reinterpret_cast<U16x8>(U64x2{load<std::uint64_t>(c.p), 0}), run);
      break;
    }
  }
  return c.p != begin;
}

}  // namespace gb_bulk
}  // namespace qsvmon
