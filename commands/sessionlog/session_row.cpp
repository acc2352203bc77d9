#include "commands/sessionlog/session_row.h"

#include <cstring>

#include "format/address.h"
#include "format/byte_order.h"
#include "format/time.h"
#include "pools/desc_pools.h"

namespace qsvmon {
namespace {

constexpr int kDescFamilyIpv4 = 4;  // any value but kDescFamilyMac

void print_label(Printer& out, std::string_view member, const void* address, int family) {
  char label[1024];
  const char* text = desc_lookup(address, family, label, sizeof label);
  out.put(member, text == nullptr ? std::string_view() : std::string_view(text), '"');
}

}  // namespace

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

void print_labels(Printer& out, const SessionEnds& ends) {
  print_label(out, ",\"srcip_desc\":\"", &ends.src_net, kDescFamilyIpv4);
  print_label(out, ",\"dstip_desc\":\"", &ends.dst_net, kDescFamilyIpv4);
  print_label(out, ",\"ipmac_desc\":\"", ends.mac, kDescFamilyMac);
}

void csv_ends(CsvSheet& sheet, const SessionEnds& ends, std::uint16_t sport, std::uint16_t dport) {
  csv_text(sheet, Ipv4Text{from_net32(ends.src_net)});
  csv_number(sheet, sport);
  csv_text(sheet, Ipv4Text{from_net32(ends.dst_net)});
  csv_number(sheet, dport);
}

std::string_view field_text(const char* field, std::size_t width) {
  return {field, ::strnlen(field, width)};
}

}  // namespace qsvmon
