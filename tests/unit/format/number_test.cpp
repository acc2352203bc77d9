#include "format/number.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace qsvmon {
namespace {

TEST(Number, AtoiHasAnAnswerForEveryText) {
  struct Case {
    const char* text;
    int value;
  };
  constexpr Case kCases[] = {
      {"12", 12},
      {" \t\n-7x", -7},
      {"+3", 3},
      {"", 0},
      {"x", 0},
      {"- 1", 0},
      {"0x10", 0},
      {"010", 10},
      {"123456789", 123456789},
      {"12345678x", 12345678},
      {"2147483647", 2147483647},
      {"2147483648", -2147483647 - 1},  // low 32 bits
      {"4294967297", 1},
      {"9223372036854775808", -1},  // nearest 64-bit number, low 32 bits
      {"-9223372036854775809", 0},
      {"99999999999999999999999999", -1},
  };
  for (const Case& c : kCases) EXPECT_EQ(parse_atoi(c.text), c.value) << c.text;
  EXPECT_EQ(parse_atoi(nullptr), 0);
}

TEST(Number, SizesWithSuffixes) {
  struct Case {
    const char* text;
    std::uint64_t value;
  };
  constexpr Case kCases[] = {
      {"0", 0},
      {"512", 512},
      {"  512", 512},
      {"1K", 1024},
      {"1k", 1024},
      {"2M", 2097152},
      {"2 m", 2097152},
      {"3G", 3221225472},
      {"3g", 3221225472},
      {"3 Gx", 3221225472},
      {"0x10k", 16384},
      {"010", 8},
      {"010K", 8192},
      {"1  K", 1},  // one blank only
      {"1\tK", 1},
      {"1T", 1},
      {"1.5K", 1},
      {"-5K", 0},
      {"  -5", 0},
      {"+5", 5},
      {"K", 0},
      {"", 0},
      {"x", 0},
      {"18446744073709551615", 18446744073709551615u},
      {"18446744073709551616", 0},  // does not fit
      {"18446744073709551616K", 0},
      {"18446744073709551615K", 18446744073709550592u},  // shifted out at the top
      {"17179869184G", 0},                               // 2^34 * 2^30
  };
  for (const Case& c : kCases) EXPECT_EQ(parse_size(c.text), c.value) << c.text;
  EXPECT_EQ(parse_size(nullptr), 0u);
}

TEST(Number, SizeIgnoresEarlierErrors) {
  errno = ERANGE;
  EXPECT_EQ(parse_size("7"), 7u);
}

TEST(Number, DigitsAlone) {
  for (const char* yes : {"0", "0123456789", "00000000000000000000000000000"}) {
    EXPECT_EQ(is_digits(yes), 1) << yes;
  }
  for (const char* no : {"", " 1", "1 ", "-1", "+1", "1.0", "1a", "/", ":", "\xb2"}) {
    EXPECT_EQ(is_digits(no), 0) << no;
  }
  EXPECT_EQ(is_digits(nullptr), 0);
}

TEST(Number, IntegersWithinBounds) {
  struct Case {
    const char* text;
    int min, max, result, stored;
  };
  constexpr Case kCases[] = {
      {"5", 1, 10, 1, 5},
      {"1", 1, 10, 1, 1},
      {"10", 1, 10, 1, 10},
      {"0", 1, 10, 0, 0},
      {"11", 1, 10, 0, 11},  // KEEP: stored although out of range
      {"5", 10, 1, 0, 5},
      {"0007", 7, 7, 1, 7},
      {"-5", -10, 10, 0, 42},
      {"", 0, 10, 0, 42},
      {"5x", 0, 10, 0, 42},
      {"4294967301", 0, 10, 1, 5},
      {"99999999999999999999", 0, 10, 0, -1},
  };
  for (const Case& c : kCases) {
    int out = 42;
    EXPECT_EQ(parse_int_in(c.text, c.min, c.max, &out), c.result) << c.text;
    EXPECT_EQ(out, c.stored) << c.text;
    EXPECT_EQ(parse_int_in(c.text, c.min, c.max, nullptr), c.result) << c.text;
  }
  EXPECT_EQ(parse_int_in(nullptr, 0, 1, nullptr), 0);
}

struct AmountCase {
  std::uint64_t value;
  const char* text;
};

TEST(Number, BytesInBinaryUnits) {
  constexpr AmountCase kCases[] = {
      {0, "0 "},
      {1023, "1023 "},
      {1024, "1.00K "},
      {1536, "1.50K "},
      {1048575, "1024.00K "},
      {1048576, "1.00M "},
      {1073741823, "1024.00M "},
      {1073741824, "1.00G "},
      {2684354560, "2.50G "},
      {18446744073709551615u, "17179869184.00G "},
  };
  for (const AmountCase& c : kCases) {
    char dst[32];
    EXPECT_EQ(format_bytes(c.value, dst, sizeof dst), static_cast<int>(std::strlen(c.text)));
    EXPECT_STREQ(dst, c.text);
  }
}

TEST(Number, CountsInDecimalUnits) {
  constexpr AmountCase kCases[] = {
      {0, "0 "},
      {999, "999 "},
      {1000, "1.00K "},
      {1500, "1.50K "},
      {999999, "1000.00K "},
      {1000000, "1.00M "},
      {1000000000, "1000.00M "},
      {18446744073709551615u, "18446744073709.55M "},
  };
  for (const AmountCase& c : kCases) {
    char dst[32];
    EXPECT_EQ(format_count(c.value, dst, sizeof dst), static_cast<int>(std::strlen(c.text)));
    EXPECT_STREQ(dst, c.text);
  }
}

TEST(Number, AmountsAreCutLikeSnprintf) {
  char dst[8] = "#######";
  EXPECT_EQ(format_bytes(1024, dst, 4), 6);
  EXPECT_STREQ(dst, "1.0");
  EXPECT_EQ(dst[4], '#');
  EXPECT_EQ(format_count(12345, nullptr, 0), 7);
}

}  // namespace
}  // namespace qsvmon
