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

/// ,"srcip_desc" ,"dstip_desc" and ,"ipmac_desc": the labels of both addresses and the MAC, "" for
/// one without a label.
void print_labels(Printer& out, const SessionEnds& ends, LabelCache& labels);

/// The two addresses and ports, four cells. The ports are written as they are handed over.
void csv_ends(CsvSheet& sheet, const SessionEnds& ends, std::uint16_t sport, std::uint16_t dport);

}  // namespace qsvmon
