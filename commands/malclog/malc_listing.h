#pragma once

#include <span>

#include "commands/listing/batches.h"
#include "commands/malclog/malc_detail.h"
#include "commands/malclog/malc_print.h"
#include "commands/malclog/malc_query.h"
#include "commands/malclog/malc_record.h"
#include "commands/malclog/tidpool.h"
#include "format/printer.h"
#include "format/status.h"
#include "pools/itlgc_pool.h"

namespace qsvmon {

/// Feeds the events of every chunk to `sink`: the first chunk begins with the signature table,
/// which goes into `tids`, the later ones hold events alone. Where the table cannot be allocated,
/// says so on `out` and reads no further, which is no failure: what was gathered is listed.
template <class Sink>
Status for_each_chunk(Printer& out, BatchSource& batches, TidPool& tids, Sink&& sink) {
  while (!batches.done()) {
    if (Status s = batches.fetch(); !s.ok()) return s;
    std::size_t skip = 0;
    if (!tids.taken()) {
      if (!tids.take(batches.bytes(), batches.claimed() != 0)) {
        out.put("fail to malloc tidpool size\n");
        return Status::good();
      }
      skip = sizeof(SignatureTable);
    }
    sink(batches.records<MalcEvent>(skip));
  }
  return Status::good();
}

/// Folds every chunk into `agg`, then prints with `print()`.
template <class Agg, class Print>
Status list_folded(Printer& out, BatchSource& batches, TidPool& tids, Agg& agg, Print&& print) {
  const auto add = [&agg](std::span<const MalcEvent> events) { agg.add(events); };
  if (Status s = for_each_chunk(out, batches, tids, add); !s.ok()) return s;
  print();
  return Status::good();
}

/// Everything of one listing behind the words and the pools. `categories` are the category pool's
/// entries, whose hit totals the signature listing raises. A failure leaves what was printed before
/// it: of the event-by-event listing, its beginning.
inline Status list_events(Printer& out, const MalcQuery& query, BatchSource& batches, TidPool& tids,
                          std::span<ItlgcEntry> categories) {
  const MalcNames names{tids, categories};
  const PageRange range = query.range();
  switch (query.listtype) {
    case MalcListType::kDetail: {
      MalcDetail detail(out, query, tids, categories);
      return list_folded(out, batches, tids, detail, [&] { detail.finish(); });
    }
    case MalcListType::kDst:
    case MalcListType::kSrc: {
      MalcIpAgg ips(tids, query.listtype == MalcListType::kSrc ? MalcIpAgg::Side::kSource
                                                               : MalcIpAgg::Side::kDestination);
      return list_folded(out, batches, tids, ips, [&] { print_malc_ips(out, names, ips, range); });
    }
    case MalcListType::kApp: {
      MalcAppAgg apps(tids);
      return list_folded(out, batches, tids, apps,
                         [&] { print_malc_apps(out, names, apps, range); });
    }
    case MalcListType::kHost: {
      MalcHostAgg hosts(tids);
      return list_folded(out, batches, tids, hosts,
                         [&] { print_malc_hosts(out, names, hosts, range); });
    }
    case MalcListType::kTable: {
      MalcTidAgg signatures(tids);
      return list_folded(out, batches, tids, signatures,
                         [&] { print_malc_tids(out, signatures, categories); });
    }
    case MalcListType::kNone:
      break;
  }
  return Status::good();
}

}  // namespace qsvmon
