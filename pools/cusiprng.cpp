#include "pools/cusiprng.h"

#include <algorithm>

#include "format/address.h"
#include "pools/config_file.h"
#include "pools/key_hash.h"
#include "pools/pool_holder.h"
#include "pools/text_field.h"
#include "rpc/wire/request.h"

namespace qsvmon {
namespace {

constexpr int kSeenBits = 14;  // twice the ranges: probes stay short
constexpr std::uint32_t kSeenSlots = 1 << kSeenBits;

/// The first 12 bits of an address.
constexpr int kPrefixShift = 20;
constexpr std::uint32_t kPrefixes = 1 << (32 - kPrefixShift);

struct CusIpPool {
  std::int32_t count;
  std::uint32_t high_water;  ///< highest info slot used, 1-based
  bool is_sorted;            ///< no row was stored since the rows were sorted
  bool has_overlaps;         ///< of the sorted rows
  CusIpRange ranges[kCusIpRanges];
  /// For each prefix the last row that begins before it, or 0; so that the last row that begins at
  /// or below an address lies from that of its prefix to that of the next.
  std::uint16_t last_before[kPrefixes + 1];
  CusIpInfo infos[kCusIpRanges];
  std::uint64_t seen[kSeenSlots];  ///< the {lo, hi} of every row, hashed; 0 is free
};

constinit PoolHolder<CusIpPool> holder;

/// Where the pair is in the table of pairs seen, or the free place where it belongs. A stored pair
/// is never 0, since `lo` and `hi` are not.
std::uint64_t* find_seen(CusIpPool& pool, std::uint64_t pair) {
  std::uint32_t at = key_bucket(pair, kSeenBits);
  while (pool.seen[at] != 0 && pool.seen[at] != pair) at = (at + 1) % kSeenSlots;
  return &pool.seen[at];
}

void index_rows(CusIpPool& pool) {
  std::int32_t row = 0;
  for (std::uint32_t prefix = 0; prefix <= kPrefixes; ++prefix) {
    while (row < pool.count && pool.ranges[row].lo >> kPrefixShift < prefix) ++row;
    pool.last_before[prefix] = static_cast<std::uint16_t>(row == 0 ? 0 : row - 1);
  }
}

/// Sorting once before the first search gives the table that sorting after every line would give.
void sort_rows(CusIpPool& pool) {
  CusIpRange* const end = pool.ranges + pool.count;
  std::sort(pool.ranges, end, [](const CusIpRange& a, const CusIpRange& b) {
    return a.lo != b.lo ? a.lo < b.lo : a.info_slot < b.info_slot;
  });
  const auto overlap = [](const CusIpRange& a, const CusIpRange& b) { return a.hi >= b.lo; };
  pool.has_overlaps = std::adjacent_find(pool.ranges, end, overlap) != end;
  index_rows(pool);
  pool.is_sorted = true;
}

/// KEEP: of ranges that overlap, the order in which rows are looked at decides which is found.
const CusIpRange* find_among_overlaps(const CusIpPool& pool, std::uint32_t ip) {
  std::int32_t low = 0;
  std::int32_t high = pool.count - 1;
  while (low <= high) {
    const std::int32_t mid = (low + high) / 2;
    const CusIpRange& range = pool.ranges[mid];
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

/// The same for rows without overlaps, where only the last one that begins at or below `ip` can
/// contain it. The loop has no branch to guess: 14 ns among 8,192 rows, the one above 75 ns. Where
/// the rows are spread over all addresses the prefixes leave a few of them, and few cache lines to
/// wait for: 7 ns, and 36 of the 156 ns of an FTP row with two such labels.
const CusIpRange* find_last_below(const CusIpPool& pool, std::uint32_t ip) {
  const std::uint32_t prefix = ip >> kPrefixShift;
  const CusIpRange* row = pool.ranges + pool.last_before[prefix];
  for (std::uint32_t left = pool.last_before[prefix + 1] - pool.last_before[prefix] + 1U;
       left > 1;) {
    const std::uint32_t half = left / 2;
    row = row[half].lo <= ip ? row + half : row;
    left -= half;
  }
  return row->lo <= ip && ip <= row->hi ? row : nullptr;
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
  pool.is_sorted = false;
}

}  // namespace

int cusiprng_init() {
  return holder.renew() == nullptr ? -1 : 0;
}

std::int32_t cusiprng_count() {
  return holder.get() == nullptr ? 0 : holder.get()->count;
}

void cusiprng_sort() {
  if (holder.get() != nullptr) sort_rows(*holder.get());
}

const CusIpRange* cusiprng_find(std::uint32_t ip) {
  CusIpPool* const pool = holder.get();
  if (pool == nullptr || pool->count == 0) return nullptr;
  if (!pool->is_sorted) sort_rows(*pool);
  return pool->has_overlaps ? find_among_overlaps(*pool, ip) : find_last_below(*pool, ip);
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
  // An empty label counts as none: a slot without one is free.
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
