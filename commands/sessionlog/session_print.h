#pragma once

#include <cstddef>
#include <cstdint>

#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/endpoints.h"
#include "format/row_text.h"
#include "pools/desc_pools.h"

/// The members and cells that the three session lists have in common.
namespace qsvmon {

/// At least what the members of all lists take together, labels of kLabelRoom bytes included.
constexpr std::size_t kSharedRowBytes = 512;

/// "src_ip" to "dst_port", without a comma in front.
void print_endpoints(RowText& row, const Endpoints& endpoints);

/// ,"mac"
void print_mac(RowText& row, const Endpoints& endpoints);

/// ,"req_time" and ,"time"
void print_request_time(RowText& row, std::uint32_t seconds);

/// The labels of a row, made before anything of it is printed.
struct EndpointLabels {
  explicit EndpointLabels(const Endpoints& endpoints)
      : src(endpoints.src_net), dst(endpoints.dst_net), mac(endpoints.mac) {}
  AddressLabel src;
  AddressLabel dst;
  MacLabel mac;
};

/// ,"srcip_desc" ,"dstip_desc" and ,"ipmac_desc"
void print_labels(RowText& row, const EndpointLabels& labels);

/// The two addresses and ports, four cells. The ports are written as passed: the mail list
/// shows them in network order, the others in host order.
void csv_endpoints(CsvSheet& sheet, const Endpoints& endpoints, std::uint16_t sport,
                   std::uint16_t dport);

}  // namespace qsvmon
