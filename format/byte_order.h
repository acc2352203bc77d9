#pragma once

#include <bit>
#include <cstdint>

namespace qsvmon {

/// The host's value of a 32-bit field that was read from memory in network order; its own inverse.
constexpr std::uint32_t from_net32(std::uint32_t net) {
  return std::endian::native == std::endian::little ? __builtin_bswap32(net) : net;
}

/// The host's value of a 16-bit field that was read from memory in network order; its own inverse.
constexpr std::uint16_t from_net16(std::uint16_t net) {
  return std::endian::native == std::endian::little ? __builtin_bswap16(net) : net;
}

}  // namespace qsvmon
