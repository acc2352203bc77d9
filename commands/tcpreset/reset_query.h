#pragma once

#include <cstdint>

#include "commands/listing/row_order.h"
#include "commands/listing/row_page.h"
#include "commands/tcpreset/reset_stat.h"
#include "format/status.h"
#include "rpc/words.h"

namespace qsvmon {

/// What the address and the name listing are asked for alike. `Stat` is a row's type.
template <class Stat>
struct StatQuery {
  RowRange rows;
  const char* filter = nullptr;            ///< text that a row's key contains; null for all
  std::uint32_t Stat::*counter = nullptr;  ///< what to sort by; null as first seen
  Direction direction = Direction::kFirstSeen;

  /// Without a counter or without a direction all rows are equal.
  Direction sorting() const { return counter == nullptr ? Direction::kFirstSeen : direction; }
};

/// What `tcpreset listip` is asked for. `filter` points into the words.
struct IpQuery : StatQuery<IpStat> {
  IpSide side = IpSide::kDst;
};

/// What `tcpreset listdns` is asked for. `filter` points into the words.
using DnsQuery = StatQuery<DnsStat>;

/// Both read the words; the last of a kind counts, unknown ones are the daemon's, and so are
/// unknown directions and keys. "row=" is "first-last" as sscanf's "%u-%u" takes it (blanks before
/// a number, a sign and text behind pass); INVALID_ROW where two numbers are not found, wherever it
/// stands. KEEP: for addresses "order=asc" shows the largest counter first and "order=desc" the
/// smallest, for names it is the other way round; the web front end sends the words so.
Status parse_ip_query(Words words, IpQuery& query);
Status parse_dns_query(Words words, DnsQuery& query);

/// The order in which a fold's rows are shown.
template <class Fold, class Stat>
RowOrder sorted_rows(const Fold& fold, const StatQuery<Stat>& query) {
  return sorted_rows(
      fold, [&](const Stat& stat) { return stat.*query.counter; }, query.sorting());
}

}  // namespace qsvmon
