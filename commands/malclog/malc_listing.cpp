#include "commands/malclog/malc_listing.h"

#include "commands/malclog/malc_detail.h"
#include "commands/malclog/malc_fold.h"
#include "commands/malclog/malc_print.h"
#include "commands/malclog/malc_record.h"

namespace qsvmon {
namespace {

/// Feeds the events of every batch to `fold`. The first batch begins with the signature table,
/// which goes into `tids`; the later ones hold events alone.
template <class Fold>
Status fold_events(Printer& out, BatchSource& batches, TidPool& tids, Fold& fold) {
  while (!batches.done()) {
    if (Status s = batches.fetch(); !s.ok()) return s;
    std::size_t skip = 0;
    if (!tids.filled()) {
      if (!tids.fill(batches.bytes(), batches.claimed() != 0)) {
        out.put("fail to malloc tidpool size\n");
        return Status::good();
      }
      skip = sizeof(SignatureTable);
    }
    fold.add(batches.records<MalcEvent>(skip));
  }
  return Status::good();
}

/// What every pipeline below works with.
struct Listing {
  Printer& out;
  const MalcQuery& query;
  BatchSource& batches;
  TidPool& tids;
  MalcNames names;
};

Status list_ips(const Listing& l) {
  MalcIpAgg fold(l.tids, l.query.listtype == MalcListType::kSrc ? MalcIpAgg::Side::kSource
                                                                : MalcIpAgg::Side::kDestination);
  if (Status s = fold_events(l.out, l.batches, l.tids, fold); !s.ok()) return s;
  const PageRange range = l.query.range();
  print_malc_ip_page(l.out, l.names, fold, sorted_rows(fold, range.end), range);
  return Status::good();
}

Status list_hosts(const Listing& l) {
  MalcHostAgg fold(l.tids);
  if (Status s = fold_events(l.out, l.batches, l.tids, fold); !s.ok()) return s;
  const PageRange range = l.query.range();
  print_malc_host_page(l.out, l.names, fold, sorted_rows(fold, range.end), range);
  return Status::good();
}

Status list_apps(const Listing& l) {
  MalcAppAgg fold(l.tids);
  if (Status s = fold_events(l.out, l.batches, l.tids, fold); !s.ok()) return s;
  print_malc_app_page(l.out, l.names, fold, sorted_rows(fold), l.query.range());
  return Status::good();
}

Status list_signatures(const Listing& l) {
  MalcTidAgg fold(l.tids);
  if (Status s = fold_events(l.out, l.batches, l.tids, fold); !s.ok()) return s;
  print_malc_tids(l.out, l.names, fold, sorted_rows(fold));
  return Status::good();
}

/// Events are printed as they arrive: no rows are stored, so there is nothing to sort.
Status list_details(const Listing& l) {
  MalcDetail detail(l.out, l.query, l.names);
  if (Status s = fold_events(l.out, l.batches, l.tids, detail); !s.ok()) return s;
  detail.finish();
  return Status::good();
}

}  // namespace

Status list_events(Printer& out, const MalcQuery& query, BatchSource& batches, TidPool& tids,
                   std::span<const ItlgcEntry> categories) {
  const Listing listing{out, query, batches, tids, {tids, categories}};
  switch (query.listtype) {
    case MalcListType::kDst:
    case MalcListType::kSrc:
      return list_ips(listing);
    case MalcListType::kHost:
      return list_hosts(listing);
    case MalcListType::kApp:
      return list_apps(listing);
    case MalcListType::kTable:
      return list_signatures(listing);
    case MalcListType::kDetail:
      return list_details(listing);
    case MalcListType::kNone:
      break;
  }
  return Status::good();
}

}  // namespace qsvmon
