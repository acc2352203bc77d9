#include "commands/sessionlog/codec/gb2312.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using namespace std::literals;

namespace qsvmon {
namespace {

/// The whole zeroed buffer's bytes after the conversion, up to `length`.
std::string gb_bytes(std::string_view utf8, std::size_t length, int cap = 1024) {
  std::vector<char> out(static_cast<std::size_t>(cap) + 16, '\0');
  EXPECT_EQ(utf8_to_gb2312(out.data(), cap, utf8.data(), static_cast<int>(utf8.size())), 0);
  return std::string(out.data(), length);
}

std::string to_gb(std::string_view utf8, int cap = 1024) {
  std::vector<char> out(static_cast<std::size_t>(cap), '\0');
  EXPECT_EQ(utf8_to_gb2312(out.data(), cap, utf8.data(), static_cast<int>(utf8.size())), 0);
  EXPECT_LT(std::strlen(out.data()), out.size());
  return out.data();
}

std::string to_utf8(std::string_view gb, int cap = 4096) {
  std::vector<char> out(static_cast<std::size_t>(cap), '\x7f');
  EXPECT_EQ(gb2312_to_utf8(out.data(), cap, gb.data(), static_cast<int>(gb.size())), 0);
  EXPECT_NE(std::memchr(out.data(), 0, out.size()), nullptr);
  return out.data();
}

std::string repeat(std::string_view text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

struct TextCase {
  std::string_view from;
  std::string_view to;
};

TEST(Gb2312, Utf8BecomesGb2312) {
  constexpr TextCase kCases[] = {
      {"\xE4\xBD\xA0\xE5\xA5\xBD"sv, "\xC4\xE3\xBA\xC3"sv},  // U+4F60 U+597D
      {"abc"sv, "abc"sv},
      {"Subject: a plain header of more than eight bytes\r\n\t."sv,
       "Subject: a plain header of more than eight bytes\r\n\t."sv},
      {"12345678\xE4\xBD\xA0"
       "87654321"sv,
       "12345678\xC4\xE3"
       "87654321"sv},
      {"\xC3\xA9"sv, "\xA8\xA6"sv},  // U+00E9 is in the set
      {"\xC3\x9F"
       "abc"sv,
       ""sv},  // KEEP: U+00DF is not: nothing is left
      {"x\xC3\x9F"
       "abc"sv,
       "x"sv},
      {"a\x80z"sv, "a\x80z"sv},                        // a stray byte is its own value
      {"\xC2\x80z"sv, "\x80z"sv},                      // KEEP: U+0080 is a single byte
      {"a\xB0z"sv, "a\xA1\xE3z"sv},                    // a stray B0 is U+00B0, the degree sign
      {"\xF0\x9F\x98\x80z"sv, ""sv},                   // U+1F600 is cut to U+F600
      {"\xF0\x94\xBD\xA0z"sv, "\xC4\xE3z"sv},          // U+14F60 is cut to U+4F60
      {"\xF8\x80\x84\xBD\xA0z"sv, "\xC4\xE3z"sv},      // 5 bytes: U+4F60
      {"\xFC\x80\x80\x84\xBD\xA0z"sv, "\xC4\xE3z"sv},  // 6 bytes: U+4F60
      {"\xFF\x80\x80\x84\xBD\xA0z"sv, "\xC4\xE3z"sv},  // the lead's bit 0 is cut away again
      {"\xE4\x3D\x20\xE5\xA5\xBD"sv, "\xC4\xE3\xBA\xC3"sv},  // continuation bytes are not checked
      {"\xC1\x81"sv, "A"sv},                                 // overlong forms are taken
      {"ab\0cd"sv, "ab"sv},                                  // the input ends at its NUL
      {"\xE3\x83\xBB\xE2\x80\x95"sv, "\xA1\xA4\xA1\xAA"sv},  // U+30FB U+2015
      {"\xC2\xB7\xE2\x80\x94"sv, ""sv},                      // U+00B7 U+2014 are not in the set
      {"\xC2\xA4\xEF\xBF\xA5\xD1\x91"sv, "\xA1\xE8\xA3\xA4\xA7\xD7"sv},  // pages' first, last
      {"\xE9\xB3\x9F\xE9\xBE\xA0\xE3\x88\xA9"sv, "\xF7\xAE\xD9\xDF\xA2\xEE"sv},
  };
  for (const TextCase& c : kCases) EXPECT_EQ(to_gb(c.from), c.to) << c.from;
}

TEST(Gb2312, AMissingCharacterLeavesAZeroAndTheRestFollows) {
  EXPECT_EQ(gb_bytes("x\xC3\x9F"
                     "abc",
                     6),
            "x\0abc\0"sv);
  EXPECT_EQ(gb_bytes("\xC3\x9F\xC3\x9F\xE4\xBD\xA0", 5), "\0\0\xC4\xE3\0"sv);
}

TEST(Gb2312, ACutOffUtf8CharacterTakesTheBytesThereAre) {
  // E4 B8: U+4E00, bits of the missing byte zero, which is D2 BB. E4 alone: U+4000, not in the set.
  EXPECT_EQ(to_gb("\xE4\xB8"), "\xD2\xBB");
  EXPECT_EQ(to_gb("\xE4"), "");
  EXPECT_EQ(to_gb("a\xE4"), "a");
  // The input's length cuts as a NUL does, whatever lies behind it.
  EXPECT_EQ(to_gb("\xE4\xB8\xA0"sv.substr(0, 2)), "\xD2\xBB");
  EXPECT_EQ(to_gb("\xE4\xB8\0\xA0"sv), "\xD2\xBB");
}

TEST(Gb2312, AtMost511CodePointsOfUtf8AreTaken) {
  EXPECT_EQ(to_gb(std::string(512, 'a'), 2048), std::string(511, 'a'));
  EXPECT_EQ(to_gb(std::string(510, 'a') + "bc", 2048), std::string(510, 'a') + "b");
  EXPECT_EQ(to_gb(repeat("\xE4\xBD\xA0", 600), 2048), repeat("\xC4\xE3", 511));
}

TEST(Gb2312, TheOutputNeverReachesItsCapacity) {
  struct {
    std::string_view in;
    int cap;
    std::string_view out;
  } const cases[] = {
      {"abcdefghij", 10, "abcdefghi"},
      {"abcdefghij", 9, "abcdefgh"},
      {"abcdefghij", 1, ""},
      {"\xE4\xBD\xA0\xE5\xA5\xBD", 5, "\xC4\xE3\xBA\xC3"},
      {"\xE4\xBD\xA0\xE5\xA5\xBD", 4, "\xC4\xE3"},
      {"\xE4\xBD\xA0\xE5\xA5\xBD", 3, "\xC4\xE3"},
      {"\xE4\xBD\xA0\xE5\xA5\xBD", 2, ""},
      {"a\xC3\x9F\xC3\x9F\xC3\x9F", 3, "a"},
  };
  for (const auto& c : cases) {
    std::vector<char> out(static_cast<std::size_t>(c.cap) + 8, '\0');
    std::memset(out.data() + c.cap, '#', 8);
    EXPECT_EQ(utf8_to_gb2312(out.data(), c.cap, c.in.data(), static_cast<int>(c.in.size())), 0);
    EXPECT_EQ(out.data(), c.out) << c.in << c.cap;
    EXPECT_EQ(std::string(out.data() + c.cap, 8), "########");
  }
}

TEST(Gb2312, BadArgumentsAreRefused) {
  char out[8] = {};
  EXPECT_EQ(utf8_to_gb2312(nullptr, 8, "a", 1), -1);
  EXPECT_EQ(utf8_to_gb2312(out, 8, nullptr, 1), -1);
  EXPECT_EQ(utf8_to_gb2312(out, 0, "a", 1), -1);
  EXPECT_EQ(utf8_to_gb2312(out, 8, "a", 0), -1);
  EXPECT_EQ(gb2312_to_utf8(nullptr, 8, "a", 1), -1);
  EXPECT_EQ(gb2312_to_utf8(out, 8, nullptr, 1), -1);
  EXPECT_EQ(gb2312_to_utf8(out, -1, "a", 1), -1);
  EXPECT_EQ(gb2312_to_utf8(out, 8, "a", 0), -1);
  EXPECT_EQ(out, ""s);
}

TEST(Gb2312, Gb2312BecomesUtf8) {
  constexpr TextCase kCases[] = {
      {"\xC4\xE3\xBA\xC3"sv, "\xE4\xBD\xA0\xE5\xA5\xBD"sv},
      {"RETR"sv, "RETR"sv},
      {"12345678\xC4\xE3"
       "87654321"sv,
       "12345678\xE4\xBD\xA0"
       "87654321"sv},
      {"a\x80z"sv, "a\xC2\x80z"sv},  // 0x80 stays U+0080
      {"\xA8\xA6"sv, "\xC3\xA9"sv},  // two bytes of UTF-8
      {"ab\tcd"sv, "ab"sv},          // KEEP: a TAB ends the text
      {"12345678ab\tcdefghijklmn"sv, "12345678ab"sv},
      {"ab\x1f"
       "cd"sv,
       "ab"sv},
      {"ab\0cd"sv, "ab"sv},
      {"ab \x7f!"sv, "ab \x7f!"sv},
      {"\xC4\x63\xBA\x43"sv, "\xE4\xBD\xA0\xE5\xA5\xBD"sv},  // KEEP: second byte's high bit unused
      {"a\xC4"sv, "a"sv},                                    // half a pair
      {"a\xAA\xA1z"sv, "a"sv},                               // row 0x2A holds nothing
      {"a\xAF\xFEz"sv, "a"sv},
      {"a\xA9\xF0z"sv, "a"sv},  // behind the last cell of row 0x29
      {"a\xA9\xFEz"sv, "a"sv},
      {"a\xF8\xA1z"sv, "a"sv},  // row 0x78
      {"a\xC4\xA0z"sv, "a"sv},  // column 0x20
      {"a\xC4\xFFz"sv, "a"sv},  // column 0x7F
      {"a\x81\xC4\xE3"sv, "a"sv},
      {"a\xFF\xFF"sv, "a"sv},
      {"\xD7\xFAz"sv, ""sv},  // an unassigned cell of row 0x57
      {"\xB0\xA1\xF7\xFE\xA1\xA1"sv, "\xE5\x95\x8A\xE9\xBD\x84\xE3\x80\x80"sv},
      {"\xA9\xEF"sv, "\xE2\x95\x8B"sv},  // the last cell of row 0x29
  };
  for (const TextCase& c : kCases) EXPECT_EQ(to_utf8(c.from), c.to) << c.from;
}

TEST(Gb2312, AtMost1024CharactersOfGb2312AreTaken) {
  EXPECT_EQ(to_utf8(repeat("\xC4\xE3", 1100), 8192), repeat("\xE4\xBD\xA0", 1024));
  EXPECT_EQ(to_utf8(std::string(1030, 'a'), 8192), std::string(1024, 'a'));
  for (const std::size_t before :
       {1U, 5U, 1020U}) {  // so that groups of eight do not come out even
    EXPECT_EQ(to_utf8(std::string(before, 'a') + repeat("\xC4\xE3", 1100), 8192),
              std::string(before, 'a') + repeat("\xE4\xBD\xA0", 1024 - static_cast<int>(before)));
  }
  // More than 256 bytes are no trouble.
  EXPECT_EQ(to_utf8(repeat("\xC4\xE3", 300), 8192), repeat("\xE4\xBD\xA0", 300));
}

TEST(Gb2312, Utf8OutputStopsBeforeItsCapacity) {
  struct {
    std::string_view in;
    int cap;
    std::string_view out;
  } const cases[] = {
      {"abcdefghij", 11, "abcdefghij"},
      {"abcdefghij", 10, "abcdefghi"},
      {"abcdefghij", 1, ""},
      {"\xC4\xE3\xBA\xC3", 7, "\xE4\xBD\xA0\xE5\xA5\xBD"},
      {"\xC4\xE3\xBA\xC3", 6, "\xE4\xBD\xA0"},
      {"\xC4\xE3\xBA\xC3z", 6, "\xE4\xBD\xA0"},  // it stops; a shorter character does not follow
      {"\xA8\xA6", 3, "\xC3\xA9"},
      {"\xA8\xA6", 2, ""},
  };
  for (const auto& c : cases) {
    std::vector<char> out(static_cast<std::size_t>(c.cap) + 8, '#');
    EXPECT_EQ(gb2312_to_utf8(out.data(), c.cap, c.in.data(), static_cast<int>(c.in.size())), 0);
    EXPECT_EQ(out.data(), c.out) << c.in << c.cap;
    EXPECT_EQ(std::string(out.data() + c.cap, 8), "########");
  }
}

TEST(Gb2312, Utf8CharactersAreDecodedLeniently) {
  struct {
    std::string text;
    int bytes;
    std::uint32_t cp;
  } const cases[] = {
      {"A", 1, 0x41},
      {"\x80", 1, 0x80},
      {"\xBF\x80", 1, 0xBF},
      {"\xC0\x80", 2, 0},
      {"\xDF\xBF", 2, 0x7FF},
      {"\xE0\x80\x80", 3, 0},
      {"\xEF\xBF\xBF", 3, 0xFFFF},
      {"\xF0\x9F\x98\x80", 4, 0x1F600},
      {"\xF7\xBF\xBF\xBF", 4, 0x1FFFFF},
      {"\xF8\x88\x80\x80\x80", 5, 0x200000},
      {"\xFB\xBF\xBF\xBF\xBF", 5, 0x3FFFFFF},
      {"\xFC\x84\x80\x80\x80\x80", 6, 0x4000000},
      {"\xFD\xBF\xBF\xBF\xBF\xBF", 6, 0x7FFFFFFF},
      {"\xFF\xBF\xBF\xBF\xBF\xBF", 6, 0x7FFFFFFF},
      {"\xE4\x41\x42", 3, 0x4042},
      {"\xE4\xBD", 2, 0x4F40},
      {"\xFC\x84", 2, 0x4000000},
      {"\xC3", 1, 0xC0},
      {"", 1, 0},
  };
  for (const auto& c : cases) {
    std::uint32_t cp = 99;
    EXPECT_EQ(utf8_decode_char(c.text.c_str(), &cp), c.bytes) << c.text;
    EXPECT_EQ(cp, c.cp) << c.text;
  }
}

TEST(Gb2312, Utf8CharactersAreEncodedInTheRoomThereIs) {
  struct {
    std::uint32_t cp;
    int room;
    int result;
    std::string_view bytes;
  } const cases[] = {
      {0, 1, 1, "\0"sv},
      {0x7F, 1, 1, "\x7F"sv},
      {0x80, 2, 2, "\xC2\x80"sv},
      {0x80, 1, -2, ""sv},
      {0x7FF, 4, 2, "\xDF\xBF"sv},
      {0x800, 3, 3, "\xE0\xA0\x80"sv},
      {0x4F60, 3, 3, "\xE4\xBD\xA0"sv},
      {0x4F60, 2, -2, ""sv},
      {0xFFFF, 3, 3, "\xEF\xBF\xBF"sv},
      {0x10000, 4, 4, "\xF0\x90\x80\x80"sv},
      {0x1F600, 4, 4, "\xF0\x9F\x98\x80"sv},
      {0x10FFFF, 3, -2, ""sv},
      {0x10FFFF, 4, 4, "\xF4\x8F\xBF\xBF"sv},
      {0x110000, 9, -1, ""sv},
      {0x41, 0, -2, ""sv},
  };
  for (const auto& c : cases) {
    char out[8] = {};
    EXPECT_EQ(utf8_encode_char(out, c.cp, c.room), c.result) << c.cp;
    EXPECT_EQ(c.bytes, std::string_view(out, c.bytes.size())) << c.cp;
    EXPECT_EQ(out[c.bytes.size()], '\0') << c.cp;
  }
}

TEST(Gb2312, CharacterOperationsCheckTheirRoom) {
  std::uint32_t cp = 7;
  EXPECT_EQ(gb2312_char_to_uni("\xC4\xE3", 1, &cp), 0);
  EXPECT_EQ(gb2312_char_to_uni("\xAA\xA1", 2, &cp), 0);
  EXPECT_EQ(cp, 7U);
  EXPECT_EQ(gb2312_char_to_uni("\xC4\xE3", 2, &cp), 2);
  EXPECT_EQ(cp, 0x4F60U);
  EXPECT_EQ(gb2312_char_to_uni("\x44\x63", 2, &cp), 2);
  EXPECT_EQ(cp, 0x4F60U);

  unsigned char pair[2] = {};
  EXPECT_EQ(uni_to_gb2312_char(0x4F60, pair, 1), -2);
  EXPECT_EQ(uni_to_gb2312_char(0xDF, pair, 2), -1);
  EXPECT_EQ(pair[0], 0);
  EXPECT_EQ(uni_to_gb2312_char(0x4F60, pair, 2), 2);
  EXPECT_EQ(pair[0], 0x44);
  EXPECT_EQ(pair[1], 0x63);
}

TEST(Gb2312, CodePointsBesideThePagesAreUnmapped) {
  unsigned char pair[2];
  for (std::uint32_t cp : {0x460U, 0x1FFFU, 0x2650U, 0x2FFFU, 0x3230U, 0x4DFFU, 0x9CF0U, 0x9DFFU,
                           0x9FB0U, 0xFEFFU, 0xFFF0U, 0xFFFFU, 0x10000U, 0x14F60U, 0xFFFFFFFFU}) {
    EXPECT_EQ(uni_to_gb2312_char(cp, pair, 2), -1) << cp;
  }
}

/// What the C library's EUC-CN makes of two bytes; 0 for nothing.
std::uint32_t iconv_pair(iconv_t cd, unsigned char first, unsigned char second) {
  char in[2] = {static_cast<char>(first), static_cast<char>(second)};
  std::uint32_t cp = 0;
  char* from = in;
  char* to = reinterpret_cast<char*>(&cp);
  std::size_t from_left = 2;
  std::size_t to_left = 4;
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  const std::size_t result = iconv(cd, &from, &from_left, &to, &to_left);
  return result == 0 && from_left == 0 && to_left == 0 ? cp : 0;
}

// The C library's table was made by others from the same standard; it differs in A1A4 (U+00B7
// there) and A1AA (U+2014 there), which are checked by value.
TEST(Gb2312, AllCharactersAgreeWithTheCLibraryBothWays) {
  const iconv_t cd = iconv_open("UCS-4LE", "EUC-CN");
  ASSERT_NE(reinterpret_cast<iconv_t>(-1), cd);
  std::vector<std::uint16_t> code_of(0x10000, 0);
  int count = 0;
  for (unsigned first = 0xA1; first <= 0xFE; ++first) {
    for (unsigned second = 0xA1; second <= 0xFE; ++second) {
      const unsigned code = first << 8 | second;
      std::uint32_t expected =
          iconv_pair(cd, static_cast<unsigned char>(first), static_cast<unsigned char>(second));
      if (code == 0xA1A4) expected = 0x30FB;
      if (code == 0xA1AA) expected = 0x2015;
      const char pair[2] = {static_cast<char>(first), static_cast<char>(second)};
      std::uint32_t cp = 0;
      EXPECT_EQ(gb2312_char_to_uni(pair, 2, &cp), expected == 0 ? 0 : 2) << std::hex << code;
      EXPECT_EQ(cp, expected) << std::hex << code;
      if (cp != 0 && cp < 0x10000) {
        code_of[cp] = static_cast<std::uint16_t>(code);
        ++count;
      }
    }
  }
  iconv_close(cd);
  EXPECT_EQ(count, 7445);
  for (std::uint32_t cp = 0; cp < 0x10000; ++cp) {
    unsigned char pair[2] = {};
    const int result = uni_to_gb2312_char(cp, pair, 2);
    if (code_of[cp] == 0) {
      EXPECT_EQ(result, -1) << std::hex << cp;
    } else {
      EXPECT_EQ(result, 2) << std::hex << cp;
      EXPECT_EQ(code_of[cp], (pair[0] << 8 | pair[1]) + 0x8080) << std::hex << cp;
    }
  }
}

/// The whole of `text` through the C library.
std::string through_iconv(const char* to, const char* from, std::string text) {
  const iconv_t cd = iconv_open(to, from);
  std::string out(text.size() * 4 + 16, '\0');
  char* in = text.data();
  std::size_t in_left = text.size();
  char* at = out.data();
  std::size_t room = out.size();
  EXPECT_EQ(iconv(cd, &in, &in_left, &at, &room), 0U);
  iconv_close(cd);
  out.resize(out.size() - room);
  return out;
}

// Runs of characters are converted in groups; any mixture must come out as it does one by one.
TEST(Gb2312, RandomMixturesAgreeWithTheCLibrary) {
  std::mt19937 random(7);
  const auto draw = [&](std::size_t below) { return static_cast<unsigned>(random() % below); };
  for (int round = 0; round < 4000; ++round) {
    std::string gb;
    const unsigned most = draw(40) + 1;
    for (int codes = 0; codes < 500;) {
      const unsigned kind = draw(3);
      for (unsigned i = draw(most) + 1; i > 0 && codes < 500; --i, ++codes) {
        if (kind == 0) {
          gb += static_cast<char>(0x20 + draw(0x5F));
          continue;
        }
        const unsigned row = kind == 1 ? 0xB0 + draw(0x27) : 0xA1 + draw(9);
        const unsigned column = 0xA1 + draw(row == 0xA1 ? 3 : 94);  // not A1A4, A1AA
        const char pair[2] = {static_cast<char>(row), static_cast<char>(column)};
        std::uint32_t cp;
        if (gb2312_char_to_uni(pair, 2, &cp) == 2) gb.append(pair, 2);
      }
      if (draw(50) == 0) break;
    }
    if (gb.empty()) continue;
    const std::string utf8 = through_iconv("UTF-8", "EUC-CN", gb);
    ASSERT_EQ(to_utf8(gb), utf8) << round;
    ASSERT_EQ(to_gb(utf8, 2048), gb) << round;
  }
}

/// UTF-8 to GB2312 character by character.
std::string one_by_one(const std::string& utf8, std::size_t cap) {
  std::string out;
  int codes = 0;
  for (const char* p = utf8.c_str(); *p != '\0' && codes < 511; ++codes) {
    std::uint32_t cp;
    p += utf8_decode_char(p, &cp);
    unsigned char pair[2];
    std::string bytes(1, '\0');
    if ((cp & 0xFFFF) <= 0x80) {
      bytes[0] = static_cast<char>(cp);
    } else if (uni_to_gb2312_char(cp & 0xFFFF, pair, 2) == 2) {
      bytes = {static_cast<char>(pair[0] | 0x80), static_cast<char>(pair[1] | 0x80)};
    }
    if (out.size() + bytes.size() >= cap) break;
    out += bytes;
  }
  return out;
}

TEST(Gb2312, DamagedTextsComeOutAsOneByOne) {
  std::mt19937 random(8);
  const auto draw = [&](std::size_t below) { return static_cast<unsigned>(random() % below); };
  for (int round = 0; round < 20000; ++round) {
    std::string utf8;
    for (unsigned i = draw(60); i > 0; --i) utf8 += "\xE4\xBD\xA0\xE5\xA5\xBDmore";
    for (unsigned i = draw(8); i > 0 && !utf8.empty(); --i) {
      const std::size_t at = draw(utf8.size());
      if (draw(2) == 0) {
        utf8[at] = static_cast<char>(draw(255) + 1);
      } else {
        utf8.erase(at, draw(5));
      }
    }
    if (utf8.empty()) continue;
    const std::size_t cap = draw(3) == 0 ? draw(100) + 1 : 1024;
    // Exactly these sizes, so that the sanitizers see a byte too many.
    const std::vector<char> in(utf8.begin(), utf8.end());
    std::vector<char> out(cap, '#');
    ASSERT_EQ(
        utf8_to_gb2312(out.data(), static_cast<int>(cap), in.data(), static_cast<int>(in.size())),
        0);
    const std::string expected = one_by_one(utf8, cap);
    ASSERT_EQ(std::string(out.data(), expected.size()), expected) << round;
    ASSERT_EQ(out[expected.size()], '\0') << round;
  }
}

}  // namespace
}  // namespace qsvmon
