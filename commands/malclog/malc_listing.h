#pragma once

#include <span>

#include "commands/listing/batches.h"
#include "commands/malclog/malc_query.h"
#include "commands/malclog/tidpool.h"
#include "format/printer.h"
#include "format/status.h"
#include "pools/itlgc_pool.h"

namespace qsvmon {

/// Everything of one listing behind the words and the pools. `categories` are the category pool's
/// entries. A failure leaves what was printed before it: of the event-by-event listing, its
/// beginning. Where the signature table cannot be allocated, says so on `out` and reads no further,
/// which is no failure: what was gathered is listed.
Status list_events(Printer& out, const MalcQuery& query, BatchSource& batches, TidPool& tids,
                   std::span<const ItlgcEntry> categories);

}  // namespace qsvmon
