#include "commands/sessionlog/mail_parts.h"

#include <algorithm>
#include <cstring>

#include "platform/read_once.h"

namespace qsvmon {
namespace {

constexpr std::size_t kElementHead = 3;

/// Copies a value of fixed size out of an element; false when the element is shorter.
template <class Value>
bool read_value(std::span<const char> bytes, Value& value) {
  if (bytes.size() < sizeof value) return false;
  std::memcpy(&value, bytes.data(), sizeof value);
  return true;
}

void read_addresses(std::span<const char> bytes, MailParts& parts) {
  MailAddressBlock block;
  if (!read_value(bytes, block)) return;
  parts.has_addresses = true;
  parts.endpoints.src_net = block.src_net;
  parts.endpoints.dst_net = block.dst_net;
  parts.endpoints.sport_net = block.sport_net;
  parts.endpoints.dport_net = block.dport_net;
}

void read_element(std::uint8_t type, std::span<char> value, MailParts& parts) {
  switch (type) {
    case kMailFrom:
      parts.from = value;
      break;
    case kMailTo:
      parts.to = value;
      break;
    case kMailCc:
      parts.cc = value;
      break;
    case kMailSubject:
      parts.subject = value;
      break;
    case kMailAttachment:
      if (!value.empty() && parts.attachment_count < MailParts::kMaxAttachments) {
        parts.attachments[parts.attachment_count++] = value;
      }
      break;
    case kMailTime:
      if (read_value(value, parts.time)) parts.has_time = true;
      break;
    case kMailAddresses:
      read_addresses(value, parts);
      break;
    case kMailMac:
      if (read_value(value, parts.endpoints.mac)) parts.has_mac = true;
      break;
    case kMailAppId:
      read_value(value, parts.apid);
      break;
    default:
      break;
  }
}

}  // namespace

MailElements::MailElements(const MailRecord& record)
    : size_(std::min<std::size_t>(read_once(std::uint16_t{record.elemlen}), sizeof bytes_)) {
  copy_once(bytes_, record.elems, size_);
}

MailElements::MailElements(std::span<const char> bytes)
    : size_(std::min(bytes.size(), sizeof bytes_)) {
  if (size_ != 0) std::memcpy(bytes_, bytes.data(), size_);
}

MailParts MailElements::parts() {
  MailParts parts;
  std::span<char> rest(bytes_, size_);
  while (rest.size() >= kElementHead) {
    const auto type = static_cast<std::uint8_t>(rest[0]);
    std::uint16_t length;
    std::memcpy(&length, rest.data() + 1, sizeof length);
    rest = rest.subspan(kElementHead);
    if (length > rest.size()) break;  // nothing says where another element would begin
    read_element(type, rest.first(length), parts);
    rest = rest.subspan(length);
  }
  return parts;
}

}  // namespace qsvmon
