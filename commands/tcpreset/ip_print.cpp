#include "commands/tcpreset/ip_print.h"

#include <string_view>

#include "commands/tcpreset/flow_print.h"
#include "commands/tcpreset/row_page.h"
#include "format/address.h"
#include "format/byte_order.h"
#include "rpc/dict.h"

namespace qsvmon {

namespace {

void print_apps(Printer& out, const ValueSlots& slots) {
  out.put(",\"app\":\"");
  print_slots(out, slots,
              [&](std::uint16_t id) { out.put(dict_appname(id), '|', dict_appcname(id)); });
  out.put('"');
}

bool address_contains(const IpStat& stat, std::string_view text) {
  char address[kIpv4TextBytes];
  const char* end = format_ipv4(address, from_net32(stat.ip));
  return std::string_view(address, static_cast<std::size_t>(end - address)).find(text) !=
         std::string_view::npos;
}

}  // namespace

void print_ip_row(Printer& out, const IpStat& stat, IpSide side) {
  out.put("{\"ip\":\"", Ipv4Text{from_net32(stat.ip)}, "\",");
  print_counters(out, stat);
  if (side == IpSide::kSrc) {
    print_apps(out, stat.slots);
  } else {
    print_ports(out, stat.slots);
  }
  out.put('}');
}

void print_ip_page(Printer& out, const IpFold& fold, const IpQuery& query) {
  RowOrder order(fold.size());
  order.sort([&](std::uint32_t number) { return fold[number].*query.counter; }, query.sorting());
  const std::string_view filter = query.filter == nullptr ? "" : query.filter;
  print_page(
      out, fold, order, query.rows, !filter.empty(),  // every text contains the empty one
      [&](const IpStat& stat) { print_ip_row(out, stat, query.side); },
      [&](const IpStat& stat) { return address_contains(stat, filter); });
}

}  // namespace qsvmon
