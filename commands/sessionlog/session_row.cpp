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

EndLabels labels_of(const SessionEnds& ends, LabelCache& cache) {
  const EndLabels labels{cache.of_ipv4(ends.src_net), cache.of_ipv4(ends.dst_net),
                         cache.of_mac(ends.mac)};
  __builtin_prefetch(labels.src);
  __builtin_prefetch(labels.dst);
  __builtin_prefetch(labels.mac);
  return labels;
}

void print_labels(Printer& out, const EndLabels& labels) {
  out.put(",\"srcip_desc\":\"", labels.src, "\",\"dstip_desc\":\"", labels.dst,
          "\",\"ipmac_desc\":\"", labels.mac, '"');
}

void csv_ends(CsvSheet& sheet, const SessionEnds& ends, std::uint16_t sport, std::uint16_t dport) {
  csv_text(sheet, Ipv4Text{from_net32(ends.src_net)});
  csv_number(sheet, sport);
  csv_text(sheet, Ipv4Text{from_net32(ends.dst_net)});
  csv_number(sheet, dport);
}

}  // namespace qsvmon
