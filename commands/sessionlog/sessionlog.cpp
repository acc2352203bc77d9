#include "commands/sessionlog/sessionlog.h"

#include "commands/listing/batches.h"
#include "commands/sessionlog/login_row.h"
#include "commands/sessionlog/mail_filter.h"
#include "commands/sessionlog/mail_query.h"
#include "commands/sessionlog/mail_row.h"
#include "commands/sessionlog/session_page.h"
#include "commands/sessionlog/session_query.h"
#include "pools/desc_pools.h"

namespace qsvmon {
namespace {

/// The lists differ in their requests by the module's name alone, and by the mail list's wish for
/// the dictionary.
BatchPlan plan_of(std::string_view module, bool want_dict) {
  BatchPlan plan{module, Daemon::kMgmt};
  plan.want_dict = want_dict;
  plan.clear_result = true;
  return plan;
}

/// Writes `list` into a file for download and prints the file's name.
template <class Row>
int download(RecordList<typename Row::Record>& list, Row& row) {
  CsvSheet sheet;
  char name[kCsvNameBytes];
  if (csv_open(sheet, name, sizeof name) != 0) {
    return fail(Status::error("xlsxwriter init failed."));
  }
  write_sheet(sheet, list, row);
  csv_close(sheet);
  standard_out().put(static_cast<const char*>(name), '\n');
  return 0;
}

template <class Row>
int show(const SessionQuery& query, RecordList<typename Row::Record>& list, Row& row) {
  desc_pools_init();  // without its files there are just no labels
  if (query.download) return download(list, row);
  print_page(standard_out(), list, query.range(), row);
  return 0;
}

/// FTP and Telnet: every record is listed.
template <class Record>
struct LoginFold {
  RecordList<Record>& list;
  void add(std::span<const Record> records) {
    for (const Record& record : records) list.append(record, record.head.time);
  }
};

struct MailFold {
  const MailQuery& query;
  MailLogList& list;
  void add(std::span<const MailRecord> records) {
    for (const MailRecord& record : records) collect_mail(record, query, list);
  }
};

template <class Row>
int list_logins(std::string_view module, Words words) {
  const SessionQuery query = parse_session_query(words);
  RecordList<typename Row::Record> list;
  LoginFold<typename Row::Record> fold{list};
  RpcBatches batches(plan_of(module, false), words);
  if (Status s = fold_all<typename Row::Record>(batches, fold); !s.ok()) return fail(s);
  Row row;
  return show(query, list, row);
}

}  // namespace

int emaillog_list(int argc, char** argv) {
  const Words words = words_of(argc, argv);
  MailQuery query;
  if (Status s = parse_mail_query(words, query); !s.ok()) return fail(s);
  MailLogList list;
  MailFold fold{query, list};
  RpcBatches batches(plan_of("emaillog", true), words);
  if (Status s = fold_all<MailRecord>(batches, fold); !s.ok()) return fail(s);
  MailRow row;
  return show(query.common, list, row);
}

int ftplog_list(int argc, char** argv) {
  return list_logins<FtpRow>("ftplog", words_of(argc, argv));
}

int telnetlog_list(int argc, char** argv) {
  return list_logins<TelnetRow>("telnetlog", words_of(argc, argv));
}

}  // namespace qsvmon
