#include "commands/sessionlog/codec/quoted_printable.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using namespace std::literals;

namespace qsvmon {
namespace {

TEST(QuotedPrintable, QTextsAreDecoded) {
  struct {
    std::string_view in;
    std::string_view out;
  } const cases[] = {
      {""sv, ""sv},
      {"plain"sv, "plain"sv},
      {"=C4=E3"sv, "\xC4\xE3"sv},
      {"=c4=e3"sv, "\xC4\xE3"sv},
      {"a=20b"sv, "a b"sv},
      {"a_b"sv, "a_b"sv},  // KEEP: no blank
      {"ab\0cd"sv, "ab"sv},
      {"=\0cd"sv, "\0"sv},
      {"=G0"sv, "\0"sv},    // KEEP: 16 x 16 + 0, low 8 bits
      {"=0Z"sv, "\x23"sv},  // KEEP: 35
      {"=0z"sv, "\x23"sv},
      {"=1Z"sv, "\x33"sv},  // 16 + 35
      {"=-5"sv, "\x05"sv},  // 0 in the high digit
      {"=5-"sv, "P"sv},     // nothing added in the low one
      {"=~5"sv, "\x05"sv},  // nor does "~", behind all letters, count
      {"=5{"sv, "P"sv},
      {"==41"sv,
       "\x04"
       "1"sv},            // "=" is no digit; "4" is the low one
      {"a=4"sv, "a@"sv},  // cut off after one digit
      {"a="sv, "a\0"sv},  // cut off before any
  };
  for (const auto& c : cases) {
    char out[64];
    const int length = qp_decode(c.in, out, sizeof out);
    ASSERT_EQ(length, static_cast<int>(c.out.size())) << c.in;
    EXPECT_EQ(c.out, std::string_view(out, c.out.size())) << c.in;
  }
}

TEST(QuotedPrintable, ReachingTheCapacityFails) {
  char out[8];
  std::fill(out, out + 8, '#');
  EXPECT_EQ(qp_decode("abc", out, 4), 3);
  EXPECT_EQ(qp_decode("abcd", out, 4), -1);
  EXPECT_EQ(qp_decode("abcdefgh", out, 4), -1);
  EXPECT_EQ(qp_decode("=41=42=43=44=45", out, 4), -1);
  EXPECT_EQ(std::string_view(out, 8), "ABCD####"sv);
  EXPECT_EQ(qp_decode("abc", out, 0), -1);
}

}  // namespace
}  // namespace qsvmon
