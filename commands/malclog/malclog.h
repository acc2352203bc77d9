#pragma once

#include <span>

#include "commands/listing/batches.h"
#include "commands/malclog/malc_query.h"
#include "commands/malclog/tidpool.h"
#include "format/printer.h"
#include "format/status.h"
#include "pools/itlgc_pool.h"

namespace qsvmon {

/// The handler of `malclog list`: lists malicious events as JSON, by the word "listtype=" one row
/// for each address, application, signature, host or event. Takes the words after the sub-command
/// and fetches the events from the management daemon through the session that the dispatcher
/// opened. Returns 0, or -1 after printing why it failed.
int malclog_list(int argc, char** argv);

/// What `malclog_list` does once it knows the query; tests call it with batches of their own.
/// `categories` are the category pool's entries. Of the event-by-event listing the caller has
/// printed the beginning (print_detail_begin), and what events of earlier batches printed stays
/// when it fails. Where the signature table cannot be allocated, prints a line that says so and an
/// empty listing, which is no failure.
Status list_events(Printer& out, const MalcQuery& query, BatchSource& batches, TidPool& tids,
                   std::span<const ItlgcEntry> categories);

}  // namespace qsvmon
