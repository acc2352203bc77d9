#pragma once

#include <cstdint>

#include "commands/listing/fold_keys.h"

namespace qsvmon {

/// Eight places for ports or application ids. The caller chooses the place: an application id
/// modulo 8, or a port as it is stored, in network order, modulo 8. A value replaces what is there,
/// so of all values with one place the last is kept.
struct ValueSlots {
  std::uint16_t value[8];
  std::uint8_t used;  ///< bit n: place n is taken

  void put(unsigned place, std::uint16_t new_value) {
    value[place] = new_value;
    used = static_cast<std::uint8_t>(used | 1u << place);
  }
};

/// What is counted for every row of the address and the name listing; starts as zeros.
struct FlowStat {
  std::uint32_t flowcnt;
  std::uint32_t http;
  std::uint32_t https;
  std::uint32_t maxtime;
  std::uint32_t mintime;
  ValueSlots slots;
};

/// The sessions of one address: `slots` has the ports of a destination, or the applications of a
/// source.
struct IpStat : FlowStat {
  std::uint32_t ip;  ///< network order, as it came
};

/// The sessions of one domain name.
struct DnsStat : FlowStat {
  std::uint32_t http20x;  ///< sessions by the class of their HTTP status
  std::uint32_t http30x;
  std::uint32_t http40x;
  std::uint32_t http50x;
  NameKey<32> name;
};

}  // namespace qsvmon
