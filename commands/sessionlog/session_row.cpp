#include "commands/sessionlog/session_row.h"

#include <cstring>

#include "format/address.h"
#include "format/byte_order.h"
#include "format/time.h"

namespace qsvmon {

void print_ends(Printer& out, const SessionEnds& ends) {
  out.put("\"src_ip\":\"", Ipv4Text{from_net32(ends.src_net)},
          "\",\"src_port\":", from_net16(ends.sport_net), ",\"dst_ip\":\"",
          Ipv4Text{from_net32(ends.dst_net)}, "\",\"dst_port\":", from_net16(ends.dport_net));
}

void print_mac(Printer& out, const SessionEnds& ends) {
  out.put(",\"mac\":\"", MacText{ends.mac}, '"');
}

void print_request_time(Printer& out, std::uint32_t seconds) {
  out.put(",\"req_time\":\"", LocalTimeText{seconds}, "\",\"time\":", seconds);
}

void print_labels(Printer& out, const SessionEnds& ends, LabelCache& labels) {
  out.put(",\"srcip_desc\":\"", labels.of_ipv4(ends.src_net));
  out.put("\",\"dstip_desc\":\"", labels.of_ipv4(ends.dst_net));
  out.put("\",\"ipmac_desc\":\"", labels.of_mac(ends.mac), '"');
}

void csv_ends(CsvSheet& sheet, const SessionEnds& ends, std::uint16_t sport, std::uint16_t dport) {
  csv_text(sheet, Ipv4Text{from_net32(ends.src_net)});
  csv_number(sheet, sport);
  csv_text(sheet, Ipv4Text{from_net32(ends.dst_net)});
  csv_number(sheet, dport);
}

}  // namespace qsvmon
