#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qsvmon {

/// Hashes of whole keys under a secret of the process: who chooses the keys cannot choose which of
/// them meet. The values never show in output.
struct KeySecret {
  std::uint64_t word[4];
};

/// A new secret; the words differ from run to run.
KeySecret new_key_secret();

/// Both halves of the 128-bit product, mixed: every bit of either factor moves every bit out.
inline std::uint64_t multiply_mix(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// 32 well-mixed bits of an address.
inline std::uint32_t hash_address(std::uint32_t key, const KeySecret& secret) {
  const std::uint64_t mixed = multiply_mix(key ^ secret.word[0], secret.word[1]);
  return static_cast<std::uint32_t>(multiply_mix(mixed ^ secret.word[2], secret.word[3]) >> 32);
}

/// 32 well-mixed bits of all `length` bytes.
std::uint32_t hash_bytes(const void* bytes, std::size_t length, const KeySecret& secret);

}  // namespace qsvmon
