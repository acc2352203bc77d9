#include "commands/tcpreset/reset_query.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <string_view>

namespace qsvmon {
namespace {

template <class Stat>
struct SortKey {
  std::string_view word;
  std::uint32_t Stat::*counter;
};

constexpr SortKey<IpStat> kIpSortKeys[] = {
    {"flowcnt", &IpStat::flowcnt}, {"http", &IpStat::http},       {"https", &IpStat::https},
    {"mintime", &IpStat::mintime}, {"maxtime", &IpStat::maxtime},
};
constexpr SortKey<DnsStat> kDnsSortKeys[] = {
    {"flowcnt", &DnsStat::flowcnt}, {"http", &DnsStat::http},       {"https", &DnsStat::https},
    {"mintime", &DnsStat::mintime}, {"maxtime", &DnsStat::maxtime}, {"http20x", &DnsStat::http20x},
    {"http30x", &DnsStat::http30x}, {"http40x", &DnsStat::http40x}, {"http50x", &DnsStat::http50x},
};

Status parse_row_range(const char* text, PageRange& rows) {
  std::uint32_t first;
  if (std::sscanf(text, "%u-%u", &first, &rows.end) < 2) return Status::error("INVALID_ROW");
  rows.start = std::max(first, 1U) - 1;
  return Status::good();
}

/// `asc` is what "order=asc" means to the listing; "order=desc" is the other way round.
Direction parse_order(std::string_view text, Direction asc, Direction present) {
  if (text == "asc") return asc;
  if (text != "desc") return present;
  return asc == Direction::kSmallestFirst ? Direction::kLargestFirst : Direction::kSmallestFirst;
}

/// Reads one of the words "row=", "filter=", "order=" and "sort=".
template <class Stat>
Status parse_stat_word(const char* word, std::span<const SortKey<Stat>> keys, Direction asc,
                       StatQuery<Stat>& query) {
  if (const char* text = after_prefix(word, "row=")) return parse_row_range(text, query.rows);
  if (const char* text = after_prefix(word, "filter=")) {
    query.filter = text;
  } else if (const char* order = after_prefix(word, "order=")) {
    query.direction = parse_order(order, asc, query.direction);
  } else if (const char* sort = after_prefix(word, "sort=")) {
    for (const SortKey<Stat>& key : keys) {
      if (key.word == sort) query.counter = key.counter;
    }
  }
  return Status::good();
}

}  // namespace

Status parse_ip_query(Words words, IpQuery& query) {
  for (const char* word : words) {
    const std::string_view text(word);
    if (text == "type=dst") {
      query.side = IpSide::kDst;
    } else if (text == "type=src") {
      query.side = IpSide::kSrc;
    } else if (Status s =
                   parse_stat_word<IpStat>(word, kIpSortKeys, Direction::kLargestFirst, query);
               !s.ok()) {
      return s;
    }
  }
  return Status::good();
}

Status parse_dns_query(Words words, DnsQuery& query) {
  for (const char* word : words) {
    if (Status s = parse_stat_word<DnsStat>(word, kDnsSortKeys, Direction::kSmallestFirst, query);
        !s.ok()) {
      return s;
    }
  }
  return Status::good();
}

}  // namespace qsvmon
