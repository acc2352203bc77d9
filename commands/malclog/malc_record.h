#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "format/text.h"

namespace qsvmon {

/// One signature, as the daemon writes it in front of the first batch. Little-endian.
struct [[gnu::packed]] MalcTid {
  std::uint16_t tid;      ///< signature id, unique within its type; 0 in an unused slot
  std::uint16_t vid;      ///< vendor or version id
  std::uint8_t type;      ///< 0: matches an IP address, 1: matches a DNS name
  std::uint8_t disabled;  ///< not 0: left out of the signature listing
  std::uint8_t itlgc;     ///< category of threat intelligence, an index into itlgc_pool()
  std::uint8_t mkmode;    ///< 1: listed under its own name, 2: under its category
  char name[32];          ///< NUL-terminated
};
static_assert(sizeof(MalcTid) == 40 && alignof(MalcTid) == 1);
static_assert(offsetof(MalcTid, tid) == 0);
static_assert(offsetof(MalcTid, vid) == 2);
static_assert(offsetof(MalcTid, type) == 4);
static_assert(offsetof(MalcTid, disabled) == 5);
static_assert(offsetof(MalcTid, itlgc) == 6);
static_assert(offsetof(MalcTid, mkmode) == 7);
static_assert(offsetof(MalcTid, name) == 8);
static_assert(std::is_trivially_copyable_v<MalcTid>);

constexpr std::uint8_t kModeOwnName = 1;   ///< `MalcTid::mkmode`: listed under its own name
constexpr std::uint8_t kModeCategory = 2;  ///< `MalcTid::mkmode`: listed under its category

/// One event, as the daemon writes it. Little-endian; `_net` = network order.
struct [[gnu::packed]] MalcEvent {
  std::uint32_t time_secs;  ///< 0 marks an empty record
  std::uint32_t src_net, dst_net;
  std::uint16_t sport_net, dport_net;
  std::uint64_t bitmap;  ///< bit n: matched the signature in slot n
  std::uint16_t apid;    ///< application id
  std::uint8_t mac[6];   ///< of the internal host
  std::uint8_t proto;    ///< IP protocol number
  std::uint8_t sign;     ///< what matched: bit 0 source, 1 destination, 2 DNS name, 3 URI
  std::uint8_t host_len;
  char host[45];  ///< NUL-terminated
};
static_assert(sizeof(MalcEvent) == 80 && alignof(MalcEvent) == 1);
static_assert(offsetof(MalcEvent, time_secs) == 0);
static_assert(offsetof(MalcEvent, src_net) == 4);
static_assert(offsetof(MalcEvent, dst_net) == 8);
static_assert(offsetof(MalcEvent, sport_net) == 12);
static_assert(offsetof(MalcEvent, dport_net) == 14);
static_assert(offsetof(MalcEvent, bitmap) == 16);
static_assert(offsetof(MalcEvent, apid) == 24);
static_assert(offsetof(MalcEvent, mac) == 26);
static_assert(offsetof(MalcEvent, proto) == 32);
static_assert(offsetof(MalcEvent, sign) == 33);
static_assert(offsetof(MalcEvent, host_len) == 34);
static_assert(offsetof(MalcEvent, host) == 35);
static_assert(std::is_trivially_copyable_v<MalcEvent>);

constexpr int kSlots = 64;  ///< signatures at once; a slot is the bit number in `bitmap`

/// The client's own copy of the signature table.
using SignatureTable = std::array<MalcTid, kSlots>;
static_assert(sizeof(SignatureTable) == 2560);

}  // namespace qsvmon
