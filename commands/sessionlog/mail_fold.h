#pragma once

#include <span>

#include "commands/listing/record_list.h"
#include "commands/sessionlog/mail_query.h"
#include "commands/sessionlog/mail_record.h"

namespace qsvmon {

/// Appends the elements of mails to a list: of those whose key is not 0 and that pass the query's
/// filters. Such a mail has a time and an address block, an endpoint and the MAC are those asked
/// for, its Subject, unless it is empty, can be decoded, and the keyword occurs in it.
/// KEEP: the keyword is looked for in the raw From, To, Cc and attachment names but in the decoded
/// Subject; a word in an encoded From is not found by its text.
/// KEEP: the list's copy has its Subject split by the decoding (see decode_header), so that the
/// list shows a Subject's first word only.
class MailFold {
 public:
  /// Both outlive the fold.
  MailFold(const MailQuery& query, RecordList& list) : query_(query), list_(list) {}

  void add(std::span<const MailRecord> records);

 private:
  const MailQuery& query_;
  RecordList& list_;
};

}  // namespace qsvmon
