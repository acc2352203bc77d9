#pragma once

#include <cstdint>

#include "commands/tcpreset/reset_record.h"

namespace qsvmon {

/// Eight places for ports or application ids. A value goes to the place of its remainder modulo 8
/// and replaces what is there, so at most one value of each remainder is kept: the last seen.
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

/// Counts a record in, but for its slot.
/// KEEP: a `mintime` of 0 counts as unset, so a session of time 0 gives way to the next record.
inline void count_flow(FlowStat& stat, const ResetRecord& record) {
  const std::uint32_t time = record.time_secs;
  stat.flowcnt += 1;
  if (time > stat.maxtime) stat.maxtime = time;
  if (time < stat.mintime || stat.mintime == 0) stat.mintime = time;
  const std::uint32_t traffic = record.traffic_class();
  stat.http += traffic == kClassHttp;
  stat.https += traffic == kClassHttps;
}

/// KEEP: the place is taken from the port as it came, in network order, while the value is the
/// port in host order; which ports survive in a row depends on it.
inline void put_port(ValueSlots& slots, const ResetRecord& record) {
  const std::uint16_t raw = record.dport_net;
  slots.put(raw % 8u, from_net16(raw));
}

}  // namespace qsvmon
