#pragma once

#include <cstdint>
#include <string_view>

#include "commands/listing/page.h"
#include "commands/listing/row_order.h"
#include "commands/tcpreset/reset_stat.h"
#include "format/status.h"
#include "rpc/words.h"

namespace qsvmon {

/// What the words of the address and of the name listing can both ask for. `Stat` is a row's type.
template <class Stat>
struct StatQuery {
  PageRange rows;                          ///< among those that pass the filter
  std::string_view filter;                 ///< text that a row's key contains; empty for all
  std::uint32_t Stat::*counter = nullptr;  ///< what to sort by; null as first seen
  Direction direction = Direction::kFirstSeen;

  /// How many rows of the order can lie on the page: with a filter any may.
  std::uint32_t most_rows() const { return !filter.empty() ? RowOrder::kAllRows : rows.end; }
  /// Without a counter or without a direction all rows are equal.
  Direction sorting() const { return counter == nullptr ? Direction::kFirstSeen : direction; }
};

/// What `tcpreset listip` is asked for. `filter` points into the words.
struct IpQuery : StatQuery<IpStat> {
  IpSide side = IpSide::kDst;
};

/// What `tcpreset listdns` is asked for. `filter` points into the words.
using DnsQuery = StatQuery<DnsStat>;

/// Read `words` into `query`. A later word of a kind overrides an earlier one. Unknown words are
/// ignored, as the daemon may know them; so are unknown values of "order=" and "sort=". "row=" is
/// "first-last", both on the page and counted from 1, as sscanf reads "%u-%u": blanks and a sign
/// before a number and text behind the second are accepted. Any "row=" without two numbers, even an
/// overridden one, fails with INVALID_ROW. KEEP: for addresses "order=asc" shows the largest
/// counter first and "order=desc" the smallest, for names it is the other way round; the web front
/// end sends the words so.
Status parse_ip_query(Words words, IpQuery& query);
Status parse_dns_query(Words words, DnsQuery& query);

/// The order in which the rows of a fold are shown.
template <class Fold, class Stat>
RowOrder sorted_rows(const Fold& fold, const StatQuery<Stat>& query) {
  return RowOrder(fold, query.counter, query.sorting(), query.most_rows());
}

}  // namespace qsvmon
