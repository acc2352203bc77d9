#include "commands/malclog/malclog.h"

#include <array>
#include <cstddef>
#include <span>

#include "commands/listing/batches.h"
#include "commands/malclog/malc_detail.h"
#include "commands/malclog/malc_listing.h"
#include "pools/desc_pools.h"

namespace qsvmon {
namespace {

/// The category pool, or one without names where it could not be allocated.
std::span<const ItlgcEntry> category_pool() {
  static constexpr std::array<ItlgcEntry, kItlgcCategories> kNameless{};
  const ItlgcEntry* const entries = itlgc_pool();
  return {entries ? entries : kNameless.data(), kItlgcCategories};
}

BatchPlan batch_plan(MalcListType listtype) {
  return {.module = "qsvmalicious",
          .daemon = Daemon::kMgmt,
          .record_bytes = sizeof(MalcEvent),
          .want_dict = listtype == MalcListType::kApp || listtype == MalcListType::kDetail,
          .clear_syncdesc_later = true,
          .clear_result = true};
}

}  // namespace

int malclog_list(int argc, char** argv) {
  const Words words = words_of(argc, argv);
  MalcQuery query;
  if (Status s = parse_malc_query(words, query); !s.ok()) return fail(s);
  Printer& out = standard_out();
  // KEEP: the event listing begins before the daemon is asked, so that a failed call leaves the
  // beginning of a document in front of its error text.
  if (query.listtype == MalcListType::kDetail) print_detail_begin(out);
  (void)desc_pools_init();  // without pools addresses have no labels
  TidPool tids(query);
  RpcBatches batches(batch_plan(query.listtype), words);
  if (Status s = list_events(out, query, batches, tids, category_pool()); !s.ok()) return fail(s);
  return 0;
}

}  // namespace qsvmon
