#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/label_cache.h"
#include "format/printer.h"

/// The members and cells that the three session lists have in common.
namespace qsvmon {

/// Who talked to whom: addresses and ports in network order, as the records have them.
struct SessionEnds {
  std::uint32_t src_net;
  std::uint32_t dst_net;
  std::uint16_t sport_net;
  std::uint16_t dport_net;
  std::uint8_t mac[6];  ///< the client's
};

/// "src_ip" to "dst_port", without a comma in front.
void print_ends(Printer& out, const SessionEnds& ends);

/// ,"mac"
void print_mac(Printer& out, const SessionEnds& ends);

/// ,"req_time" and ,"time"
void print_request_time(Printer& out, std::uint32_t seconds);

/// The labels of both addresses and the MAC, "" for one without a label; see LabelCache.
struct EndLabels {
  const char* src;
  const char* dst;
  const char* mac;
};

/// Looks the labels up. Their texts lie anywhere in the pools and are under way from memory when
/// this returns: best called some time before they are printed.
EndLabels labels_of(const SessionEnds& ends, LabelCache& cache);

/// ,"srcip_desc" ,"dstip_desc" and ,"ipmac_desc"
void print_labels(Printer& out, const EndLabels& labels);

/// The two addresses and ports, four cells. The ports are written as they are handed over.
void csv_ends(CsvSheet& sheet, const SessionEnds& ends, std::uint16_t sport, std::uint16_t dport);

}  // namespace qsvmon
