#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "format/byte_order.h"
#include "format/text.h"

namespace qsvmon {

/// One TCP session that the appliance reset, as the daemon writes it: 64 bytes, little-endian;
/// `_net` = network order. Lies at any byte of the shared area, hence packed.
struct [[gnu::packed]] ResetRecord {
  std::uint32_t time_secs;  ///< since the epoch
  std::uint32_t src_net;    ///< IPv4 addresses
  std::uint32_t dst_net;
  std::uint16_t sport_net;
  std::uint16_t dport_net;
  /// Three 20-bit values in hundredths, from bit 0, 20 and 40. Their meaning is the daemon's: the
  /// client prints them and decides nothing by them. The same holds for val1 to val3.
  std::uint64_t metrics;
  std::uint16_t val1;
  std::uint16_t val2;
  std::uint32_t appword;  ///< bits 0-13 application, 14-23 HTTP status, 26-31 traffic class
  std::uint8_t val3;
  char name[31];  ///< domain name, up to its NUL or all of its bytes; empty without one

  std::uint32_t app_id() const { return appword & 0x3fff; }
  std::uint32_t http_status() const { return appword >> 14 & 0x3ff; }  ///< 0 = none
  std::uint32_t traffic_class() const { return appword >> 26; }
  std::uint32_t metric(unsigned first_bit) const {
    return static_cast<std::uint32_t>(metrics >> first_bit) & 0xfffff;
  }
  std::string_view domain() const { return field_text(name); }
};
static_assert(sizeof(ResetRecord) == 64 && alignof(ResetRecord) == 1);
static_assert(offsetof(ResetRecord, time_secs) == 0);
static_assert(offsetof(ResetRecord, src_net) == 4);
static_assert(offsetof(ResetRecord, dst_net) == 8);
static_assert(offsetof(ResetRecord, sport_net) == 12);
static_assert(offsetof(ResetRecord, dport_net) == 14);
static_assert(offsetof(ResetRecord, metrics) == 16);
static_assert(offsetof(ResetRecord, val1) == 24);
static_assert(offsetof(ResetRecord, val2) == 26);
static_assert(offsetof(ResetRecord, appword) == 28);
static_assert(offsetof(ResetRecord, val3) == 32);
static_assert(offsetof(ResetRecord, name) == 33);
static_assert(std::is_trivially_copyable_v<ResetRecord>);

constexpr std::uint32_t kClassHttp = 5;
constexpr std::uint32_t kClassHttps = 6;

}  // namespace qsvmon
