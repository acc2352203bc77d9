#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "commands/iptable/asset_object_record.h"
#include "format/printer.h"
#include "format/status.h"
#include "rpc/words.h"

namespace qsvmon {

/// The page that the words ask for; the daemon does the paging itself.
struct AssetQuery {
  std::int32_t page = 1;
  std::int32_t limit = 2147483647;
};

/// Reads "page=" and "limit=" from `words`. The status is INV_PAGE_LIMIT when either is 0.
Status parse_asset_query(Words words, AssetQuery& query);

/// Prints "num1 num2 num3 name" on a line for each object.
void print_asset_objects(Printer& out, std::span<const AssetObjectRecord> objects);

/// Allocates the working area of 4096 records that a list needs, or returns null. Tests put in one
/// that fails.
using AllocateWorkArea = void* (*)(std::size_t bytes);

/// Lists the asset objects. Returns 0 or -1.
int list_asset_objects(Words words, AllocateWorkArea allocate);

}  // namespace qsvmon
