#pragma once

#include "commands/tcpreset/dns_query.h"
#include "format/printer.h"

namespace qsvmon {

/// Prints one name with its braces. The name's bytes go out as they are.
void print_dns_row(Printer& out, const DnsStat& stat);

/// Sorts the names as the query says and prints the page it asks for, without a newline. The total
/// counts all names that contain the filter.
void print_dns_page(Printer& out, const DnsFold& fold, const DnsQuery& query);

}  // namespace qsvmon
