#pragma once

#include <cstdint>

#include "commands/listing/page.h"
#include "format/status.h"
#include "rpc/words.h"

namespace qsvmon {

enum class MalcListType : int {
  kNone = -1,
  kDst = 0,
  kSrc = 1,
  kApp = 2,
  kTable = 3,
  kDetail = 4,
  kHost = 5,
};

/// What the words of one `malclog list` ask for; -1 (or 0 for an address) where no word said so.
struct MalcQuery {
  MalcListType listtype = MalcListType::kNone;
  int type = -1;              ///< type of the signature that `tid` names: 0 IP, 1 DNS
  int tid = -1;               ///< signature id; filters from 1 on
  int itlgc_id = -1;          ///< category; filters from 0 on
  std::uint32_t src_net = 0;  ///< address in network order; 0 = any
  std::uint32_t dst_net = 0;
  int apid = -1;
  const char* host = nullptr;  ///< the process's own text; an empty one is a filter too
  int page = 1;
  int limit = 100;

  bool names_signature() const { return tid >= 1; }
  PageRange range() const { return page_range(page, limit); }
};

/// Reads `words` into `query`; a word counts by how it begins, unknown ones are passed over and a
/// later word overrides an earlier one. On failure the status holds INV_SRCIP, INV_DSTIP, INV_TYPE
/// (a signature id without its type) or INV_LISTTYPE.
Status parse_malc_query(Words words, MalcQuery& query);

}  // namespace qsvmon
