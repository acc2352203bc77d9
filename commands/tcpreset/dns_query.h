#pragma once

#include "commands/tcpreset/dns_fold.h"
#include "commands/tcpreset/stat_query.h"

namespace qsvmon {

/// What `tcpreset listdns` is asked for. `filter` points into the words.
using DnsQuery = StatQuery<DnsStat>;

/// Reads the words; the last of a kind counts, unknown ones are the daemon's. INVALID_ROW for a
/// "row=" without two numbers, wherever it stands.
/// KEEP: "order=desc" shows the largest counter first, the other way round than the address
/// listing.
Status parse_dns_query(Words words, DnsQuery& query);

}  // namespace qsvmon
