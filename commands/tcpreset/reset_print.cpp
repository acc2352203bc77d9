#include "commands/tcpreset/reset_print.h"

#include <bit>
#include <cstddef>
#include <string_view>

#include "commands/listing/row_page.h"
#include "format/address.h"
#include "format/byte_order.h"
#include "format/number.h"
#include "format/time.h"
#include "rpc/dict.h"

namespace qsvmon {
namespace {

/// More than a row takes without the application names: a name, nine counters, eight ports.
constexpr std::size_t kRowBytes = 512;

/// Calls `print_value` with the values of the slots in use and `print_comma` between them.
template <class PrintValue, class PrintComma>
void print_slots(const ValueSlots& slots, PrintValue&& print_value, PrintComma&& print_comma) {
  for (unsigned rest = slots.used; rest != 0;) {
    print_value(slots.value[std::countr_zero(rest)]);
    rest &= rest - 1;
    if (rest != 0) print_comma();
  }
}

void print_ports(RowText& row, const ValueSlots& slots) {
  row.put(",\"port\":\"");
  print_slots(
      slots, [&](std::uint16_t port) { row.put(port); }, [&] { row.put(","); });
  row.put("\"");
}

/// The names have no bound, and so no place in a RowText.
void print_apps(Printer& out, const ValueSlots& slots) {
  out.put(",\"app\":\"");
  print_slots(
      slots, [&](std::uint16_t id) { out.put(dict_appname(id), '|', dict_appcname(id)); },
      [&] { out.put(','); });
  out.put('"');
}

bool address_contains(const IpStat& stat, std::string_view text) {
  char address[kIpv4TextBytes];
  const char* end = format_ipv4(address, from_net32(stat.ip));
  return std::string_view(address, static_cast<std::size_t>(end - address)).find(text) !=
         std::string_view::npos;
}

}  // namespace

void print_counters(RowText& row, const FlowStat& stat) {
  row.put("\"flowcnt\":", stat.flowcnt, ",\"http\":", stat.http, ",\"https\":\"", stat.https,
          "\",\"maxtime\":", stat.maxtime, ", \"mintime\":", stat.mintime);
}

void print_ip_row(Printer& out, const IpStat& stat, IpSide side) {
  {
    RowText row(out, kRowBytes);
    row.put("{\"ip\":\"", Ipv4Text{from_net32(stat.ip)}, "\",");
    print_counters(row, stat);
    if (side == IpSide::kDst) print_ports(row, stat.slots);
  }
  if (side == IpSide::kSrc) print_apps(out, stat.slots);
  out.put('}');
}

void print_dns_row(Printer& out, const DnsStat& stat) {
  RowText row(out, kRowBytes);
  row.put("{\"dns\":\"", stat.name, "\",");
  print_counters(row, stat);
  row.put(",\"http20x\":", stat.http20x, ",\"http30x\":", stat.http30x,
          ",\"http40x\":", stat.http40x, ",\"http50x\":", stat.http50x);
  print_ports(row, stat.slots);
  row.put("}");
}

void print_ip_page(Printer& out, const IpFold& fold, const RowOrder& order, const IpQuery& query) {
  print_page(
      out, fold, order, {.rows = query.rows, .total = "total", .filtered = !query.filter.empty()},
      [&](const IpStat& stat) { print_ip_row(out, stat, query.side); },
      [&](const IpStat& stat) { return address_contains(stat, query.filter); });
}

void print_dns_page(Printer& out, const DnsFold& fold, const RowOrder& order,
                    const DnsQuery& query) {
  print_page(
      out, fold, order, {.rows = query.rows, .total = "total", .filtered = !query.filter.empty()},
      [&](const DnsStat& stat) { print_dns_row(out, stat); },
      [&](const DnsStat& stat) {
        return stat.name.text().find(query.filter) != std::string_view::npos;
      });
}

char* write_value(char* at, Hundredths metric) {
  at = write_decimal(at, metric.value / 100);
  if (metric.value == 0) return at;
  *at++ = '.';
  return write_two_digits(at, metric.value % 100);
}

void print_plain_line(Printer& out, const ResetRecord& record) {
  const std::uint32_t time = record.time_secs;
  const auto app = static_cast<std::uint16_t>(record.app_id());
  out.put(time, ' ', LocalTimeText{time}, ' ', dict_appname(app), ' ', dict_appcname(app), ' ');
  out.put(from_net32(record.src_net), ' ', from_net16(record.sport_net), ' ',
          from_net32(record.dst_net), ' ', from_net16(record.dport_net), ' ');
  // KEEP: this order is the appliance's (see reset_print.h), not that of the bits.
  out.put(Hundredths{record.metric(20)}, ' ', Hundredths{record.metric(40)}, ' ',
          Hundredths{record.metric(0)}, ' ');
  out.put(+record.val1, ' ', +record.val2, ' ', +record.val3, ' ');
  const std::string_view name = record.domain();
  out.put(name.empty() ? "NULL" : name);
  if (const std::uint32_t status = record.http_status(); status != 0) out.put('|', status);
  out.put('\n');
}

}  // namespace qsvmon
