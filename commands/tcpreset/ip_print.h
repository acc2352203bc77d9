#pragma once

#include "commands/tcpreset/ip_query.h"
#include "format/printer.h"

namespace qsvmon {

/// Prints one address with its braces; `side` says what its slots hold.
void print_ip_row(Printer& out, const IpStat& stat, IpSide side);

/// Sorts the addresses as the query says and prints the page it asks for, without a newline. The
/// total counts all addresses whose text contains the filter.
void print_ip_page(Printer& out, const IpFold& fold, const IpQuery& query);

}  // namespace qsvmon
