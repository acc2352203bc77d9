#include "commands/sessionlog/sessionlog.h"

#include "commands/listing/batches.h"
#include "commands/sessionlog/login_fold.h"
#include "commands/sessionlog/login_print.h"
#include "commands/sessionlog/mail_fold.h"
#include "commands/sessionlog/mail_print.h"
#include "commands/sessionlog/session_page.h"
#include "commands/sessionlog/session_query.h"
#include "pools/desc_pools.h"

namespace qsvmon {
namespace {

/// The lists' requests differ in the module's name, and in that the mail list alone needs the
/// dictionary: its rows name applications.
BatchPlan batch_plan(std::string_view module, bool want_dict) {
  return {.module = module, .daemon = Daemon::kMgmt, .want_dict = want_dict, .clear_result = true};
}

/// Writes `list` into a file for download and prints the file's name.
template <class Row>
int download(const RecordList& list) {
  CsvSheet sheet;
  char name[kCsvNameBytes];
  if (csv_open(sheet, name, sizeof name) != 0) {
    // KEEP: the front end compares with this text, though the file is CSV and written here.
    return fail(Status::error("xlsxwriter init failed."));
  }
  write_sheet<Row>(sheet, list);
  csv_close(sheet);
  standard_out().put(static_cast<const char*>(name), '\n');
  return 0;
}

/// Shows the sorted list as the query asks: into a file, or as JSON.
template <class Row>
int show(const SessionQuery& query, const RecordList& list) {
  desc_pools_init();  // without its files there are just no labels
  if (query.download) return download<Row>(list);
  print_record_page<Row>(standard_out(), list);
  return 0;
}

/// The FTP and the Telnet list (login_record.h says what a "login" is here).
template <class Row>
int list_logins(std::string_view module, Words words) {
  using Record = typename Row::Record;
  const SessionQuery query = parse_session_query(words);
  RecordList list(query.range());
  LoginFold<Record> fold(list);
  RpcBatches batches(batch_plan(module, false), words);
  if (Status s = fold_all<Record>(batches, fold); !s.ok()) return fail(s);
  list.sort();
  return show<Row>(query, list);
}

}  // namespace

int emaillog_list(int argc, char** argv) {
  const Words words = words_of(argc, argv);
  MailQuery query;
  if (Status s = parse_mail_query(words, query); !s.ok()) return fail(s);
  RecordList list(query.common.range(), is_hidden_mail);
  MailFold fold(query, list);
  RpcBatches batches(batch_plan("emaillog", true), words);
  if (Status s = fold_all<MailRecord>(batches, fold); !s.ok()) return fail(s);
  list.sort();
  return show<MailRow>(query.common, list);
}

int ftplog_list(int argc, char** argv) {
  return list_logins<FtpRow>("ftplog", words_of(argc, argv));
}

int telnetlog_list(int argc, char** argv) {
  return list_logins<TelnetRow>("telnetlog", words_of(argc, argv));
}

}  // namespace qsvmon
