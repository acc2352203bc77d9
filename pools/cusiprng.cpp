#include "pools/cusiprng.h"

#include <cstddef>
#include <cstring>

#include "format/address.h"
#include "format/request_error.h"
#include "pools/config_file.h"
#include "pools/key_hash.h"
#include "pools/pool_holder.h"
#include "pools/text_field.h"

namespace qsvmon {
namespace {

constexpr int kSeenBits = 14;  // twice the ranges: probes stay short
constexpr std::uint32_t kSeenSlots = 1 << kSeenBits;

constexpr int kStripeBits = 11;
constexpr std::uint32_t kStripes = 1 << kStripeBits;

struct CusIpPool {
  std::int32_t count;
  std::uint32_t high_water;  ///< highest info slot used, 1-based
  bool unsorted;             ///< the last rows stand where they were appended
  bool unsurveyed;           ///< rows were stored since the last search
  bool disjoint;             ///< no address lies in two ranges: the stripes hold
  int stripe_shift;          ///< a stripe is 2 to the power of that many addresses
  /// Where the rows of each stripe begin, counted from the lowest `lo`.
  std::uint16_t stripes[kStripes + 1];
  CusIpRange ranges[kCusIpRanges];
  CusIpInfo infos[kCusIpRanges];
  std::uint64_t seen[kSeenSlots];    ///< the {lo, hi} of every row, hashed; 0 is free
  CusIpRange scratch[kCusIpRanges];  ///< for sorting
};

constinit PoolHolder<CusIpPool> holder;

/// Where the pair is in the table of pairs seen, or the free place where it belongs. A stored pair
/// is never 0, since its ends are not.
std::uint64_t* find_seen(CusIpPool& pool, std::uint64_t pair) {
  std::uint32_t at = key_bucket(pair, kSeenBits);
  while (pool.seen[at] != 0 && pool.seen[at] != pair) at = (at + 1) % kSeenSlots;
  return &pool.seen[at];
}

/// One stable distribution of the rows by 11 bits of `lo`.
void distribute(const CusIpRange* from, CusIpRange* to, std::size_t count, int shift) {
  constexpr std::uint32_t kDigits = 1 << 11;
  std::uint32_t starts[kDigits + 1] = {};
  for (std::size_t i = 0; i < count; ++i) ++starts[(from[i].lo >> shift) % kDigits + 1];
  for (std::uint32_t d = 1; d < kDigits; ++d) starts[d] += starts[d - 1];
  for (std::size_t i = 0; i < count; ++i) to[starts[(from[i].lo >> shift) % kDigits]++] = from[i];
}

/// Sorting once gives the table that sorting after every line would give.
void sort_rows(CusIpPool& pool) {
  const auto count = static_cast<std::size_t>(pool.count);
  distribute(pool.ranges, pool.scratch, count, 0);
  distribute(pool.scratch, pool.ranges, count, 11);
  distribute(pool.ranges, pool.scratch, count, 22);
  std::memcpy(pool.ranges, pool.scratch, count * sizeof(CusIpRange));
  pool.unsorted = false;
}

/// Divides the addresses from the lowest `lo` to the highest into stripes, so that a search starts
/// among a few rows.
void survey_rows(CusIpPool& pool) {
  if (pool.unsorted) sort_rows(pool);
  pool.unsurveyed = false;
  pool.disjoint = false;
  const CusIpRange* const rows = pool.ranges;
  const auto count = static_cast<std::uint32_t>(pool.count);
  for (std::uint32_t i = 1; i < count; ++i) {
    if (rows[i - 1].hi >= rows[i].lo) return;
  }
  pool.disjoint = true;
  pool.stripe_shift = 0;
  while ((rows[count - 1].lo - rows[0].lo) >> pool.stripe_shift >= kStripes) ++pool.stripe_shift;
  std::uint32_t row = 0;
  for (std::uint32_t stripe = 0; stripe <= kStripes; ++stripe) {
    while (row < count && (rows[row].lo - rows[0].lo) >> pool.stripe_shift < stripe) ++row;
    pool.stripes[stripe] = static_cast<std::uint16_t>(row);
  }
}

/// Rows, both ends inclusive; none when `high` < `low`.
struct RowSpan {
  std::int32_t low;
  std::int32_t high;
};

/// The rows to search for `ip`. KEEP: all of them where ranges overlap, since where the halving
/// begins decides which is met.
RowSpan rows_to_search(const CusIpPool& pool, std::uint32_t ip) {
  if (!pool.disjoint) return {0, pool.count - 1};
  if (ip < pool.ranges[0].lo) return {0, -1};
  const std::uint32_t wanted = (ip - pool.ranges[0].lo) >> pool.stripe_shift;
  const std::uint32_t stripe = wanted < kStripes ? wanted : kStripes - 1;
  // The row that begins before the stripe may reach into it.
  return {pool.stripes[stripe] == 0 ? 0 : pool.stripes[stripe] - 1, pool.stripes[stripe + 1] - 1};
}

/// Stores a range unless it is there already; the first definition wins.
void store(CusIpPool& pool, std::uint32_t lo, std::uint32_t hi, const CusIpInfo& texts) {
  const std::uint64_t pair = std::uint64_t{lo} << 32 | hi;
  std::uint64_t* const seen = find_seen(pool, pair);
  if (*seen == pair) return;
  *seen = pair;
  const auto row = static_cast<std::uint32_t>(pool.count++);
  // Every row has its slot and no slot is ever freed: the first free one is the row's own.
  pool.infos[row] = texts;
  pool.high_water = row + 1;
  pool.ranges[row] = {lo, hi, row + 1};
  if (row > 0 && pool.ranges[row - 1].lo > lo) pool.unsorted = true;
  pool.unsurveyed = true;
}

}  // namespace

int cusiprng_init(Pages pages) {
  return holder.renew(pages) == nullptr ? -1 : 0;
}

std::int32_t cusiprng_count() {
  return holder.get() == nullptr ? 0 : holder.get()->count;
}

void cusiprng_sort() {
  if (holder.get() != nullptr && holder.get()->unsurveyed) survey_rows(*holder.get());
}

const CusIpRange* cusiprng_find(std::uint32_t ip) {
  CusIpPool* const pool = holder.get();
  if (pool == nullptr || pool->count == 0) return nullptr;
  if (pool->unsurveyed) survey_rows(*pool);
  auto [low, high] = rows_to_search(*pool, ip);
  while (low <= high) {
    const std::int32_t mid = (low + high) / 2;
    const CusIpRange& range = pool->ranges[mid];
    if (ip < range.lo) {
      high = mid - 1;
    } else if (ip <= range.hi) {
      return &range;
    } else {
      low = mid + 1;
    }
  }
  return nullptr;
}

const CusIpInfo* cusiprng_info(const CusIpRange& range) {
  CusIpPool* const pool = holder.get();
  if (pool == nullptr || range.info_slot < 1 || range.info_slot > kCusIpRanges) return nullptr;
  return &pool->infos[range.info_slot - 1];
}

void cusiprng_line(RpcRequest& line) {
  std::uint32_t lo = 0;
  std::uint32_t hi = 0;
  CusIpInfo texts;
  texts.iprng[0] = texts.info[0] = '\0';
  for (LineWords words(line); words.next();) {
    if (words.is("iprng")) {
      set_field(texts.iprng, words.value());  // before the parser cuts it
      if (parse_ipv4_range(words.value(), &lo, &hi) != 0) return set_request_error(line, "INV_IP");
    } else if (words.is("info")) {
      set_field(texts.info, words.value());
    }
  }
  // An empty label counts as none: its slot would pass for free.
  if (lo == 0 || hi == 0 || texts.info[0] == '\0') return set_request_error(line, "INV_IP_INFO");
  CusIpPool* const pool = holder.get();
  if (pool == nullptr) return;
  if (pool->count >= static_cast<std::int32_t>(kCusIpRanges)) {
    return set_request_error(line, "POOL_FULL");
  }
  store(*pool, lo, hi, texts);
}

void cusiprng_release() {
  holder.release();
}

}  // namespace qsvmon
