#pragma once

#include <cstdint>

namespace qsvmon {

/// The top `bits` (1..32) of a mix of all of `key`: keys that differ anywhere, in the first octet
/// of an address alone say, spread over all buckets.
constexpr std::uint32_t key_bucket(std::uint64_t key, int bits) {
  key ^= key >> 32;
  key *= 0xd6e8feb86659fd93;
  key ^= key >> 32;
  key *= 0xd6e8feb86659fd93;
  return static_cast<std::uint32_t>(key >> (64 - bits));
}

}  // namespace qsvmon
