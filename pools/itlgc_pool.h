#pragma once

#include <cstdint>

#include "rpc/wire/request.h"

namespace qsvmon {

constexpr int kItlgcCategories = 32;

/// One threat-intelligence category. A category that no line of the configuration file describes is
/// all zeros.
struct ItlgcEntry {
  std::uint8_t vendor;
  char name[31];       ///< NUL-terminated
  char cname[32];      ///< second display name, NUL-terminated
  std::uint32_t hits;  ///< 0 after loading; a listing may add to it
};

/// The kItlgcCategories entries, indexed by category id, or null when there was no memory for them
/// or `desc_pools_init` was never called. Valid until the process ends.
ItlgcEntry* itlgc_pool();

/// Makes a fresh pool of zeroed entries. Returns 0, or -1 without memory: there is then no pool.
int itlgc_pool_init();

/// Takes the rest of a "malcitlgc" line (keys id, name, cname, vendor) from `line.data` and stores
/// it over the entry it names. A line without an id of 0..31 or without both names is ignored.
void itlgc_pool_line(RpcRequest& line);

/// Frees the pools; for tests.
void itlgc_pool_release();

}  // namespace qsvmon
