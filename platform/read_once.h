#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace qsvmon {

/// A number of the shared area, read once. A daemon may be writing the area while it is read, so a
/// value that is checked before it is used (an id, a length, a count) is first copied by this into
/// a local:
///
///     const std::uint16_t apid = read_once(event.apid);
///     if (apid < kApps) ++counts[apid];
///
/// The compiler cannot know that the copy equals the member, and so may not load it again between
/// the check and the use. Costs no instruction.
template <class Number>
inline Number read_once(Number value) {
  static_assert(std::is_integral_v<Number> && sizeof(Number) <= 8);
  asm volatile("" : "+r"(value));
  return value;
}

/// The same for bytes: what is read at `to` afterwards is the copy, and `from` is not read again.
inline void copy_once(void* to, const void* from, std::size_t bytes) {
  std::memcpy(to, from, bytes);
  asm volatile("" : : "r"(to) : "memory");
}

}  // namespace qsvmon
