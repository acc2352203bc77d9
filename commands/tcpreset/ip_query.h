#pragma once

#include <cstdint>

#include "commands/tcpreset/ip_fold.h"
#include "commands/tcpreset/stat_query.h"

namespace qsvmon {

/// What `tcpreset listip` is asked for. `filter` points into the words.
struct IpQuery : StatQuery<IpStat> {
  IpSide side = IpSide::kDst;
};

/// Reads the words; the last of a kind counts, unknown ones are the daemon's. INVALID_ROW for a
/// "row=" without two numbers, wherever it stands.
/// KEEP: "order=asc" shows the largest counter first and "order=desc" the smallest, the other way
/// round than the name listing; the web front end sends the words so.
Status parse_ip_query(Words words, IpQuery& query);

}  // namespace qsvmon
