#include "commands/tcpreset/stat_query.h"

#include <cstdio>

namespace qsvmon {

Status parse_row_range(const char* text, RowRange& rows) {
  if (std::sscanf(text, "%u-%u", &rows.first, &rows.last) < 2) return Status::error("INVALID_ROW");
  return Status::good();
}

Direction parse_order(std::string_view text, const OrderWords& words, Direction present) {
  if (text == "asc") return words.asc;
  if (text == "desc") return words.desc;
  return present;
}

}  // namespace qsvmon
