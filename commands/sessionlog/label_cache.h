#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qsvmon {

/// Labels of addresses that were looked up lately. A session's operations lie side by side in a
/// list, and a look-up in full pools touches memory all over; this one a single place. Valid as
/// long as the pools are not built anew.
class LabelCache {
 public:
  /// The label of the IPv4 address `net` (network order) or of a MAC, "" for none.
  const char* of_ipv4(std::uint32_t net) { return find(kIpv4 | net, &net); }
  const char* of_mac(const std::uint8_t* mac6) {
    std::uint32_t first;
    std::uint16_t last;
    std::memcpy(&first, mac6, sizeof first);
    std::memcpy(&last, mac6 + sizeof first, sizeof last);
    return find(kMac | std::uint64_t{last} << 32 | first, mac6);
  }

 private:
  static constexpr std::size_t kBits = 9;
  static constexpr std::uint64_t kIpv4 = std::uint64_t{1} << 48;
  static constexpr std::uint64_t kMac = std::uint64_t{2} << 48;

  struct Slot {
    std::uint64_t key;  ///< the family's bit and the address; 0 is a free slot
    const char* label;
  };

  const char* find(std::uint64_t key, const void* address) {
    Slot& slot = slots_[key * 0x9E3779B97F4A7C15U >> (64 - kBits)];
    if (slot.key != key) slot = {key, look_up(key, address)};
    return slot.label;
  }
  static const char* look_up(std::uint64_t key, const void* address);

  Slot slots_[std::size_t{1} << kBits] = {};
};

}  // namespace qsvmon
