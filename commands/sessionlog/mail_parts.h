#pragma once

#include <cstdint>
#include <span>

#include "commands/sessionlog/endpoints.h"
#include "commands/sessionlog/mail_record.h"

namespace qsvmon {

/// What a mail's elements say; the texts lie in them.
struct MailParts {
  static constexpr std::uint32_t kMaxAttachments = 5;

  /// Null when the mail has none. KEEP: one of no bytes is there, and cannot be decoded.
  std::span<char> from;
  std::span<char> to;
  std::span<char> cc;
  std::span<char> subject;
  std::span<char> attachments[kMaxAttachments];  ///< with the NUL that the length counts
  std::uint32_t attachment_count = 0;
  bool has_time = false;
  bool has_addresses = false;
  bool has_mac = false;
  std::uint32_t time = 0;
  std::uint16_t apid = 0;
  Endpoints endpoints{};
};

/// The used elements of a mail, copied out of where they lie: a daemon may write the shared area
/// while it is read, and decoding splits texts in place.
class MailElements {
 public:
  /// What `record`, which may lie in the shared area, has now.
  explicit MailElements(const MailRecord& record);
  /// Elements that were copied before, at most as many as a record has room for.
  explicit MailElements(std::span<const char> bytes);

  std::span<const char> bytes() const { return {bytes_, size_}; }
  /// Goes through the elements. A type that occurs again overrides what came before, but for
  /// attachments, of which the first five with a name count; unknown types are skipped. A value
  /// that is shorter than its type needs, or that runs past the elements, is absent.
  MailParts parts();

 private:
  std::size_t size_;
  char bytes_[sizeof MailRecord::elems];
};

}  // namespace qsvmon
