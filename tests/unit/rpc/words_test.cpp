#include "rpc/words.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace qsvmon {
namespace {

struct WordsCase {
  std::vector<const char*> words;
  WordStyle style;
  std::string text;  ///< with the NUL that ends it
};

std::vector<char*> handler_words(const std::vector<const char*>& words) {
  std::vector<char*> result;
  for (const char* word : words) result.push_back(const_cast<char*>(word));
  return result;
}

std::string shown(const std::vector<const char*>& words) {
  std::string text;
  for (const char* word : words) text.append("'").append(word).append("' ");
  return text;
}

TEST(WriteWords, EachWordHasABlankBeforeOrBehindIt) {
  using namespace std::string_literals;
  const WordsCase cases[] = {
      {{}, WordStyle::kBlankBefore, "\0"s},
      {{}, WordStyle::kBlankAfter, "\0"s},
      {{"type=src", "row=1-2"}, WordStyle::kBlankBefore, " type=src row=1-2\0"s},
      {{"type=src", "row=1-2"}, WordStyle::kBlankAfter, "type=src row=1-2 \0"s},
      {{""}, WordStyle::kBlankBefore, " \0"s},
      {{"", "a b", ""}, WordStyle::kBlankAfter, " a b  \0"s},
  };
  for (const WordsCase& c : cases) {
    std::vector<char*> words = handler_words(c.words);
    std::array<char, 64> area;
    area.fill('#');
    const auto length = write_words(words, area, c.style);
    ASSERT_TRUE(length.has_value()) << shown(c.words);
    EXPECT_EQ(*length, c.text.size() - 1) << shown(c.words);
    EXPECT_EQ(std::string(area.data(), c.text.size()), c.text) << shown(c.words);
    EXPECT_EQ(area[c.text.size()], '#') << shown(c.words);
  }
}

// Nine bytes: two words of three characters, their blanks and the NUL.
TEST(WriteWords, TheAreaMustHoldTheTextAndItsNul) {
  std::vector<char*> words = handler_words({"abc", "def"});
  for (const WordStyle style : {WordStyle::kBlankBefore, WordStyle::kBlankAfter}) {
    std::string area(20, '#');
    EXPECT_EQ(write_words(words, std::span<char>(area.data(), 9), style), 8U);
    EXPECT_EQ(area.substr(9), std::string(11, '#'));
    for (std::size_t bytes = 0; bytes < 9; ++bytes) {
      area.assign(20, '#');
      EXPECT_EQ(write_words(words, std::span<char>(area.data(), bytes), style), std::nullopt);
      EXPECT_EQ(area.substr(bytes), std::string(20 - bytes, '#')) << bytes;
    }
  }
}

TEST(WriteWords, NoWordsStillNeedRoomForTheNul) {
  char byte = '#';
  EXPECT_EQ(write_words({}, {}, WordStyle::kBlankBefore), std::nullopt);
  EXPECT_EQ(write_words({}, {&byte, 1}, WordStyle::kBlankBefore), 0U);
  EXPECT_EQ(byte, '\0');
}

}  // namespace
}  // namespace qsvmon
