#pragma once

#include <cstdint>
#include <span>

#include "commands/tcpreset/reset_fold.h"
#include "commands/tcpreset/reset_query.h"
#include "commands/tcpreset/reset_record.h"
#include "format/printer.h"
#include "format/row_text.h"

namespace qsvmon {

/// Prints the counters that every row has, from "flowcnt" on.
/// KEEP: https is a quoted string and a blank stands before "mintime"; the front end expects both.
void print_counters(RowText& row, const FlowStat& stat);

/// Prints one address with its braces; `side` says what its slots hold.
void print_ip_row(Printer& out, const IpStat& stat, IpSide side);

/// Prints one name with its braces. The name's bytes go out as they are.
void print_dns_row(Printer& out, const DnsStat& stat);

/// Print the rows of `order` that lie on the query's page, without a newline. The total counts all
/// rows whose address or name contains the filter, on the page or not.
void print_ip_page(Printer& out, const IpFold& fold, const RowOrder& order, const IpQuery& query);
void print_dns_page(Printer& out, const DnsFold& fold, const RowOrder& order,
                    const DnsQuery& query);

/// A value in hundredths, printed with two decimals, or as "0" when it is 0.
struct Hundredths {
  static constexpr std::size_t kMostBytes = 11;
  std::uint32_t value;
};
char* write_value(char* at, Hundredths metric);

/// Prints one session as a line of text.
/// KEEP: addresses are decimal numbers, 1.2.3.4 as 16909060, and the three metrics stand in the
/// order of bits 20, 40 and 0; scripts split the line at its blanks and know both.
void print_plain_line(Printer& out, const ResetRecord& record);

/// Prints every session that it is given.
struct PlainPrint {
  Printer& out;
  void add(std::span<const ResetRecord> records) const {
    for (const ResetRecord& record : records) print_plain_line(out, record);
  }
};

}  // namespace qsvmon
