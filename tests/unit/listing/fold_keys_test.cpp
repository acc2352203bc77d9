#include "commands/listing/fold_keys.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace qsvmon {
namespace {

/// A field of the first bytes of `text`, alone in memory: the address sanitizer watches its end.
template <std::size_t Width>
struct Field {
  explicit Field(const std::string& text) : bytes(new char[1][Width]) {
    std::memset(bytes[0], 0, Width);
    text.copy(bytes[0], Width);
  }
  const char (&get() const)[Width] { return bytes[0]; }
  std::unique_ptr<char[][Width]> bytes;
};

std::string letters(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += static_cast<char>('a' + i % 26);
  return text;
}

TEST(NameKey, HoldsTheBytesOfEveryLength) {
  const Field<31> field(letters(31));
  for (std::size_t length = 0; length <= 31; ++length) {
    const NameKey<32> key = NameKey<32>::of(field.get(), length);
    EXPECT_EQ(key.length(), length);
    EXPECT_EQ(key.text(), letters(length));
  }
  const Field<45> longer(letters(45));
  for (std::size_t length = 0; length <= 45; ++length) {
    EXPECT_EQ(NameKey<48>::of(longer.get(), length).text(), letters(length));
  }
}

TEST(NameKey, EndsAtTheFirstNulOfItsField) {
  for (std::size_t length = 0; length <= 31; ++length) {
    std::string text = letters(31);
    if (length < 31) text[length] = '\0';
    if (length < 29) text[length + 2] = '\0';
    const NameKey<32> key = NameKey<32>::up_to_nul(Field<31>(text).get());
    EXPECT_EQ(key.text(), letters(length));
    // What stands behind the NUL makes no difference.
    EXPECT_EQ(key, NameKey<32>::up_to_nul(Field<31>(letters(length)).get()));
  }
}

TEST(NameKey, BytesFrom128OnAreNoNuls) {
  for (const char* text :
       {"\x80\x81\xff\x01\x80", "\x01\x80", "\xff\xff\xff\xff\xff\xff\xff\xff\x01"}) {
    EXPECT_EQ(NameKey<32>::up_to_nul(Field<31>(text).get()).text(), text);
  }
}

TEST(NameKey, DiffersByAnyByteAndByItsLength) {
  const NameKey<32> whole = NameKey<32>::of(Field<31>(letters(31)).get(), 31);
  for (std::size_t at = 0; at < 31; ++at) {
    std::string other = letters(31);
    other[at] = '#';
    EXPECT_FALSE(NameKey<32>::of(Field<31>(other).get(), 31) == whole) << at;
  }
  const Field<31> zeros("");
  EXPECT_FALSE(NameKey<32>::of(zeros.get(), 3) == NameKey<32>::of(zeros.get(), 4));
  EXPECT_EQ(NameKey<32>::of(zeros.get(), 3).text(), std::string(3, '\0'));
}

TEST(NameKey, AShortNameEndsWithANul) {
  const NameKey<48> key = NameKey<48>::of(Field<45>(letters(45)).get(), 42);
  EXPECT_EQ(std::strlen(key.text().data()), 42u);
}

}  // namespace
}  // namespace qsvmon
