#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "commands/listing/key_hash.h"
#include "platform/read_once.h"

/// How a fold table (fold_table.h) sees the keys of its entries: it hashes a key, asks whether an
/// entry with the same hash is the key's, and sets the key of a new entry.
namespace qsvmon {

/// IPv4 addresses in network order; `Stat` has a member `ip`, which this sets.
template <class Stat>
struct AddressKeys {
  using Entry = Stat;
  using Key = std::uint32_t;

  static std::uint32_t hash(Key key, const KeySecret& secret) { return permute32(key, secret); }
  static bool same(const Entry&, Key) { return true; }  // a permutation: equal hash, equal key
  static void begin(Entry& entry, Key key) { entry.ip = key; }
};

/// 64 bytes of ones and as many zeros: a mask for any number of first bytes.
struct NameMask {
  static constexpr std::size_t kOnes = 64;
  char bytes[2 * kOnes];
  constexpr NameMask() : bytes{} {
    for (std::size_t i = 0; i < kOnes; ++i) bytes[i] = '\xff';
  }
};

/// A name of up to 8 * `Words` - 1 bytes: the bytes, zeros behind them and the length in the last
/// byte. Made, hashed and compared in whole words, so that names of any length take the same few
/// instructions without a call: half of what a record of a known name cost byte by byte.
template <std::size_t Words>
struct NameKey {
  static_assert(Words >= 2 && Words <= 8 && Words % 2 == 0);
  static_assert(std::endian::native == std::endian::little);
  static constexpr std::size_t kMaxLength = 8 * Words - 1;

  std::uint64_t word[Words];

  /// The first `length` bytes of `field`. REQUIRES: length <= Width.
  template <std::size_t Width>
  static NameKey of(const char (&field)[Width], std::size_t length) {
    NameKey key = whole(field);
    key.end_at(length);
    return key;
  }

  /// `field` up to its NUL, or all of it. The field may lie in the shared area: its bytes are read
  /// once.
  template <std::size_t Width>
  static NameKey up_to_nul(const char (&field)[Width]) {
    NameKey key = whole(field);
    std::size_t bytes = Width;
    // From the last word to the first, so that the first zero byte counts.
    for_words([&](std::size_t behind) {
      const std::size_t i = Words - 1 - behind;
      constexpr std::uint64_t kOnes = 0x0101010101010101;
      // The highest bit of every zero byte, and of some above the first one.
      const std::uint64_t zeros = (key.word[i] - kOnes) & ~key.word[i] & kOnes << 7;
      if (zeros != 0) bytes = 8 * i + static_cast<std::size_t>(std::countr_zero(zeros)) / 8;
    });
    key.end_at(bytes < Width ? bytes : Width);
    return key;
  }

  std::size_t length() const { return word[Words - 1] >> 56; }
  /// Valid as long as the key.
  std::string_view text() const { return {reinterpret_cast<const char*>(word), length()}; }

  friend bool operator==(const NameKey& a, const NameKey& b) {
    std::uint64_t differing = 0;
    for (std::size_t i = 0; i < Words; ++i) differing |= a.word[i] ^ b.word[i];
    return differing == 0;
  }

 private:
  /// Calls `use` with the number of every word, without a loop: the words stay in registers, where
  /// a loop stores them one by one to load them in pairs. A million records of 100 names: 16 ms, by
  /// loops 29.
  template <class Use>
  static void for_words(Use&& use) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      (use(I), ...);
    }
    (std::make_index_sequence<Words>());
  }

  template <std::size_t Width>
  static NameKey whole(const char (&field)[Width]) {
    static_assert(Width <= kMaxLength && Width > 8 * (Words - 1));
    NameKey key;
    for_words([&](std::size_t i) {
      if (i + 1 < Words) key.word[i] = read_once(load64(field + 8 * i));
    });
    // Nothing behind the field is read: it may end where the shared area does.
    key.word[Words - 1] = read_once(load64(field + Width - 8)) >> 8 * (8 * Words - Width);
    return key;
  }

  void end_at(std::size_t length) {
    static constexpr NameMask kMask;
    const char* const mask = kMask.bytes + NameMask::kOnes - length;
    // One word at a time: vectors gathered from words just written cost more than all the rest.
    for_words([&](std::size_t i) { word[i] = read_once(word[i] & load64(mask + 8 * i)); });
    word[Words - 1] |= std::uint64_t{length} << 56;
  }
};

/// Writes a name into a row (format/row_text.h), at `at`: whole words of a known number, of which
/// the row then takes the name alone. Returns the name's end.
template <std::size_t Words>
char* write_value(char* at, const NameKey<Words>& name) {
  std::memcpy(at, name.word, sizeof name.word);
  return at + name.length();
}

/// Names; `Stat` has a member `name`, a NameKey, which this sets.
template <class Stat>
struct NameKeys {
  using Entry = Stat;
  using Key = decltype(Stat::name);

  static std::uint32_t hash(const Key& key, const KeySecret& secret) {
    return hash_words(key.word, secret);
  }
  static bool same(const Entry& entry, const Key& key) { return entry.name == key; }
  static void begin(Entry& entry, const Key& key) { entry.name = key; }
};

}  // namespace qsvmon
