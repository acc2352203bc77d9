#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "commands/sessionlog/codec/gb2312_tables.h"

// What the converters do with runs of characters of one kind; part of gb2312.cpp, where the
// conversion stays in registers.
namespace qsvmon {

/// The state of a conversion: the input that is left, the output so far and how many more
/// characters may be converted.
struct GbConversion {
  const char* p;
  const char* end;
  char* at;
  char* limit;  ///< the NUL must lie below it
  unsigned codes;

  bool more() const { return p < end && codes > 0; }
  /// True when `bytes` and the NUL fit.
  bool fits(int bytes) const { return limit - at > bytes; }
  /// How many characters of `from` bytes, the last of them with `spare` behind it, can be read and
  /// become `to` bytes each.
  std::size_t run(std::size_t from, std::size_t spare, std::size_t to) const {
    const auto in = static_cast<std::size_t>(end - p);
    const auto out = static_cast<std::size_t>(limit - at);
    if (in <= spare || out <= 1) return 0;
    return std::min({(in - spare) / from, (out - 1) / to, std::size_t{codes}});
  }
  /// Steps over `count` characters of `from` bytes that became `to` bytes.
  void take(std::size_t count, std::size_t from, std::size_t to) {
    p += count * from;
    at += count * to;
    codes -= static_cast<unsigned>(count);
  }
};

namespace gb_bulk {

template <class Word>
Word load(const void* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

template <class Word>
void store(void* to, Word word) {
  std::memcpy(to, &word, sizeof word);
}

// Each converts characters of one kind and stops behind the last, or earlier where input or room
// run short. Bytes behind `at` but below `limit` may be overwritten. False when there was nothing
// to convert.

/// Bytes 0x20 to 0x7F, which are the same in both encodings.
inline bool copy_ascii(GbConversion& c) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  constexpr std::uint64_t kBlanks = 0x2020202020202020U;
  const char* const begin = c.p;
  while (c.end - c.p >= 8 && c.fits(8) && c.codes >= 8) {
    const auto word = load<std::uint64_t>(c.p);
    // A byte below 0x20 borrows and sets a high bit; one above 0x7F has it set.
    const std::uint64_t others = ((word - kBlanks) | word) & kHighBits;
    store(c.at, word);
    if (others != 0) {
      c.take(static_cast<unsigned>(__builtin_ctzll(others)) / 8, 1, 1);
      break;
    }
    c.take(8, 1, 1);
  }
  return c.p != begin;
}

/// UTF-8 characters of three bytes that GB2312 has.
inline bool convert_utf8_triples(GbConversion& c) {
  const std::size_t run = c.run(3, 1, 2);
  std::size_t done = 0;
  for (; done < run; ++done) {
    const auto w = load<std::uint32_t>(c.p + done * 3);
    if ((w & 0xF0U) != 0xE0U) break;
    const std::uint16_t page = kGbPages[(w & 0x0FU) << 6 | (w >> 8 & 0x3FU)];
    const std::uint16_t code = kGbCodes[page + (w >> 16 & 0x3FU)];
    if (code == 0) break;
    store(c.at + done * 2, code);
  }
  c.take(done, 3, 2);
  return done > 0;
}

/// GB2312 pairs, 2 or 3 bytes in UTF-8.
inline bool convert_gb_pairs(GbConversion& c) {
  const char* p = c.p;
  char* at = c.at;
  const std::size_t run = c.run(2, 0, 3);
  std::size_t done = 0;
  for (; done < run; ++done, p += 2) {
    const auto w = load<std::uint16_t>(p);
    const std::uint32_t utf8 = kGbUtf8[(w & 0x7FU) << 7 | (w >> 8 & 0x7FU)];
    if (utf8 == 0 || (w & 0x80U) == 0) break;
    store(at, utf8);
    at += utf8 >> 24;
  }
  c.p = p;
  c.at = at;
  c.codes -= static_cast<unsigned>(done);
  return done > 0;
}

}  // namespace gb_bulk
}  // namespace qsvmon
