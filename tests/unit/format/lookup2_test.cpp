#include "format/lookup2.h"

#include <gtest/gtest.h>

#include <string_view>

namespace qsvmon {
namespace {

struct HashCase {
  std::string_view key;
  std::uint32_t from_zero;
  std::uint32_t from_names;  ///< with the initial value of the tables of names
};

// Worked out with a separate program.
constexpr HashCase kCases[] = {
    {"", 0xbd49d10d, 0xc821a99a},
    {"a", 0x29eec818, 0x578a99f7},
    {"abc", 0x251e4793, 0x3df3f107},
    {"abcd", 0x5ae61fa5, 0x7a627e94},
    {"abcde", 0x03a96866, 0x3db724e5},
    {"abcdefgh", 0x053f775e, 0x353af164},
    {"abcdefghi", 0x3a7b0a5f, 0xe692f4c5},
    {"abcdefghijk", 0xe52b8e4c, 0x46b9a350},
    {"abcdefghijkl", 0x0b1b3ea5, 0x2b0ef319},
    {"abcdefghijklm", 0x3122b031, 0xe59ef545},
    {"www.example.com", 0x64cb0e7c, 0x34701f07},
    {"0123456789abcdefghijklmnopqrstuvwxyz", 0xbfbe133d, 0x9fef3206},
    {"\xff\xfe\x80", 0x0e440b2d, 0x065c1b4a},
};

TEST(Lookup2, KnownValues) {
  for (const HashCase& c : kCases) {
    EXPECT_EQ(lookup2(c.key.data(), c.key.size(), 0), c.from_zero) << c.key;
    EXPECT_EQ(lookup2(c.key.data(), c.key.size(), 0x20120303), c.from_names) << c.key;
  }
}

TEST(Lookup2, NamesCountTheirFirst16Bytes) {
  constexpr std::string_view kLong = "www.example.com.and.more";
  EXPECT_EQ(lookup2_name(kLong.data(), kLong.size(), 0), 0x3ba4d610u);
  EXPECT_EQ(lookup2_name(kLong.data(), 16, 0x20120303), 0x97b5e722u);
  EXPECT_EQ(lookup2_name(kLong.data(), 15, 0), 0x64cb0e7cu);
  EXPECT_EQ(lookup2_name(nullptr, 0, 0), 0xbd49d10du);
}

}  // namespace
}  // namespace qsvmon
