#include "commands/sessionlog/mail_fold.h"

#include <cstring>
#include <string_view>

#include "commands/sessionlog/codec/mail_header.h"
#include "commands/sessionlog/mail_parts.h"
#include "platform/read_once.h"

namespace qsvmon {
namespace {

/// The attachment names as the keyword sees them: end to end, a NUL behind each.
class AttachmentText {
 public:
  explicit AttachmentText(const MailParts& parts) {
    for (std::uint32_t i = 0; i < parts.attachment_count; ++i) add(parts.attachments[i]);
  }

  std::string_view text() const { return {text_, used_}; }

 private:
  /// `name` with the byte that its NUL is; the separator takes that byte's place.
  void add(std::span<const char> name) {
    std::memcpy(text_ + used_, name.data(), name.size());
    used_ += name.size();
    text_[used_ - 1] = '\0';
  }

  char text_[sizeof MailRecord::elems];  ///< the names lie in there apart from each other
  std::size_t used_ = 0;
};

bool endpoints_match(const MailParts& parts, const MailQuery& query) {
  if (!parts.has_addresses || !parts.has_time) return false;
  if (query.ip_net != 0 && parts.endpoints.src_net != query.ip_net &&
      parts.endpoints.dst_net != query.ip_net) {
    return false;
  }
  return !query.has_mac ||
         (parts.has_mac && std::memcmp(parts.endpoints.mac, query.mac, sizeof query.mac) == 0);
}

bool contains(std::span<const char> text, std::string_view keyword) {
  return std::string_view(text.data(), text.size()).find(keyword) != std::string_view::npos;
}

/// The filters on texts; splits the Subject.
bool texts_match(const MailParts& parts, const MailQuery& query) {
  DecodedHeader subject;
  if (!parts.subject.empty() && !subject.decode(parts.subject)) return false;
  if (!query.keyword) return true;
  const std::string_view keyword = *query.keyword;
  return contains(parts.from, keyword) || contains(parts.to, keyword) ||
         contains(parts.cc, keyword) || contains(subject.text(), keyword) ||
         contains(AttachmentText(parts).text(), keyword);
}

}  // namespace

void MailFold::add(std::span<const MailRecord> records) {
  for (const MailRecord& record : records) {
    const std::uint32_t key = read_once(std::uint32_t{record.key});
    if (key == 0) continue;
    MailElements elements(record);
    const MailParts parts = elements.parts();
    if (!endpoints_match(parts, query_) || !texts_match(parts, query_)) continue;
    const std::span<const char> bytes = elements.bytes();
    list_.append(key, bytes.size(), [&](char* room) {
      std::memcpy(room, bytes.data(), bytes.size());
      return bytes.size();
    });
  }
}

}  // namespace qsvmon
