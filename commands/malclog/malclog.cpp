#include "commands/malclog/malclog.h"

#include <array>
#include <cstddef>

#include "commands/listing/row_order.h"
#include "commands/malclog/malc_detail.h"
#include "commands/malclog/malc_fold.h"
#include "commands/malclog/malc_print.h"
#include "commands/malclog/malc_record.h"
#include "pools/desc_pools.h"

namespace qsvmon {
namespace {

/// The category pool, or one without names where it could not be allocated.
std::span<const ItlgcEntry> category_pool() {
  static constexpr std::array<ItlgcEntry, kItlgcCategories> kNameless{};
  const ItlgcEntry* const entries = itlgc_pool();
  return {entries ? entries : kNameless.data(), kItlgcCategories};
}

/// The daemon knows the module by its older name. Rows that name applications need the dictionary.
BatchPlan batch_plan(MalcListType listtype) {
  return {.module = "qsvmalicious",
          .daemon = Daemon::kMgmt,
          .record_bytes = sizeof(MalcEvent),
          .want_dict = listtype == MalcListType::kApp || listtype == MalcListType::kDetail,
          .clear_syncdesc_later = true,
          .clear_result = true};
}

/// What every pipeline below works with.
struct Listing {
  Printer& out;
  const MalcQuery& query;
  BatchSource& batches;
  TidPool& tids;
  MalcNames names;
};

/// `fold_all` for replies whose first batch begins with the signature table: that goes into the
/// pool, and the events behind it, like all of the later batches, to `fold`.
template <class Fold>
Status fold_events(const Listing& l, Fold& fold) {
  while (!l.batches.done()) {
    if (Status s = l.batches.fetch(); !s.ok()) return s;
    std::size_t skip = 0;
    if (!l.tids.filled()) {
      if (!l.tids.fill(l.batches.bytes(), l.batches.claimed() != 0)) {
        // KEEP: no failure; the listing of nothing follows behind this line.
        l.out.put("fail to malloc tidpool size\n");
        return Status::good();
      }
      skip = sizeof(SignatureTable);
    }
    fold.add(l.batches.records<MalcEvent>(skip));
  }
  return Status::good();
}

Status list_ips(const Listing& l) {
  const PageRange page = l.query.range();
  const bool by_src = l.query.listtype == MalcListType::kSrc;
  MalcIpAgg fold(l.tids, by_src ? IpSide::kSrc : IpSide::kDst);
  if (Status s = fold_events(l, fold); !s.ok()) return s;
  const RowOrder order(fold, &MalcIpStat::total, Direction::kLargestFirst, page.end);
  print_malc_ip_page(l.out, l.names, fold, order, page);
  return Status::good();
}

Status list_hosts(const Listing& l) {
  const PageRange page = l.query.range();
  MalcHostAgg fold(l.tids);
  if (Status s = fold_events(l, fold); !s.ok()) return s;
  const RowOrder order(fold, &MalcHostStat::total, Direction::kLargestFirst, page.end);
  print_malc_host_page(l.out, l.names, fold, order, page);
  return Status::good();
}

/// Not every application has a row on its page, so all of the order is needed.
Status list_apps(const Listing& l) {
  MalcAppAgg fold(l.tids);
  if (Status s = fold_events(l, fold); !s.ok()) return s;
  const RowOrder order(fold, &MalcAppStat::total, Direction::kLargestFirst);
  print_malc_app_page(l.out, l.names, fold, order, l.query.range());
  return Status::good();
}

Status list_signatures(const Listing& l) {
  MalcTidAgg fold(l.tids);
  if (Status s = fold_events(l, fold); !s.ok()) return s;
  print_malc_tids(l.out, l.names, fold,
                  RowOrder(fold, &MalcTidStat::total, Direction::kLargestFirst));
  return Status::good();
}

/// Events are printed as they arrive: no rows are stored, so there is nothing to sort.
Status list_details(const Listing& l) {
  MalcDetail detail(l.out, l.query, l.names);
  if (Status s = fold_events(l, detail); !s.ok()) return s;
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

int malclog_list(int argc, char** argv) {
  const Words words = words_of(argc, argv);
  MalcQuery query;
  if (Status s = parse_malc_query(words, query); !s.ok()) return fail(s);
  Printer& out = standard_out();
  // KEEP: the event listing begins before the daemon is asked, so that a failed call leaves the
  // beginning of a document in front of its error text.
  if (query.listtype == MalcListType::kDetail) print_detail_begin(out);
  (void)desc_pools_init();  // fills the category pool, too; what is missing has no names
  TidPool tids(query);
  RpcBatches batches(batch_plan(query.listtype), words);
  if (Status s = list_events(out, query, batches, tids, category_pool()); !s.ok()) return fail(s);
  return 0;
}

}  // namespace qsvmon
