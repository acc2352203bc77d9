#include "commands/sessionlog/session_print.h"

#include <cstring>

#include "format/address.h"
#include "format/byte_order.h"
#include "format/time.h"

namespace qsvmon {

void print_endpoints(Printer& out, const Endpoints& endpoints) {
  out.put("\"src_ip\":\"", Ipv4Text{from_net32(endpoints.src_net)},
          "\",\"src_port\":", from_net16(endpoints.sport_net), ",\"dst_ip\":\"",
          Ipv4Text{from_net32(endpoints.dst_net)},
          "\",\"dst_port\":", from_net16(endpoints.dport_net));
}

void print_mac(Printer& out, const Endpoints& endpoints) {
  out.put(",\"mac\":\"", MacText{endpoints.mac}, '"');
}

void print_request_time(Printer& out, std::uint32_t seconds) {
  out.put(",\"req_time\":\"", LocalTimeText{seconds}, "\",\"time\":", seconds);
}

EndpointLabels labels_of(const Endpoints& endpoints, LabelCache& cache) {
  const EndpointLabels labels{cache.of_ipv4(endpoints.src_net), cache.of_ipv4(endpoints.dst_net),
                              cache.of_mac(endpoints.mac)};
  __builtin_prefetch(labels.src);
  __builtin_prefetch(labels.dst);
  __builtin_prefetch(labels.mac);
  return labels;
}

void print_labels(Printer& out, const EndpointLabels& labels) {
  out.put(",\"srcip_desc\":\"", labels.src, "\",\"dstip_desc\":\"", labels.dst,
          "\",\"ipmac_desc\":\"", labels.mac, '"');
}

void csv_endpoints(CsvSheet& sheet, const Endpoints& endpoints, std::uint16_t sport,
                   std::uint16_t dport) {
  csv_text(sheet, Ipv4Text{from_net32(endpoints.src_net)});
  csv_number(sheet, sport);
  csv_text(sheet, Ipv4Text{from_net32(endpoints.dst_net)});
  csv_number(sheet, dport);
}

}  // namespace qsvmon
