#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "pools/desc_pools.h"

namespace qsvmon {

/// Labels of addresses that were looked up lately. A session's operations lie side by side in a
/// list, and a look-up in full pools touches memory all over; this one a single place. Valid as
/// long as the pools are not built anew.
class LabelCache {
 public:
  LabelCache() : slots_(static_cast<Slot*>(std::calloc(kSlots, sizeof(Slot)))) {}
  LabelCache(const LabelCache&) = delete;
  LabelCache& operator=(const LabelCache&) = delete;
  ~LabelCache() { std::free(slots_); }

  /// The label of the IPv4 address `net` (network order) or of a MAC, "" for none. Valid until the
  /// next call.
  std::string_view of_ipv4(std::uint32_t net) { return find(kIpv4, &net, sizeof net); }
  std::string_view of_mac(const std::uint8_t* mac6) { return find(kMac, mac6, 6); }

 private:
  static constexpr std::size_t kBits = 11;
  static constexpr std::size_t kSlots = std::size_t{1} << kBits;
  static constexpr std::size_t kLabelBytes = 1024;
  static constexpr std::uint64_t kIpv4 = std::uint64_t{1} << 48;
  static constexpr std::uint64_t kMac = std::uint64_t{2} << 48;

  struct Slot {
    std::uint64_t key;  ///< the family's bit and the address; 0 is a free slot
    std::uint8_t length;
    char text[55];
  };
  static_assert(sizeof(Slot) == 64);

  std::string_view find(std::uint64_t family, const void* address, std::size_t bytes);
  std::string_view look_up(Slot* slot, std::uint64_t key, const void* address);

  Slot* slots_;              ///< null without memory: nothing is kept then
  char fresh_[kLabelBytes];  ///< the label looked up last
};

}  // namespace qsvmon
