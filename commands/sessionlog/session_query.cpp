#include "commands/sessionlog/session_query.h"

#include "format/number.h"

namespace qsvmon {

void take_session_word(const char* word, SessionQuery& query) {
  if (const char* text = after_prefix(word, "page=")) query.page = parse_atoi(text);
  if (const char* text = after_prefix(word, "limit=")) query.limit = parse_atoi(text);
  if (const char* text = after_prefix(word, "download=")) query.download = parse_atoi(text) != 0;
}

SessionQuery parse_session_query(Words words) {
  SessionQuery query;
  for (const char* word : words) take_session_word(word, query);
  return query;
}

}  // namespace qsvmon
