#pragma once

#include <string>

namespace qsvmon::sim {

/// Writes the JSON document `text` to `shown`, indented for a person to read: members in their
/// order, what fits a line on one. When there are bytes that are not UTF-8, all are taken for
/// GB2312; what is neither is shown as "?". False for text that is no JSON document: `shown` is the
/// text as it is and `trouble` says where it breaks.
bool pretty_json(const std::string& text, std::string& shown, std::string& trouble);

}  // namespace qsvmon::sim
