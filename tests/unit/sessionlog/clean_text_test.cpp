#include "commands/sessionlog/clean_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "format/printer.h"

using namespace std::literals;

namespace qsvmon {
namespace {

std::string mail(std::string_view text) {
  MemoryPrinter out;
  out.put(CleanMailText{text});
  return out.str();
}

std::string command(std::string_view text) {
  MemoryPrinter out;
  out.put(CleanCommand{text});
  return out.str();
}

TEST(CleanText, mail_texts_lose_blanks_and_what_json_cannot_bear) {
  EXPECT_EQ("", mail(""));
  EXPECT_EQ("BobSmith", mail("Bob Smith"));
  EXPECT_EQ("abcdefg", mail("a\"b\x1b"
                            "c\rd\ne\tf\\g"));
  EXPECT_EQ("\xC4\xE3\x01\x7f/'", mail("\xC4\xE3\x01\x7f/'"));  // all else stays
  EXPECT_EQ("ab", mail("a b\0cd"sv));
  EXPECT_EQ("", mail(" \t\r\n\"\\\x1b"));
  EXPECT_EQ(std::string(1024, 'a'), mail(std::string(1030, 'a')));
  EXPECT_EQ(std::string(1024, 'a'), mail(" " + std::string(1025, 'a')));
}

TEST(CleanText, commands_keep_blanks_and_double_backslashes) {
  EXPECT_EQ("", command(""));
  EXPECT_EQ("ls a\\\\b", command("ls \"a\"\\b"));
  EXPECT_EQ("abcdef", command("a\"b\x1b"
                              "c\rd\ne\tf"));
  EXPECT_EQ("\\\\\\\\", command("\\\\"));
  EXPECT_EQ("a b", command("a b\0c"sv));
  EXPECT_EQ("\xC4\xE3\x01\x7f/'", command("\xC4\xE3\x01\x7f/'"));
  // The second backslash is written only where it fits.
  EXPECT_EQ(std::string(1023, 'a') + "\\", command(std::string(1023, 'a') + "\\b"));
  EXPECT_EQ(std::string(1022, 'a') + "\\\\", command(std::string(1022, 'a') + "\\b"));
  EXPECT_EQ(std::string(1024, 'a'), command(std::string(1030, 'a')));
}

TEST(CleanText, texts_follow_each_other_across_the_buffer) {
  MemoryPrinter out;
  std::string expected;
  for (int i = 0; i < 500; ++i) {
    out.put(CleanMailText{std::string(700, 'm') + " x"}, CleanCommand{std::string(300, 'c')});
    expected += std::string(700, 'm') + "x" + std::string(300, 'c');
  }
  EXPECT_EQ(expected, out.str());
}

}  // namespace
}  // namespace qsvmon
