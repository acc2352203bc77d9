#pragma once

#include <cstdint>

#include "rpc/wire/request.h"

namespace qsvmon {

constexpr int kItlgcCategories = 32;

/// One category of threat intelligence, which names and records abbreviate as `itlgc`. All zeros
/// when no line of the configuration file describes it. The layout is the appliance's.
struct ItlgcEntry {
  std::uint8_t vendor;
  char name[31];   ///< NUL-terminated
  char cname[32];  ///< display name, as the web pages show it; NUL-terminated
  /// 0 after loading, and nothing in this program writes it. The signature listing adds the hits
  /// that it counted to it, in the row that it prints.
  std::uint32_t hits;
};

/// The kItlgcCategories entries, indexed by category id, or null when there was no memory for them
/// or `desc_pools_init` was never called. Valid until the process ends.
ItlgcEntry* itlgc_pool();

/// Makes a fresh pool of zeroed entries. Returns 0, or -1 without memory: there is then no pool.
int itlgc_pool_init();

/// Stores a "malcitlgc" line, whose rest (keys id, name, cname, vendor) is in `line.data`, over the
/// entry that it names. A line without an id of 0..31 or without both names is ignored.
void itlgc_pool_line(RpcRequest& line);

/// Frees the pools; for tests.
void itlgc_pool_release();

}  // namespace qsvmon
