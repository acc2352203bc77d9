// Any bytes as reset-session records through both folds, the sorts and all three printers. The
// first byte chooses the query; the records begin at an odd address, as they may in the area.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "commands/tcpreset/reset_fold.h"
#include "commands/tcpreset/reset_print.h"
#include "commands/tcpreset/reset_query.h"

namespace {

using namespace qsvmon;

constexpr std::uint32_t IpStat::*kIpCounters[] = {nullptr, &IpStat::flowcnt, &IpStat::maxtime};
constexpr std::uint32_t DnsStat::*kDnsCounters[] = {nullptr, &DnsStat::http20x, &DnsStat::mintime};
constexpr Direction kDirections[] = {Direction::kFirstSeen, Direction::kLargestFirst,
                                     Direction::kSmallestFirst};

template <class Query>
void choose(Query& query, unsigned choice) {
  query.direction = kDirections[choice % 3];
  if ((choice & 4) != 0) query.filter = "1";
  if ((choice & 8) != 0) query.rows = {.start = choice >> 4, .end = 20};
}

void require(bool holds) {
  if (!holds) std::abort();
}

/// Entries may not count more records than there are.
template <class Fold>
void check_counts(const Fold& fold, std::size_t records) {
  std::size_t sum = 0;
  for (std::uint32_t i = 0; i < fold.size(); ++i) sum += fold[i].flowcnt;
  require(sum <= records && fold.size() <= records);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // A copy of exactly these bytes, so that a read behind them is seen.
  const std::vector<std::uint8_t> bytes(data, data + size);
  const std::span<const ResetRecord> records(reinterpret_cast<const ResetRecord*>(bytes.data() + 1),
                                             (size - 1) / sizeof(ResetRecord));
  const unsigned choice = bytes[0];
  MemoryPrinter out;

  IpQuery ip_query;
  ip_query.side = (choice & 1) != 0 ? IpSide::kSrc : IpSide::kDst;
  ip_query.counter = kIpCounters[choice / 3 % 3];
  choose(ip_query, choice);
  IpFold ip_fold(ip_query.side);
  ip_fold.add(records);
  check_counts(ip_fold, records.size());
  print_ip_page(out, ip_fold, sorted_rows(ip_fold, ip_query), ip_query);

  DnsQuery dns_query;
  dns_query.counter = kDnsCounters[choice / 3 % 3];
  choose(dns_query, choice);
  DnsFold dns_fold;
  dns_fold.add(records);
  check_counts(dns_fold, records.size());
  print_dns_page(out, dns_fold, sorted_rows(dns_fold, dns_query), dns_query);

  for (const ResetRecord& record : records) print_plain_line(out, record);
  require(out.str().size() >= 2 * sizeof R"({"data":[],"total":0})" - 2);
  return 0;
}
