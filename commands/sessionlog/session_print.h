#pragma once

#include <cstdint>
#include <string_view>

#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/endpoints.h"
#include "commands/sessionlog/label_cache.h"
#include "format/printer.h"

/// The members and cells that the three session lists have in common.
namespace qsvmon {

/// "src_ip" to "dst_port", without a comma in front.
void print_endpoints(Printer& out, const Endpoints& endpoints);

/// ,"mac"
void print_mac(Printer& out, const Endpoints& endpoints);

/// ,"req_time" and ,"time"
void print_request_time(Printer& out, std::uint32_t seconds);

/// The labels of both addresses and the MAC, "" for one without a label; see LabelCache.
struct EndpointLabels {
  const char* src;
  const char* dst;
  const char* mac;
};

/// Looks the labels up. Their texts lie anywhere in the pools and are under way from memory when
/// this returns: best called some time before they are printed.
EndpointLabels labels_of(const Endpoints& endpoints, LabelCache& cache);

/// ,"srcip_desc" ,"dstip_desc" and ,"ipmac_desc"
void print_labels(Printer& out, const EndpointLabels& labels);

/// The two addresses and ports, four cells. The ports are written as they are handed over.
void csv_endpoints(CsvSheet& sheet, const Endpoints& endpoints, std::uint16_t sport,
                   std::uint16_t dport);

}  // namespace qsvmon
