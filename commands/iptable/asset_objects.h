#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "commands/listing/words.h"
#include "format/printer.h"
#include "format/status.h"

namespace qsvmon {

/// One asset object, as the daemon writes it. Little-endian; the other bytes are the daemon's.
struct [[gnu::packed]] AssetObjectRecord {
  std::uint8_t reserved1[10];
  std::uint16_t num1;
  std::uint32_t num2;
  std::uint32_t num3;
  std::uint8_t reserved2[28];
  char name[96];  ///< NUL-terminated
};
static_assert(sizeof(AssetObjectRecord) == 144 && alignof(AssetObjectRecord) == 1);
static_assert(offsetof(AssetObjectRecord, num1) == 10);
static_assert(offsetof(AssetObjectRecord, num2) == 12);
static_assert(offsetof(AssetObjectRecord, num3) == 16);
static_assert(offsetof(AssetObjectRecord, name) == 48);

/// The page that the words ask for; the daemon does the paging itself.
struct AssetQuery {
  std::int32_t page = 1;
  std::int32_t limit = 2147483647;
};

/// Reads "page=" and "limit=" from `words`. The status is INV_PAGE_LIMIT when either is 0.
Status parse_asset_query(Words words, AssetQuery& query);

/// Prints "num1 num2 num3 name" on a line for each object.
void print_asset_objects(Printer& out, std::span<const AssetObjectRecord> objects);

/// The working area of 4096 records that a list takes, or null. Tests put in one that fails.
using AllocateWorkArea = void* (*)(std::size_t bytes);

/// Lists the asset objects. Returns 0 or -1.
int list_asset_objects(Words words, AllocateWorkArea allocate);

}  // namespace qsvmon
