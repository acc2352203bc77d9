#include "commands/tcpreset/dns_print.h"

#include <string_view>

#include "commands/tcpreset/flow_print.h"
#include "commands/tcpreset/row_page.h"

namespace qsvmon {

void print_dns_row(Printer& out, const DnsStat& stat) {
  out.put("{\"dns\":\"", stat.name.text(), "\",");
  print_counters(out, stat);
  out.put(",\"http20x\":", stat.http20x, ",\"http30x\":", stat.http30x,
          ",\"http40x\":", stat.http40x, ",\"http50x\":", stat.http50x);
  print_ports(out, stat.slots);
  out.put('}');
}

void print_dns_page(Printer& out, const DnsFold& fold, const DnsQuery& query) {
  RowOrder order(fold.size());
  order.sort([&](std::uint32_t number) { return fold[number].*query.counter; }, query.sorting());
  const std::string_view filter = query.filter == nullptr ? "" : query.filter;
  print_page(
      out, fold, order, query.rows, !filter.empty(),  // every text contains the empty one
      [&](const DnsStat& stat) { print_dns_row(out, stat); },
      [&](const DnsStat& stat) { return stat.name.text().find(filter) != std::string_view::npos; });
}

}  // namespace qsvmon
