#include "commands/sessionlog/codec/base64.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using namespace std::literals;

namespace qsvmon {
namespace {

std::string decoded(std::string_view in) {
  std::vector<char> out(base64_decoded_bytes(in.size()), '#');
  const int length = base64_decode(out.data(), in);
  EXPECT_EQ(out[static_cast<std::size_t>(length)], '\0');
  return std::string(out.data(), static_cast<std::size_t>(length));
}

std::string encoded(std::string_view in) {
  std::vector<char> out(base64_encoded_bytes(in.size()), '#');
  const int length = base64_encode(out.data(), in);
  EXPECT_EQ(std::strlen(out.data()), static_cast<std::size_t>(length));
  return out.data();
}

struct Pair {
  std::string_view plain;
  std::string_view base64;
};
// The vectors of RFC 4648 section 10, and bytes beyond ASCII.
constexpr Pair kPairs[] = {
    {""sv, ""sv},
    {"f"sv, "Zg=="sv},
    {"fo"sv, "Zm8="sv},
    {"foo"sv, "Zm9v"sv},
    {"foob"sv, "Zm9vYg=="sv},
    {"fooba"sv, "Zm9vYmE="sv},
    {"foobar"sv, "Zm9vYmFy"sv},
    {"\xE4\xBD\xA0\xE5\xA5\xBD"sv, "5L2g5aW9"sv},
    {"\xFB\xFF\xBF"sv, "+/+/"sv},
    {"\0\0\0"sv, "AAAA"sv},
};

TEST(Base64, KnownTextsAreDecodedAndEncoded) {
  for (const Pair& c : kPairs) {
    EXPECT_EQ(decoded(c.base64), c.plain);
    EXPECT_EQ(encoded(c.plain), c.base64);
  }
}

// What lies behind a text is no part of it.
TEST(Base64, TextsEndWithTheirLength) {
  constexpr std::string_view kFollowed = "fo\xFF\xFF";
  EXPECT_EQ(encoded(kFollowed.substr(0, 2)), "Zm8=");
  EXPECT_EQ(encoded(kFollowed.substr(0, 1)), "Zg==");
  EXPECT_EQ(decoded("Zm9v"sv.substr(0, 3)), "fo");
  EXPECT_EQ(decoded("Zm9v"sv.substr(0, 2)), "f");
  EXPECT_EQ(decoded("Zm9v"sv.substr(0, 1)), "");
}

TEST(Base64, DecodingEndsAtTheFirstCharacterOutsideTheAlphabet) {
  constexpr Pair kCases[] = {
      {"foo"sv, "Zm9v=Zm9v"sv},  // what follows the padding is ignored
      {"foo"sv, "Zm9v Zm9v"sv},
      {"foo"sv, "Zm9v\nZm9v"sv},
      {"foo"sv, "Zm9v\0Zm9v"sv},
      {"foo"sv, "Zm9v-Zm9v"sv},  // the URL alphabet is another one
      {"foo"sv, "Zm9v\xC3\xA9"sv},
      {"fo"sv, "Zm8?"sv},
      {"f"sv, "Zm?v"sv},
      {""sv, "Z=9v"sv},
      {""sv, "=Zm9v"sv},
      {"fo"sv, "Zm8"sv},  // no padding needed
      {"f"sv, "Zg"sv},
      {""sv, "Z"sv},  // one character is no byte
      {"foo"sv, "Zm9vZ"sv},
      {"f"sv, "Zv"sv},  // bits left over are dropped
  };
  for (const Pair& c : kCases) EXPECT_EQ(decoded(c.base64), c.plain) << c.base64;
}

TEST(Base64, RandomBytesComeBack) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length < 300; ++length) {
    std::string bytes(length, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    EXPECT_EQ(decoded(encoded(bytes)), bytes);
  }
}

}  // namespace
}  // namespace qsvmon
