#pragma once

#include <cstddef>
#include <cstdint>

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

}  // namespace qsvmon
