#include "commands/sessionlog/codec/mail_header.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using namespace std::literals;

namespace qsvmon {
namespace {

constexpr std::string_view kFails = "-1";

/// Decodes from and into buffers of exactly the sizes given, so that the sanitizers see a byte too
/// many; the text is left in `*after`.
std::string header(std::string_view text, int cap = 1024, std::string* after = nullptr) {
  std::vector<char> in(text.begin(), text.end());
  std::vector<char> out(static_cast<std::size_t>(cap), '#');
  const int length = decode_header(in.data(), static_cast<int>(in.size()), out.data(), cap);
  if (after != nullptr) after->assign(in.begin(), in.end());
  if (length < 0) return std::string(kFails);
  EXPECT_LT(length, cap);
  EXPECT_EQ(out[static_cast<std::size_t>(length)], '\0');
  return std::string(out.data(), static_cast<std::size_t>(length));
}

std::string word(std::string_view text, int cap = 1024) {
  const std::vector<char> in(text.begin(), text.end());
  std::vector<char> out(static_cast<std::size_t>(cap), '\0');
  const int length = decode_word(in.data(), out.data(), cap, static_cast<int>(in.size()));
  if (length < 0) return std::string(kFails);
  EXPECT_LT(length, cap);
  EXPECT_EQ(out[static_cast<std::size_t>(length)], '\0');
  return std::string(out.data(), static_cast<std::size_t>(length));
}

struct HeaderCase {
  std::string_view text;
  std::string_view decoded;
};

TEST(DecodeHeader, WordsAreSplitAndJoined) {
  constexpr HeaderCase kCases[] = {
      {"hello"sv, "hello"sv},
      {"hello world"sv, "hello world"sv},
      {"a  b   c"sv, "a b c"sv},
      {"Re: =?UTF-8?B?5L2g5aW9?="sv, "Re: \xC4\xE3\xBA\xC3"sv},
      // Adjacent encoded words stay apart.
      {"=?UTF-8?B?5L2g?= =?UTF-8?B?5aW9?="sv, "\xC4\xE3 \xBA\xC3"sv},
      {"  \" \"hello"sv, "hello"sv},                             // leading blanks and quotes
      {"\"Bob Smith\" <b@x.com>"sv, "Bob Smith\" <b@x.com>"sv},  // later quotes stay
      {"a\tb"sv, "a b"sv},                                       // a TAB splits
      {"a\t\tb\t"sv, "a b "sv},
      {"a "sv, "a "sv},  // a word before a blank brings its blank
      {"a  "sv, "a "sv},
      {"a@x.com,\r\n b@y.com"sv, "a@x.com, b@y.com"sv},  // folded: the line end ends the word
      {"a@x.com,\r\n\tb@y.com"sv, "a@x.com, b@y.com"sv},
      {"a,\n b"sv, "a, b"sv},
      {"a \r\n b"sv, "a b"sv},  // line ends between words are skipped
      {"a \r\n"sv, "a "sv},
      {"a \"b"sv, "a b"sv},     // a word's own leading quote
      {"a\r\nb c"sv, "a c"sv},  // the rest of a word behind a line end is lost
      {"a b\r\nc"sv, "a b"sv},
      {"ab\0cd ef"sv, "ab"sv},  // the NUL ends the header
      {"ab \0cd ef"sv, "ab "sv},
      {"a b\0"sv, "a b"sv},
      {"na\xC3\xAFve"sv, "na\xC3\xAFve"sv},  // bare 8-bit text is kept as it is
  };
  for (const HeaderCase& c : kCases) EXPECT_EQ(header(c.text), c.decoded) << c.text;
}

TEST(DecodeHeader, AnEmptyHeaderFails) {
  for (std::string_view text : {""sv, " "sv, "\""sv, "  \" \" "sv, "\0abc"sv, " \0abc"sv, "\rabc"sv,
                                "\n abc"sv, "\nabc"sv, " \r\n abc"sv, "\"\r"sv}) {
    EXPECT_EQ(header(text), kFails) << text;
  }
}

TEST(DecodeHeader, ALeadingTabIsNoLeadingBlank) {
  // The first word is then empty, and an empty word fails.
  EXPECT_EQ(header("\tabc"), kFails);
}

TEST(DecodeHeader, OneBadWordFailsTheHeader) {
  for (std::string_view text :
       {"ok =?UTF-8?b?5L2g5aW9?="sv, "=?UTF-8?b?5L2g5aW9?= ok"sv, "a =b c"sv, "a \" b"sv, "a \""sv,
        "a =?UTF-8?Q?=C3=9F?= b"sv, "a =?UTF-8?B?5L2g5aW9"sv}) {
    EXPECT_EQ(header(text), kFails) << text;
  }
}

TEST(DecodeHeader, AWordTooLongForTheRestIsLeftOut) {
  // A word with its blank needs pos + n + 1 < cap, the last word pos + n < cap.
  EXPECT_EQ(header("abc defgh", 5), "abc ");
  EXPECT_EQ(header("abc defgh", 4), "");
  EXPECT_EQ(header("abcd", 5), "abcd");
  EXPECT_EQ(header("abcd", 4), "");
  EXPECT_EQ(header("abc toolong x", 6), "abc x");
  EXPECT_EQ(header("toolong ab ", 4), "ab ");
  EXPECT_EQ(header("a", 1), "");
  // A word beyond the word buffer fails; one just below it does not.
  EXPECT_EQ(header(std::string(1023, 'a'), 1100), std::string(1023, 'a'));
  EXPECT_EQ(header(std::string(1024, 'a'), 1100), kFails);
  EXPECT_EQ(header(std::string(1024, 'a') + " b", 1100), kFails);
  char out = '#';
  char text[] = "abc";
  EXPECT_EQ(decode_header(text, 3, &out, 0), -1);
  EXPECT_EQ(out, '#');
}

TEST(DecodeHeader, TheTextIsSplitInPlace) {
  std::string after;
  EXPECT_EQ(header("Re: =?UTF-8?B?5L2g?=\tx", 1024, &after), "Re: \xC4\xE3 x");
  EXPECT_EQ(after, "Re:\0=?UTF-8?B?5L2g?=\0x"sv);
  EXPECT_EQ(header(" a  b ", 1024, &after), "a b ");
  EXPECT_EQ(after, " a\0 b\0"sv);
  EXPECT_EQ(header("a\0\tb c"sv, 1024, &after), "a");
  EXPECT_EQ(after, "a\0\tb c"sv);  // behind the NUL nothing changes
}

TEST(DecodeHeader, ASecondDecodingYieldsTheFirstWord) {
  constexpr HeaderCase kCases[] = {
      {"Re: =?UTF-8?B?5L2g5aW9?="sv, "Re:"sv},
      {"=?UTF-8?B?5L2g?= =?UTF-8?B?5aW9?= x"sv, "\xC4\xE3"sv},
      {"=?gb2312?Q?=C4=E3?= x"sv, "\xC4\xE3"sv},
      {"one"sv, "one"sv},
      {" \"one two"sv, "one"sv},
  };
  for (const HeaderCase& c : kCases) {
    std::string after;
    EXPECT_NE(header(c.text, 1024, &after), kFails);
    EXPECT_EQ(header(after), c.decoded) << c.text;
  }
}

TEST(DecodeHeader, APassedThroughFirstWordIsLongerTheSecondTime) {
  // The bytes that remain are then those of the whole header: 24 - 2 - 10.
  std::string after;
  EXPECT_EQ(header("=?iso-8859-1?Q?abc?= def", 1024, &after), "iso-8859 def");
  EXPECT_EQ(header(after), "iso-8859-1?Q");
  // They may hold the NUL that the first decoding wrote: 16 - 2 - 1.
  EXPECT_EQ(header("=?x?Q?ab?= hello", 1024, &after), "x?Q?ab? hello");
  EXPECT_EQ(header(after), "x?Q?ab?=\0hell"sv);
}

TEST(DecodeWord, LeadingBlanksQuotesAndLineEndsAreSkipped) {
  constexpr HeaderCase kCases[] = {
      {"abc"sv, "abc"sv},      {" \"\t\r\nabc"sv, "abc"sv},   {""sv, kFails},
      {" \"\t\r\n"sv, kFails}, {"\"=?gb2312?Q?x?="sv, "x"sv},
  };
  for (const HeaderCase& c : kCases) EXPECT_EQ(word(c.text), c.decoded) << c.text;
}

TEST(DecodeWord, APlainWordEndsAtALineEndOrNul) {
  EXPECT_EQ(word("ab\rcd"), "ab");
  EXPECT_EQ(word("ab\ncd"), "ab");
  EXPECT_EQ(word("ab\0cd"sv), "ab");
  EXPECT_EQ(word("\0cd"sv), "");
  EXPECT_EQ(word("a=?gb2312?Q?x?="), "a=?gb2312?Q?x?=");
  EXPECT_EQ(word("a b"), "a b");  // splitting is the header's task
  EXPECT_EQ(word("abc", 4), "abc");
  EXPECT_EQ(word("abcd", 4), kFails);
}

TEST(DecodeWord, EncodedWords) {
  const std::string kName15 = "gb2312789012345";
  const HeaderCase cases[] = {
      {"=?UTF-8?B?5L2g5aW9?="sv, "\xC4\xE3\xBA\xC3"sv},
      {"=?utf-8?B?5L2g5aW9?="sv, "\xC4\xE3\xBA\xC3"sv},
      {"=?Utf-8?Q?=E4=BD=A0?="sv, "\xC4\xE3"sv},
      {"=?utf-8xyz?Q?=E4=BD=A0?="sv, "\xC4\xE3"sv},  // it begins with utf-8
      {"=?gbk?Q?=C4=E3?="sv, "\xC4\xE3"sv},
      {"=?GB2312?B?xOO6ww==?="sv, "\xC4\xE3\xBA\xC3"sv},
      {"=?GB18030?Q?=81=30=81=30?="sv, "\x81\x30\x81\x30"sv},  // kept, whatever the bytes
      {"=?gb?Q?x?="sv, "x"sv},
      {"=?g?B?Zm9v?="sv, "g?B?Zm9v?"sv},  // neither: from the name, 9 bytes
      {"=?gb?Q?x?"sv, "x"sv},             // the closing "?" may be last
      {"=?gb?Q?x"sv, kFails},             // shorter than 9 bytes
      {"=?x?Q?a?"sv, kFails},             // 8 bytes, whatever the charset
      {"=?x?Q?ab?"sv, "x?Q?ab"sv},        // 9
      {"=?gb?Q?xy"sv, kFails},            // no closing "?"
      {"=?UTF-8?B?5L2g5aW9"sv, kFails},
      {"=?gb?Q?xy\r?="sv, kFails},  // CR ends the text
      {"=?gb?Q?xy\0?="sv, kFails},
      {"=?gb?Q?x\ny?="sv, "x\ny"sv},        // LF does not
      {"=abcdefgh"sv, kFails},              // no "?" at all
      {"=?abcdef\0?Q?x?="sv, kFails},       // the NUL ends the name
      {"=xgb?Q?abc?="sv, "abc"sv},          // the second byte is not looked at
      {"=?gb2312?b?xOO6ww==?="sv, kFails},  // letters in upper case only
      {"=?gb2312?q?=C4=E3?="sv, kFails},
      {"=?gb2312?X?=C4=E3?="sv, kFails},
      {"=?gb2312?\?=C4=E3?="sv, kFails},
      {"=?gb2312?\r?=C4=E3?="sv, kFails},
      {"=?gb23123?"sv, kFails},      // nothing behind the name
      {"=?gb2312?Q"sv, kFails},      // nothing behind the letter
      {"=?gb2312?Q?"sv, kFails},     // nothing behind its "?"
      {"=?gb2312?Q?\?="sv, kFails},  // empty text
      {"=?gb2312?QxA?="sv, "A"sv},   // the byte behind the letter is skipped
      {"=?gb2312?Q?a_b?="sv, "a_b"sv},
      {"=?gb2312?Q?abc=?="sv, "abc\0"sv},  // cut off "=": a zero byte
      {"=?gb2312?Q?A?more"sv, "A"sv},      // what follows the text is ignored
      {"=?gb2312?B?====?="sv, ""sv},       // nothing decoded: 0 bytes
      {"=?utf-8?B?====?="sv, kFails},
      {"=?utf-8?Q?x=C3=9Fabc?="sv, "x"sv},  // an unmappable character cuts
      {"=?utf-8?Q?=C3=9Fabc?="sv, ""sv},
      {"=?utf-8?Q?a=00b?="sv, "a"sv},
      {"=?iso-8859-1?Q?abc?="sv, "iso-8859"sv},            // KEEP: 8 bytes remain behind the name
      {"=?iso-8859-1?b?YWJjZGVm?="sv, "iso-8859-1?b?"sv},  // any letter
      {"=?big5?B?pKSk5Q==?="sv, "big5?B?pKSk5Q"sv},
      {"=?\?Q?abcd?="sv, "?Q?abcd?="sv},               // an empty name is passed through
      {"=?x?abcde"sv, "x?abcd"sv},                     // nor need the rest be well formed
      {"=?utf8?Q?=E4=BD=A0?="sv, "utf8?Q?=E4=BD="sv},  // not "utf-8"
      {"=?ut?Q?=E4=BD=A0?="sv, "ut?Q?=E4=BD=A0"sv},
  };
  for (const HeaderCase& c : cases) EXPECT_EQ(word(c.text), c.decoded) << c.text;
  EXPECT_EQ(word("=?" + kName15 + "?Q?A?="), "A");
  EXPECT_EQ(word("=?" + kName15 + "6?Q?A?="), kFails);  // 16 bytes of name
  EXPECT_EQ(word("=?iso-8859-1-extra-long?Q?A?="), kFails);
}

TEST(DecodedHeader, AMissingHeaderIsEmptyAndOneOfNoBytesFails) {
  DecodedHeader decoded;
  EXPECT_EQ(decoded.text(), "");
  char text[] = "=?gb2312?Q?A=42?= c";
  EXPECT_TRUE(decoded.decode({text, sizeof text - 1}));
  EXPECT_EQ(decoded.text(), "AB c");
  EXPECT_TRUE(decoded.decode({}));  // nothing is left of the one before
  EXPECT_EQ(decoded.text(), "");
  EXPECT_FALSE(decoded.decode(std::span(text).first(0)));
  char blanks[] = "  ";
  EXPECT_FALSE(decoded.decode({blanks, 2}));
}

TEST(DecodeWord, ResultsStayWithinTheCapacity) {
  EXPECT_EQ(word("=?gb2312?Q?abcdefgh?=", 4), "abc");
  EXPECT_EQ(word("=?utf-8?B?5L2g5aW9?=", 4), "\xC4\xE3");
  EXPECT_EQ(word("=?iso-8859-1?Q?abc?=", 4), "iso");
  EXPECT_EQ(word("=?gb2312?Q?abcdefgh?=", 1), "");
  EXPECT_EQ(word("abc", 0), kFails);
  // The encoded text is cut to 1023 bytes: "=41" 341 times.
  std::string long_word = "=?gb2312?Q?";
  for (int i = 0; i < 400; ++i) long_word += "=41";
  long_word += "?=";
  EXPECT_EQ(word(long_word, 2000), std::string(341, 'A'));
  EXPECT_EQ(word("=?gb2312?Q?" + std::string(1500, 'x') + "?=", 2000), std::string(1023, 'x'));
  // 1023 characters of base64 are 767 bytes; 511 of them become characters.
  EXPECT_EQ(word("=?gb2312?B?" + std::string(1500, 'A') + "?=", 2000), std::string(767, '\0'));
  std::string text;
  for (int i = 0; i < 500; ++i) text += "YWFh";
  EXPECT_EQ(word("=?utf-8?B?" + text + "?=", 2000), std::string(511, 'a'));
}

}  // namespace
}  // namespace qsvmon
