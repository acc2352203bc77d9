#include "commands/tcpreset/tcpreset.h"

#include "commands/listing/batches.h"
#include "commands/tcpreset/reset_fold.h"
#include "commands/tcpreset/reset_print.h"
#include "commands/tcpreset/reset_query.h"
#include "format/printer.h"

namespace qsvmon {
namespace {

/// Only the first request asks for the dictionary.
BatchPlan batch_plan(bool want_dict) {
  return {.module = "tcpreset",
          .daemon = Daemon::kMgmt,
          .record_bytes = sizeof(ResetRecord),
          .want_dict = want_dict,
          .clear_syncdesc_later = true};
}

}  // namespace

int tcpreset_listip(int argc, char** argv) {
  const Words words = words_of(argc, argv);
  IpQuery query;
  if (Status s = parse_ip_query(words, query); !s.ok()) return fail(s);
  IpFold fold(query.side);
  const bool want_dict = query.side == IpSide::kSrc;  // sources are listed with applications
  RpcBatches batches(batch_plan(want_dict), words);
  if (Status s = fold_all<ResetRecord>(batches, fold); !s.ok()) return fail(s);
  print_ip_page(standard_out(), fold, sorted_rows(fold, query), query);
  return 0;
}

int tcpreset_listdns(int argc, char** argv) {
  const Words words = words_of(argc, argv);
  DnsQuery query;
  if (Status s = parse_dns_query(words, query); !s.ok()) return fail(s);
  DnsFold fold;
  RpcBatches batches(batch_plan(false), words);
  if (Status s = fold_all<ResetRecord>(batches, fold); !s.ok()) return fail(s);
  print_dns_page(standard_out(), fold, sorted_rows(fold, query), query);
  return 0;
}

int tcpreset_list(int argc, char** argv) {
  RpcBatches batches(batch_plan(true), words_of(argc, argv));
  PlainPrint lines{standard_out()};
  const Status s = fold_all<ResetRecord>(batches, lines);
  return s.ok() ? 0 : fail(s);
}

}  // namespace qsvmon
