#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "commands/listing/key_hash.h"

/// How a fold table (fold_table.h) sees the keys of its entries: it hashes a key, asks whether an
/// entry with the same hash is the key's, and sets the key of a new entry.
namespace qsvmon {

/// Which address of a record is the key of an address listing: its destination or its source.
enum class IpSide : std::uint8_t { kDst, kSrc };

/// IPv4 addresses in network order; `Stat` has a member `ip`, which this sets.
template <class Stat>
struct AddressKeys {
  using Entry = Stat;
  using Key = std::uint32_t;

  static std::uint32_t hash(Key key, const KeySecret& secret) { return permute32(key, secret); }
  static bool same(const Entry&, Key) { return true; }  // a permutation: equal hash, equal key
  static void begin(Entry& entry, Key key) { entry.ip = key; }
};

/// A name of up to `Bytes` - 1 bytes: the bytes, zeros behind them and the length in the last byte.
/// Made and compared 16 bytes at a time with SSE2, which every amd64 processor has: the same few
/// instructions for names of any length, without a call. A listing of a million records of 100
/// names takes 13 ms so, and 26 byte by byte.
template <std::size_t Bytes>
struct NameKey {
  static_assert(Bytes % 16 == 0 && Bytes <= 64);

  char bytes[Bytes];

  /// The first `length` bytes of `field`. REQUIRES: length <= Width.
  template <std::size_t Width>
  static NameKey of(const char (&field)[Width], std::size_t length) {
    return cut(load(field), length);
  }

  /// `field` up to its NUL, or all of it. The field may lie in the shared area: its bytes are read
  /// once.
  template <std::size_t Width>
  static NameKey up_to_nul(const char (&field)[Width]) {
    const Vectors loaded = load(field);
    std::uint64_t zeros = std::uint64_t{1} << (Bytes - 1);  // bit n: byte n is 0
    for (std::size_t i = 0; i < kVectors; ++i) {
      const __m128i equal = _mm_cmpeq_epi8(loaded.at[i], _mm_setzero_si128());
      zeros |= std::uint64_t{static_cast<std::uint16_t>(_mm_movemask_epi8(equal))} << 16 * i;
    }
    return cut(loaded, static_cast<std::size_t>(std::countr_zero(zeros)));
  }

  std::size_t length() const { return static_cast<unsigned char>(bytes[Bytes - 1]); }
  /// Valid as long as the key.
  std::string_view text() const { return {bytes, length()}; }

  friend bool operator==(const NameKey& a, const NameKey& b) {
    __m128i differing = _mm_setzero_si128();
    for (std::size_t i = 0; i < Bytes; i += 16) {
      differing = _mm_or_si128(differing, _mm_xor_si128(load16(a.bytes + i), load16(b.bytes + i)));
    }
    return _mm_movemask_epi8(_mm_cmpeq_epi8(differing, _mm_setzero_si128())) == 0xffff;
  }

  /// Writes the name into a row (format/row_text.h), at `at`: all of the key, of which the row then
  /// takes the name alone. Returns the name's end.
  friend char* write_value(char* at, const NameKey& name) {
    std::memcpy(at, name.bytes, Bytes);
    return at + name.length();
  }

 private:
  static constexpr std::size_t kVectors = Bytes / 16;
  struct Vectors {
    __m128i at[kVectors];
  };
  /// As many bytes of ones as a key has, and as many zeros: a mask for any number of first bytes.
  struct Mask {
    char bytes[2 * Bytes];
    constexpr Mask() : bytes{} {
      for (std::size_t i = 0; i < Bytes; ++i) bytes[i] = '\xff';
    }
  };

  static __m128i load16(const char* at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
  }

  template <std::size_t Width>
  static Vectors load(const char (&field)[Width]) {
    static_assert(Width < Bytes && Width > Bytes - 16 && Width >= 16);
    Vectors loaded;
    for (std::size_t i = 0; i + 1 < kVectors; ++i) loaded.at[i] = load16(field + 16 * i);
    // Nothing behind the field is read: it may end where the shared area does.
    loaded.at[kVectors - 1] = _mm_srli_si128(load16(field + Width - 16), Bytes - Width);
    for (std::size_t i = 0; i < kVectors; ++i) asm volatile("" : "+x"(loaded.at[i]));  // read once
    return loaded;
  }

  static NameKey cut(const Vectors& loaded, std::size_t length) {
    static constexpr Mask kMask;
    const char* const mask = kMask.bytes + Bytes - length;
    const __m128i last = _mm_slli_si128(_mm_cvtsi32_si128(static_cast<int>(length)), 15);
    NameKey key;
    for (std::size_t i = 0; i < kVectors; ++i) {
      __m128i vector = _mm_and_si128(loaded.at[i], load16(mask + 16 * i));
      if (i + 1 == kVectors) vector = _mm_or_si128(vector, last);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(key.bytes + 16 * i), vector);
    }
    return key;  // cppcheck-suppress uninitvar
  }
};

/// Names; `Stat` has a member `name`, a NameKey, which this sets.
template <class Stat>
struct NameKeys {
  using Entry = Stat;
  using Key = decltype(Stat::name);

  static std::uint32_t hash(const Key& key, const KeySecret& secret) {
    return hash_bytes(key.bytes, secret);
  }
  static bool same(const Entry& entry, const Key& key) { return entry.name == key; }
  static void begin(Entry& entry, const Key& key) { entry.name = key; }
};

}  // namespace qsvmon
