#pragma once

#include <span>

#include "commands/sessionlog/mail_record.h"
#include "commands/sessionlog/record_list.h"
#include "commands/sessionlog/session_query.h"

namespace qsvmon {

/// Collects mails: appends the elements of each that has a key and passes the query's filters to a
/// list that is sorted by the key. A mail passes when
/// - it has a time and an address block,
/// - one of its endpoints and its MAC are those that the query asks for, if it does,
/// - its Subject is missing, empty or can be decoded,
/// - and the query has no keyword, or the mail contains it.
/// KEEP: the keyword is compared with the undecoded From, To, Cc and attachment names, and with the
/// decoded Subject. A word of an encoded From is not found by its text.
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
