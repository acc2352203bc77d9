#pragma once

#include <cstdint>

#include "commands/listing/page.h"
#include "format/status.h"
#include "rpc/words.h"

namespace qsvmon {

/// What a listing has one row for; the word "listtype=" says it.
enum class MalcListType : int {
  kNone = -1,   ///< no word
  kDst = 0,     ///< destination address
  kSrc = 1,     ///< source address
  kApp = 2,     ///< application
  kTable = 3,   ///< signature, or category
  kDetail = 4,  ///< event
  kHost = 5,    ///< host name
};

/// What the words of one `malclog list` ask for; the values below are those without a word.
/// Every list type uses `itlgc_id`. All but kTable use `type` and `tid`, `page` and `limit`. The
/// kDetail listing alone uses `src_net`, `dst_net`, `apid` and `host`: the others, kHost too, list
/// every address, application and host.
struct MalcQuery {
  MalcListType listtype = MalcListType::kNone;
  int type = -1;              ///< -1 none; type of the signature that `tid` names: 0 IP, 1 DNS
  int tid = -1;               ///< signature id; filters from 1 on
  int itlgc_id = -1;          ///< category; filters from 0 on
  std::uint32_t src_net = 0;  ///< address in network order; 0 = any
  std::uint32_t dst_net = 0;
  int apid = -1;
  const char* host = nullptr;  ///< points into the words; null = any, an empty text is a filter
  int page = 1;
  int limit = 100;

  bool names_signature() const { return tid >= 1; }
  PageRange range() const { return page_range(page, limit); }
};

/// Reads `words` into `query`. A word is recognised by its prefix, unknown ones are ignored, and a
/// later word overrides an earlier one. On failure the status holds INV_SRCIP, INV_DSTIP, INV_TYPE
/// (a signature id without its type) or INV_LISTTYPE.
Status parse_malc_query(Words words, MalcQuery& query);

}  // namespace qsvmon
