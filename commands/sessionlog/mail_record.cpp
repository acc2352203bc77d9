#include "commands/sessionlog/mail_record.h"

#include <algorithm>
#include <cstring>

namespace qsvmon {
namespace {

constexpr std::size_t kElementHead = 3;

/// Copies a value of fixed size out of an element; false when the element is shorter.
template <class Value>
bool take_value(const char* bytes, std::size_t length, Value& value) {
  if (length < sizeof value) return false;
  std::memcpy(&value, bytes, sizeof value);
  return true;
}

void take_addresses(const char* bytes, std::size_t length, MailParts& parts) {
  MailAddressBlock block;
  if (!take_value(bytes, length, block)) return;
  parts.has_addresses = true;
  parts.ends.src_net = block.src_net;
  parts.ends.dst_net = block.dst_net;
  parts.ends.sport_net = block.sport_net;
  parts.ends.dport_net = block.dport_net;
}

void take_element(std::uint8_t type, const char* bytes, MailText place, MailParts& parts) {
  switch (type) {
    case kMailFrom:
      parts.from = place;
      break;
    case kMailTo:
      parts.to = place;
      break;
    case kMailCc:
      parts.cc = place;
      break;
    case kMailSubject:
      parts.subject = place;
      break;
    case kMailAttachment:
      if (place.length > 0 && parts.attachment_count < MailParts::kMaxAttachments) {
        parts.attachments[parts.attachment_count++] = place;
      }
      break;
    case kMailTime:
      if (take_value(bytes, place.length, parts.time)) parts.has_time = true;
      break;
    case kMailAddresses:
      take_addresses(bytes, place.length, parts);
      break;
    case kMailMac:
      if (take_value(bytes, place.length, parts.ends.mac)) parts.has_mac = true;
      break;
    case kMailAppId:
      take_value(bytes, place.length, parts.apid);
      break;
    default:
      break;
  }
}

}  // namespace

MailParts mail_parts(const MailRecord& record) {
  MailParts parts;
  const std::size_t claimed = record.elemlen;
  const std::size_t end = std::min(claimed, sizeof record.elems);
  std::size_t at = 0;
  while (end - at >= kElementHead) {
    const auto type = static_cast<std::uint8_t>(record.elems[at]);
    std::uint16_t length;
    std::memcpy(&length, record.elems + at + 1, sizeof length);
    at += kElementHead;
    if (length > end - at) break;
    take_element(type, record.elems + at, {static_cast<std::uint16_t>(at), length}, parts);
    at += length;
  }
  return parts;
}

}  // namespace qsvmon
