#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qsvmon {

/// atoi with every outcome defined: blanks, a sign, digits; 0 without digits or for a null text. A
/// number outside 64 bits counts as the nearest one, and the low 32 bits are the result.
int parse_atoi(const char* text);

/// Reads a size as strtoull with base 0 does (decimal, 0x..., 0...), then at most one blank and a
/// suffix K, M or G in either case, which multiplies by 1024, 1024^2 or 1024^3 modulo 2^64. Other
/// text after the number is ignored. 0 for a null text, for a number outside 64 bits and for one
/// that begins with "-".
std::uint64_t parse_size(const char* text);

/// 1 when the text is not empty and every character is 0-9, else 0.
int is_digits(const char* text);

/// 1 when the text is all digits and min <= its value <= max, else 0. The value goes to `*out` when
/// `out` is not null and the text is all digits.
/// KEEP: it is stored even when out of range; the value is parse_atoi's, so a huge number wraps.
int parse_int_in(const char* text, int min, int max, int* out);

/// Writes "1.50G ", "1.50M ", "1.50K " (binary units) or "1023 " into `dst` of `size` bytes, cut
/// and NUL-terminated like snprintf, whose result is returned. The blank at the end is always
/// there.
int format_bytes(std::uint64_t value, char* dst, std::size_t size);

/// As `format_bytes` in decimal units: "1.50M " from 1000000, "1.50K " from 1000, else "999 ".
int format_count(std::uint64_t value, char* dst, std::size_t size);

/// "00" to "99".
struct TwoDigits {
  constexpr TwoDigits() {
    for (int i = 0; i < 100; ++i) {
      text[i][0] = static_cast<char>('0' + i / 10);
      text[i][1] = static_cast<char>('0' + i % 10);
    }
  }
  char text[100][2]{};
};

/// Writes a value below 100 with two digits and returns their end.
inline char* write_two_digits(char* at, unsigned value) {
  static constexpr TwoDigits kTwoDigits;
  std::memcpy(at, kTwoDigits.text[value], 2);
  return at + 2;
}

/// Writes a value in decimal, at most 10 digits without a NUL, and returns their end.
char* write_decimal(char* at, std::uint32_t value);

}  // namespace qsvmon
