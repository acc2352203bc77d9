#pragma once

#include "commands/tcpreset/flow_stat.h"
#include "format/printer.h"

namespace qsvmon {

/// Prints the counters that every row has, from "flowcnt" on.
/// KEEP: https is a quoted string and a blank stands before "mintime"; the front end expects both.
inline void print_counters(Printer& out, const FlowStat& stat) {
  out.put("\"flowcnt\":", stat.flowcnt, ",\"http\":", stat.http, ",\"https\":\"", stat.https,
          "\",\"maxtime\":", stat.maxtime, ", \"mintime\":", stat.mintime);
}

/// Prints the values of the slots in use with `print_value`, separated by commas.
template <class PrintValue>
void print_slots(Printer& out, const ValueSlots& slots, PrintValue&& print_value) {
  bool comma = false;
  for (unsigned place = 0; place < 8; ++place) {
    if ((slots.used >> place & 1) == 0) continue;
    if (comma) out.put(',');
    comma = true;
    print_value(slots.value[place]);
  }
}

/// Prints the member with a row's ports.
inline void print_ports(Printer& out, const ValueSlots& slots) {
  out.put(",\"port\":\"");
  print_slots(out, slots, [&](std::uint16_t port) { out.put(port); });
  out.put('"');
}

}  // namespace qsvmon
