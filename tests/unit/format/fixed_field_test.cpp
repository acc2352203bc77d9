#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "format/text.h"

namespace qsvmon {
namespace {

/// A field of 32 bytes full of old text, with a guard behind it.
struct Field {
  char bytes[33];
  Field() { std::memset(bytes, '#', sizeof bytes); }
  /// The 32 bytes up to the last one that is not NUL.
  std::string text() const {
    std::string all(bytes, 32);
    return all.substr(0, all.find_last_not_of('\0') + 1);
  }
};

TEST(FixedField, FormattedTextKeepsItsNul) {
  for (const std::size_t length : {0u, 1u, 30u, 31u, 32u, 33u, 500u}) {
    Field f;
    const std::string text(length, 'x');
    const std::size_t kept = length < 31 ? length : 31;
    EXPECT_EQ(field32_printf(f.bytes, "%s", text.c_str()), static_cast<int>(kept)) << length;
    EXPECT_EQ(f.text(), std::string(kept, 'x')) << length;
    EXPECT_EQ(f.bytes[32], '#') << length;
  }
  Field f;
  EXPECT_EQ(field32_printf(f.bytes, "%d/%s", 12, "ab"), 5);
  EXPECT_EQ(f.text(), "12/ab");
}

// A wide character that the "C" locale does not have cannot be printed.
TEST(FixedField, WhatCannotBeFormattedCountsAsNothing) {
  constexpr wchar_t kUnprintable[] = {0x4f60, 0};
  Field f;
  EXPECT_EQ(field32_printf(f.bytes, "%ls", kUnprintable), 0);
  EXPECT_EQ(f.text(), "");
  EXPECT_EQ(f.bytes[32], '#');
}

TEST(FixedField, CopyMayFillTheField) {
  for (const std::size_t length : {0u, 1u, 31u, 32u, 33u, 500u}) {
    Field f;
    const std::string text(length, 'y');
    field32_copy(f.bytes, text.c_str());
    EXPECT_EQ(f.text(), std::string(length < 32 ? length : 32, 'y')) << length;
    EXPECT_EQ(f.bytes[32], '#') << length;
  }
  Field f;
  field32_copy(f.bytes, nullptr);
  EXPECT_EQ(f.text(), "");
}

}  // namespace
}  // namespace qsvmon
