#pragma once

#include <cstdint>

#include "rpc/wire/request.h"

namespace qsvmon {

/// One custom range of IPv4 addresses, from `lo` to `hi` inclusive, in host order.
struct CusIpRange {
  std::uint32_t lo;
  std::uint32_t hi;
  std::uint32_t info_slot;  ///< 1-based number of its `CusIpInfo`
};

/// The texts of one range. A slot is free while its `info` is empty.
struct CusIpInfo {
  char iprng[32];  ///< the range as the file writes it
  char info[64];   ///< the label
};

constexpr std::uint32_t kCusIpRanges = 8192;

// Ranges are never removed; pointers to rows stay valid until the next range is stored, those to
// texts until the process ends.

/// Makes a fresh, empty pool. Returns 0, or -1 without memory: there is then no pool.
int cusiprng_init();
/// The number of ranges stored.
std::int32_t cusiprng_count();

/// Searches the sorted rows by bisection and returns the first one looked at that contains `ip`
/// (host order), or null. KEEP: where ranges overlap, that may be any of them or none.
const CusIpRange* cusiprng_find(std::uint32_t ip);
/// The texts of a row, or null when its slot number is none of 1..kCusIpRanges.
const CusIpInfo* cusiprng_info(const CusIpRange& range);

/// Stores a "cusiprng" line: keys "iprng" (what `parse_ipv4_range` reads) and "info". Rejects with
/// INV_IP, INV_IP_INFO or POOL_FULL; a range that is stored already is dropped.
void cusiprng_line(RpcRequest& line);

/// Puts the rows in order now, so that several threads may search them. Rows with equal `lo` stand
/// in the order of the file.
void cusiprng_sort();

/// Frees the pools; for tests.
void cusiprng_release();

}  // namespace qsvmon
