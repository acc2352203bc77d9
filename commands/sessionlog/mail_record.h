#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qsvmon {

/// One mail transfer, as the daemon writes it. Little-endian. The elements are packed one behind
/// the other: a byte of type, 16 bits of length, then as many bytes of value.
struct [[gnu::packed]] MailRecord {
  std::uint32_t key;      ///< the list shows larger keys first; 0 marks an empty slot
  std::uint16_t elemlen;  ///< bytes of elements; not to be trusted
  char elems[1026];
};
static_assert(sizeof(MailRecord) == 1032 && alignof(MailRecord) == 1);
static_assert(offsetof(MailRecord, key) == 0);
static_assert(offsetof(MailRecord, elemlen) == 4);
static_assert(offsetof(MailRecord, elems) == 6);
static_assert(std::is_trivially_copyable_v<MailRecord>);

enum MailElement : std::uint8_t {
  kMailFrom = 1,
  kMailTo = 2,
  kMailCc = 3,
  kMailSubject = 4,
  kMailAttachment = 5,  ///< a file name, NUL-terminated
  kMailTime = 6,        ///< 32-bit seconds since the epoch
  kMailAddresses = 7,   ///< MailAddressBlock
  kMailMac = 8,         ///< 6 bytes, the client's
  kMailAppId = 9,       ///< 16 bits
};

/// The value of a kMailAddresses element, all in network order.
struct [[gnu::packed]] MailAddressBlock {
  std::uint32_t src_net;
  std::uint32_t dst_net;
  std::uint16_t sport_net;
  std::uint16_t dport_net;
};
static_assert(sizeof(MailAddressBlock) == 12);

}  // namespace qsvmon
