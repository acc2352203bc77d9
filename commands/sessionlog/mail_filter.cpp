#include "commands/sessionlog/mail_filter.h"

#include <cstring>
#include <string_view>

#include "commands/sessionlog/codec/mail_header.h"

namespace qsvmon {
namespace {

/// The attachment names as the keyword sees them: end to end, a NUL behind each.
class AttachmentText {
 public:
  AttachmentText(const MailRecord& record, const MailParts& parts) {
    for (std::uint32_t i = 0; i < parts.attachment_count; ++i) {
      add({record.elems + parts.attachments[i].at, parts.attachments[i].length});
    }
  }

  std::string_view text() const { return {text_, used_}; }

 private:
  /// `name` with the byte that its NUL is; the separator takes that byte's place.
  void add(std::string_view name) {
    std::memcpy(text_ + used_, name.data(), name.size());
    used_ += name.size();
    text_[used_ - 1] = '\0';
  }

  char text_[sizeof MailRecord::elems];  ///< the names lie in there apart from each other
  std::size_t used_ = 0;
};

bool ends_match(const MailParts& parts, const MailQuery& query) {
  if (!parts.has_addresses || !parts.has_time) return false;
  if (query.ip_net != 0 && parts.ends.src_net != query.ip_net &&
      parts.ends.dst_net != query.ip_net) {
    return false;
  }
  return !query.has_mac ||
         (parts.has_mac && std::memcmp(parts.ends.mac, query.mac, sizeof query.mac) == 0);
}

std::string_view raw_text(const MailRecord& record, MailText text) {
  return {record.elems + text.at, text.length};
}

bool contains(std::string_view text, std::string_view keyword) {
  return text.find(keyword) != std::string_view::npos;
}

/// The filters on texts; splits the record's Subject.
bool texts_match(MailRecord& record, const MailParts& parts, const MailQuery& query) {
  char subject[1024];
  int subject_length = 0;
  if (parts.subject.length > 0) {
    subject_length = decode_header(record.elems + parts.subject.at, parts.subject.length, subject,
                                   sizeof subject);
    if (subject_length < 1) return false;
  }
  if (!query.keyword) return true;
  const std::string_view keyword = *query.keyword;
  return contains(raw_text(record, parts.from), keyword) ||
         contains(raw_text(record, parts.to), keyword) ||
         contains(raw_text(record, parts.cc), keyword) ||
         contains({subject, static_cast<std::size_t>(subject_length)}, keyword) ||
         contains(AttachmentText(record, parts).text(), keyword);
}

}  // namespace

void collect_mail(const MailRecord& record, const MailQuery& query, MailLogList& list) {
  if (record.key == 0) return;
  const MailParts parts = mail_parts(record);
  if (!ends_match(parts, query)) return;
  MailRecord* own = list.slot();
  if (own == nullptr) return;
  std::memcpy(own, &record, sizeof record);
  if (texts_match(*own, parts, query)) list.commit(record.key);
}

}  // namespace qsvmon
