#pragma once

#include "commands/listing/record_list.h"
#include "commands/sessionlog/mail_query.h"
#include "commands/sessionlog/mail_record.h"

namespace qsvmon {

using MailLogList = RecordList<MailRecord>;

/// Appends `record` to `list` when its key is not 0 and it passes the query's filters: it has a
/// time and an address block, an end and the MAC are those asked for, its Subject, unless it is
/// empty, can be decoded, and the keyword occurs in it. KEEP: the keyword is looked for in the raw
/// From, To, Cc and attachment names but in the decoded Subject; a word in an encoded From is not
/// found by its text. KEEP: the list's copy has its Subject split by the decoding (see
/// decode_header), so that the list shows a Subject's first word only.
void collect_mail(const MailRecord& record, const MailQuery& query, MailLogList& list);

}  // namespace qsvmon
