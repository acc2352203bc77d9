#include "format/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace qsvmon {
namespace {

struct TextCase {
  const char* text;
  const char* expected;
};

TEST(Text, TrimsALine) {
  constexpr TextCase kCases[] = {
      {"", ""},
      {"a", "a"},
      {"  a b  ", "a b"},
      {"a\tb", "a b"},
      {"a \t \t", "a"},
      {"a\r\n", "a"},
      {"a \n b", "a"},
      {"a\rb", "a"},
      {"  \n", ""},
      {"\n a", ""},
      {"    ", ""},
      {"\t\t", ""},
      {"\ta", " a"},     // KEEP: only blanks are skipped in front
      {" \t a", "  a"},  // KEEP: the tab is turned into a blank after that
      {"a\vb", "a\vb"},
      {"\xa0 x", "\xa0 x"},
      {"\xff\x80\x8d\t\x0e\x1f\x7f ", "\xff\x80\x8d \x0e\x1f\x7f"},
  };
  for (const TextCase& c : kCases) {
    char text[32];
    std::strcpy(text, c.text);
    char* trimmed = trim(text);
    EXPECT_STREQ(trimmed, c.expected) << c.text;
    EXPECT_GE(trimmed, text);
    EXPECT_LE(trimmed, text + std::strlen(c.text));
  }
  EXPECT_EQ(trim(nullptr), nullptr);
}

TEST(Text, KeyValueWords) {
  struct Case {
    const char* text;
    const char* key;  ///< null: no pair
    const char* value;
    const char* rest;
  };
  constexpr Case kCases[] = {
      {"key=abc", "key", "abc", ""},
      {"key=\"abc\"", "key", "abc", ""},
      {"  key=abc next=1", "key", "abc", "next=1"},
      {"k=a=b", "k", "a=b", ""},  // cut at the first "="
      {"k=", "k", "", ""},
      {"=v", "", "v", ""},
      {"k=\"", "k", "", ""},
      {"k=\"\"", "k", "", ""},
      {"k=\"\"\"", "k", "\"", ""},
      {"k=\"abc", "k", "abc", ""},
      {"k=abc\"", "k", "abc\"", ""},   // no quote in front: the one at the end stays
      {"k=\"a b\"", "k", "a", "b\""},  // a quoted value cannot hold a blank
      {"k=a\tb", "k", "a\tb", ""},     // only blanks separate
      {"word k=v", nullptr, nullptr, "k=v"},
      {"word", nullptr, nullptr, ""},
      {"", nullptr, nullptr, ""},
      {"   ", nullptr, nullptr, ""},
  };
  for (const Case& c : kCases) {
    char text[32];
    std::strcpy(text, c.text);
    char* value = text;
    char* save = nullptr;
    EXPECT_STREQ(next_keyvalue(text, &value, &save), c.key) << c.text;
    EXPECT_STREQ(value, c.value) << c.text;
    EXPECT_STREQ(save, c.rest) << c.text;
  }
}

TEST(Text, NullGivesNoPair) {
  char text[] = "x";
  char* value = text;
  char* save = text;
  EXPECT_EQ(next_keyvalue(nullptr, &value, &save), nullptr);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(save, nullptr);
}

TEST(Text, ScansALineToItsFirstWordWithoutEquals) {
  char text[] = "a=1  b=\"2\" c=3 stop d=4";
  std::vector<std::string> seen;
  char* save = text;
  char* value = nullptr;
  while (const char* key = next_keyvalue(save, &value, &save)) {
    seen.push_back(std::string(key) + ":" + value);
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"a:1", "b:2", "c:3"}));
}

TEST(Text, EscapesControlCharacters) {
  constexpr TextCase kCases[] = {
      {"", ""},
      {"plain", "plain"},
      {"\t", "%T"},
      {"\n", "%N"},
      {"\f", "%C"},
      {"\r", "%R"},
      {"\x18", "%8"},
      {" ", "%S"},
      {"(a)", "[a]"},
      {"[a]%", "[a]%"},
      {"a b\r\n(c)\t", "a%Sb%R%N[c]%T"},
      {"\x01\x0b\x7f\xff", "\x01\x0b\x7f\xff"},
  };
  for (const TextCase& c : kCases) {
    char dst[64];
    EXPECT_EQ(escape_ctl(c.text, dst), dst);
    EXPECT_STREQ(dst, c.expected);
  }
  char full[2 * 3 + 1];
  EXPECT_STREQ(escape_ctl("   ", full), "%S%S%S");
  EXPECT_STREQ(escape_ctl(nullptr, full), "");
}

TEST(Text, CopiesSixteenBytesAndSaysWhereTheirTextEnds) {
  const std::string letters = "abcdefghijklmnop";
  for (std::size_t end = 0; end <= 16; ++end) {
    std::string from = letters;
    if (end < 16) from[end] = '\0';
    char to[18];
    std::memset(to, '#', sizeof to);
    EXPECT_EQ(copy_16(to + 1, from.data()), end);
    EXPECT_EQ(std::string(to, sizeof to), "#" + from + "#");
  }
  char to[16];
  EXPECT_EQ(copy_16(to, std::string(16, '\0').data()), 0U);
  EXPECT_EQ(copy_16(to, std::string("ab\0cd\0ef\0gh\0ijkl", 16).data()), 2U);
}

TEST(Text, CopiesWithinLengths) {
  struct Case {
    const char* text;
    int min, max, result;
  };
  constexpr Case kCases[] = {
      {"abc", 1, 5, 1}, {"abc", 3, 3, 1}, {"abc", 4, 5, 0}, {"abc", 0, 2, 0},  {"", 0, 0, 1},
      {"", -5, 5, 1},   {"", 1, 5, 0},    {"abc", 5, 1, 0}, {"abc", 0, -1, 0},
  };
  for (const Case& c : kCases) {
    char dst[8] = "##";
    EXPECT_EQ(copy_len_in(c.text, c.min, c.max, dst), c.result) << c.text;
    EXPECT_STREQ(dst, c.result == 1 ? c.text : "##") << c.text;
    EXPECT_EQ(copy_len_in(c.text, c.min, c.max, nullptr), c.result) << c.text;
  }
  EXPECT_EQ(copy_len_in(nullptr, 0, 10, nullptr), 0);
}

}  // namespace
}  // namespace qsvmon
