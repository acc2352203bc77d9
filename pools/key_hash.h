#pragma once

#include <cstdint>

namespace qsvmon {

/// The top `bits` (1..32) of a hash of all of `key`, so that keys fall into different buckets
/// wherever they differ: addresses of one appliance often share the first two octets, or the last
/// two.
constexpr std::uint32_t key_bucket(std::uint64_t key, int bits) {
  key ^= key >> 32;
  key *= 0xd6e8feb86659fd93;
  key ^= key >> 32;
  key *= 0xd6e8feb86659fd93;
  return static_cast<std::uint32_t>(key >> (64 - bits));
}

}  // namespace qsvmon
