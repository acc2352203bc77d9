#include "commands/tcpreset/ip_query.h"

namespace qsvmon {

namespace {

constexpr SortKey<IpStat> kIpSortKeys[] = {
    {"flowcnt", &IpStat::flowcnt}, {"http", &IpStat::http},       {"https", &IpStat::https},
    {"mintime", &IpStat::mintime}, {"maxtime", &IpStat::maxtime},
};
constexpr OrderWords kIpOrders = {.asc = Direction::kLargestFirst,
                                  .desc = Direction::kSmallestFirst};

}  // namespace

Status parse_ip_query(Words words, IpQuery& query) {
  for (const char* word : words) {
    const std::string_view text(word);
    if (text == "type=dst") {
      query.side = IpSide::kDst;
    } else if (text == "type=src") {
      query.side = IpSide::kSrc;
    } else if (Status s = parse_stat_word<IpStat>(word, kIpSortKeys, kIpOrders, query); !s.ok()) {
      return s;
    }
  }
  return Status::good();
}

}  // namespace qsvmon
