#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "commands/sessionlog/session_row.h"

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

/// Where a text lies in a record's `elems`.
struct MailText {
  std::uint16_t at = 0;  ///< 0 when the record has none: the first 3 bytes are an element's head
  std::uint16_t length = 0;

  /// KEEP: an element without a single byte is there, and cannot be decoded.
  bool is_present() const { return at != 0; }
};

/// What a record's elements say. The places of texts hold for every copy of the record.
struct MailParts {
  static constexpr std::uint32_t kMaxAttachments = 5;

  MailText from;
  MailText to;
  MailText cc;
  MailText subject;
  MailText attachments[kMaxAttachments];  ///< with the NUL that the length counts
  std::uint32_t attachment_count = 0;
  bool has_time = false;
  bool has_addresses = false;
  bool has_mac = false;
  std::uint32_t time = 0;
  std::uint16_t apid = 0;
  SessionEnds ends{};
};

/// Walks a record's elements. A type that occurs again overrides what came before, but for
/// attachments, of which the first five with a name count; unknown types are skipped. A value that
/// is shorter than its type needs, or that runs past the elements or the record, is absent.
MailParts mail_parts(const MailRecord& record);

}  // namespace qsvmon
