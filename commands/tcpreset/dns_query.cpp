#include "commands/tcpreset/dns_query.h"

namespace qsvmon {

namespace {

constexpr SortKey<DnsStat> kDnsSortKeys[] = {
    {"flowcnt", &DnsStat::flowcnt}, {"http", &DnsStat::http},       {"https", &DnsStat::https},
    {"mintime", &DnsStat::mintime}, {"maxtime", &DnsStat::maxtime}, {"http20x", &DnsStat::http20x},
    {"http30x", &DnsStat::http30x}, {"http40x", &DnsStat::http40x}, {"http50x", &DnsStat::http50x},
};
constexpr OrderWords kDnsOrders = {.asc = Direction::kSmallestFirst,
                                   .desc = Direction::kLargestFirst};

}  // namespace

Status parse_dns_query(Words words, DnsQuery& query) {
  for (const char* word : words) {
    if (Status s = parse_stat_word<DnsStat>(word, kDnsSortKeys, kDnsOrders, query); !s.ok()) {
      return s;
    }
  }
  return Status::good();
}

}  // namespace qsvmon
