#pragma once

#include <span>

#include "commands/listing/batches.h"
#include "commands/malclog/malc_query.h"
#include "commands/malclog/tidpool.h"
#include "format/printer.h"
#include "format/status.h"
#include "pools/itlgc_pool.h"

namespace qsvmon {

/// Runs the pipeline of the query's list type and prints the listing on `out`:
///
///     MalcQuery -> fold_events -> sorted_rows -> print_malc_*
///
/// Each list type has its fold, named `Agg` because it aggregates: events in, a row of counters for
/// each key out. `fold_events` stands where other families call `fold_all`, as the first batch
/// begins with the signature table and only then holds events. The event-by-event listing has no
/// rows to sort: MalcDetail filters and prints in its `add`.
///
/// `categories` are the category pool's entries. On failure, what was printed before stays: the
/// beginning of the event-by-event listing. Where the signature table cannot be allocated, prints a
/// line that says so and reads no further, which is no failure: the rows so far are listed.
Status list_events(Printer& out, const MalcQuery& query, BatchSource& batches, TidPool& tids,
                   std::span<const ItlgcEntry> categories);

}  // namespace qsvmon
