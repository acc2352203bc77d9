#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/system.h"

namespace qsvmon {

/// Keyed hashes: who chooses the keys cannot choose which of them meet in a table. The values
/// differ from run to run and never show in output.
struct KeySecret {
  std::uint64_t word[3];
};

/// A new secret of random words, which are odd: an even factor would discard a bit.
inline KeySecret new_key_secret() {
  KeySecret secret;
  random_seed(&secret, sizeof secret);
  for (std::uint64_t& word : secret.word) word |= 1;
  return secret;
}

inline std::uint64_t load64(const char* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

/// Both halves of the 128-bit product, mixed: every bit of either factor moves every bit out.
inline std::uint64_t multiply_mix(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// A keyed permutation of the 32-bit numbers: different numbers have different values. With these
/// shifts none of 20,000 secrets gave more than 22 of 16,384 regular addresses the same lower 12
/// bits. With 15 and 16 instead of 11 and 15, and no shift in front, about one in 200 gave 32 to
/// 218 of addresses that are 2^18 apart the same.
inline std::uint32_t permute32(std::uint32_t value, const KeySecret& secret) {
  value ^= static_cast<std::uint32_t>(secret.word[0] >> 32);
  value ^= value >> 17;
  value *= static_cast<std::uint32_t>(secret.word[1]);  // odd factors can be undone
  value ^= value >> 11;
  value *= static_cast<std::uint32_t>(secret.word[2]);
  return value ^ value >> 15;
}

/// 32 well-mixed bits of `bytes`.
template <std::size_t Bytes>
std::uint32_t hash_bytes(const char (&bytes)[Bytes], const KeySecret& secret) {
  static_assert(Bytes % 16 == 0);
  std::uint64_t mixed = secret.word[0];
  for (std::size_t i = 0; i < Bytes; i += 16) {
    mixed = multiply_mix(load64(bytes + i) ^ secret.word[1], load64(bytes + i + 8) ^ mixed);
  }
  return static_cast<std::uint32_t>(mixed >> 32);
}

}  // namespace qsvmon
