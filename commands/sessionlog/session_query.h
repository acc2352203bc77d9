#pragma once

#include "commands/listing/page.h"
#include "rpc/words.h"

namespace qsvmon {

/// What the words that the session lists share ask for.
struct SessionQuery {
  int page = 1;
  int limit = 100;
  bool download = false;  ///< all records into a file instead of one page as JSON

  PageRange range() const { return download ? PageRange{0, 0xFFFFFFFF} : page_range(page, limit); }
};

/// Reads a word that begins with "page=", "limit=" or "download=" into `query`; others are ignored
/// ("json=" is no longer used). Numbers are read as atoi reads them. A later word overrides an
/// earlier one.
void take_session_word(const char* word, SessionQuery& query);

/// Reads the words of a list without filters.
SessionQuery parse_session_query(Words words);

}  // namespace qsvmon
