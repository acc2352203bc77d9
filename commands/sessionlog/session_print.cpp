#include "commands/sessionlog/session_print.h"

#include "format/address.h"
#include "format/byte_order.h"
#include "format/time.h"

namespace qsvmon {

void print_endpoints(RowText& row, const Endpoints& endpoints) {
  row.put("\"src_ip\":\"", Ipv4Text{from_net32(endpoints.src_net)},
          "\",\"src_port\":", from_net16(endpoints.sport_net), ",\"dst_ip\":\"",
          Ipv4Text{from_net32(endpoints.dst_net)},
          "\",\"dst_port\":", from_net16(endpoints.dport_net));
}

void print_mac(RowText& row, const Endpoints& endpoints) {
  row.put(",\"mac\":\"", MacText{endpoints.mac}, "\"");
}

void print_request_time(RowText& row, std::uint32_t seconds) {
  row.put(",\"req_time\":\"", LocalTimeText{seconds}, "\",\"time\":", seconds);
}

void print_labels(RowText& row, const EndpointLabels& labels) {
  row.put(",\"srcip_desc\":\"", labels.src, "\",\"dstip_desc\":\"", labels.dst,
          "\",\"ipmac_desc\":\"", labels.mac, "\"");
}

void csv_endpoints(CsvSheet& sheet, const Endpoints& endpoints, std::uint16_t sport,
                   std::uint16_t dport) {
  csv_text(sheet, Ipv4Text{from_net32(endpoints.src_net)});
  csv_number(sheet, sport);
  csv_text(sheet, Ipv4Text{from_net32(endpoints.dst_net)});
  csv_number(sheet, dport);
}

}  // namespace qsvmon
