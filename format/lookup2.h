#pragma once

#include <cstddef>
#include <cstdint>

namespace qsvmon {

/// Bob Jenkins' lookup2 hash of 1996 over `length` bytes, with `initial` as its third start value.
/// Which asset lines are refused depends on the texts that share a bucket, so the value must stay.
std::uint32_t lookup2(const void* bytes, std::size_t length, std::uint32_t initial);

constexpr std::size_t kNameHashBytes = 16;

/// `lookup2` over at most the first 16 bytes, as every table of names hashes its keys.
inline std::uint32_t lookup2_name(const void* bytes, std::size_t length, std::uint32_t initial) {
  return lookup2(bytes, length < kNameHashBytes ? length : kNameHashBytes, initial);
}

}  // namespace qsvmon
