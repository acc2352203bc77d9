#pragma once

#include <cstddef>
#include <cstdint>

#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/endpoints.h"
#include "format/address.h"
#include "format/byte_order.h"
#include "format/row_text.h"
#include "format/time.h"
#include "pools/desc_pools.h"

/// The members and cells that the three session lists have in common. They are inlined into the
/// lists' rows, which takes 4 of the 96 ns of an FTP row.
namespace qsvmon {

/// At least what the members of all lists take together, labels of AddressLabel::kMostBytes bytes
/// included.
constexpr std::size_t kSharedRowBytes = 512;

/// "src_ip" to "dst_port", without a comma in front.
inline void print_endpoints(RowText& row, const Endpoints& endpoints) {
  row.put("\"src_ip\":\"", Ipv4Text{from_net32(endpoints.src_net)},
          "\",\"src_port\":", from_net16(endpoints.sport_net), ",\"dst_ip\":\"",
          Ipv4Text{from_net32(endpoints.dst_net)},
          "\",\"dst_port\":", from_net16(endpoints.dport_net));
}

/// ,"mac"
inline void print_mac(RowText& row, const Endpoints& endpoints) {
  row.put(",\"mac\":\"", MacText{endpoints.mac}, "\"");
}

/// ,"req_time" and ,"time"
inline void print_request_time(RowText& row, std::uint32_t seconds) {
  row.put(",\"req_time\":\"", LocalTimeText{seconds}, "\",\"time\":", seconds);
}

/// The labels of a row, made before anything of it is printed.
struct EndpointLabels {
  explicit EndpointLabels(const Endpoints& endpoints)
      : src(endpoints.src_net), dst(endpoints.dst_net), mac(endpoints.mac) {}
  AddressLabel src;
  AddressLabel dst;
  AddressLabel mac;
};

/// ,"srcip_desc" ,"dstip_desc" and ,"ipmac_desc"
inline void print_labels(RowText& row, const EndpointLabels& labels) {
  row.put(",\"srcip_desc\":\"", labels.src, "\",\"dstip_desc\":\"", labels.dst,
          "\",\"ipmac_desc\":\"", labels.mac, "\"");
}

/// The two addresses and ports, four cells. The ports are written as passed: the mail list
/// shows them in network order, the others in host order.
inline void csv_endpoints(CsvSheet& sheet, const Endpoints& endpoints, std::uint16_t sport,
                          std::uint16_t dport) {
  csv_text(sheet, Ipv4Text{from_net32(endpoints.src_net)});
  csv_number(sheet, sport);
  csv_text(sheet, Ipv4Text{from_net32(endpoints.dst_net)});
  csv_number(sheet, dport);
}

}  // namespace qsvmon
