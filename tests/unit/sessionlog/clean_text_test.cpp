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

TEST(CleanText, MailTextsLoseBlanksAndCharactersThatBreakJson) {
  EXPECT_EQ(mail(""), "");
  EXPECT_EQ(mail("Bob Smith"), "BobSmith");
  EXPECT_EQ(mail("a\"b\x1b"
                 "c\rd\ne\tf\\g"),
            "abcdefg");
  EXPECT_EQ(mail("\xC4\xE3\x01\x7f/'"), "\xC4\xE3\x01\x7f/'");  // all else stays
  EXPECT_EQ(mail("a b\0cd"sv), "ab");
  EXPECT_EQ(mail(" \t\r\n\"\\\x1b"), "");
  EXPECT_EQ(mail(std::string(1030, 'a')), std::string(1024, 'a'));
  EXPECT_EQ(mail(" " + std::string(1025, 'a')), std::string(1024, 'a'));
}

TEST(CleanText, CommandsKeepBlanksAndDoubleBackslashes) {
  EXPECT_EQ(command(""), "");
  EXPECT_EQ(command("ls \"a\"\\b"), "ls a\\\\b");
  EXPECT_EQ(command("a\"b\x1b"
                    "c\rd\ne\tf"),
            "abcdef");
  EXPECT_EQ(command("\\\\"), "\\\\\\\\");
  EXPECT_EQ(command("a b\0c"sv), "a b");
  EXPECT_EQ(command("\xC4\xE3\x01\x7f/'"), "\xC4\xE3\x01\x7f/'");
  // The second backslash is written only where it fits.
  EXPECT_EQ(command(std::string(1023, 'a') + "\\b"), std::string(1023, 'a') + "\\");
  EXPECT_EQ(command(std::string(1022, 'a') + "\\b"), std::string(1022, 'a') + "\\\\");
  EXPECT_EQ(command(std::string(1030, 'a')), std::string(1024, 'a'));
}

TEST(CleanText, TextsFollowEachOtherAcrossTheBuffer) {
  MemoryPrinter out;
  std::string expected;
  for (int i = 0; i < 500; ++i) {
    out.put(CleanMailText{std::string(700, 'm') + " x"}, CleanCommand{std::string(300, 'c')});
    expected += std::string(700, 'm') + "x" + std::string(300, 'c');
  }
  EXPECT_EQ(out.str(), expected);
}

}  // namespace
}  // namespace qsvmon
